// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/X11/XcbConnection.h"
#include "tests/WaitUntil.h"

#include <chrono>
#include <vector>

#include <xcb/xtest.h>

namespace velmorin::test {

/// Key codes of a PC keyboard under the evdev rules.
enum Key : xcb_keycode_t {
    keyControlLeft = 37,
    keyA = 38,
    keyShiftLeft = 50,
    keyC = 54,
    keyV = 55,
    keyAltLeft = 64,
    keySpace = 65,
    keyCapsLock = 66,
    keyNumLock = 77,
    keySuperLeft = 133,
};

/// A user at the keyboard and the window that the user types in, on a connection of its own.
class XUser {
public:
    struct KeyEvent {
        bool isPress;
        xcb_keycode_t key;
        uint16_t state; ///< Modifiers, without the layout group.
        friend bool operator==(const KeyEvent&, const KeyEvent&) = default;
    };

    XUser() : m_connection(XcbConnection::open()), m_window(xcb_generate_id(c())) {
        const uint32_t values[] = {1, XCB_EVENT_MASK_KEY_PRESS | XCB_EVENT_MASK_KEY_RELEASE |
                                          XCB_EVENT_MASK_EXPOSURE};
        xcb_create_window(c(), XCB_COPY_FROM_PARENT, m_window, m_connection->root(), 0, 0, 100, 100,
                          0, XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT,
                          XCB_CW_OVERRIDE_REDIRECT | XCB_CW_EVENT_MASK, values);
        xcb_map_window(c(), m_window);
        const XcbEvent exposed =
            m_connection->waitFor([](const auto& event) { return eventType(event) == XCB_EXPOSE; },
                                  std::chrono::seconds(10));
        takeFocus();
        m_events = m_connection->addHandler([this](const xcb_generic_event_t& event) {
            const uint8_t type = eventType(event);
            if (type == XCB_KEY_PRESS || type == XCB_KEY_RELEASE) {
                const auto& key = eventAs<xcb_key_press_event_t>(event);
                seen.push_back(
                    {type == XCB_KEY_PRESS, key.detail, static_cast<uint16_t>(key.state & 0xffU)});
            }
        });
    }

    /// Has the keyboard focus, once the window manager has done what it had to do before: openbox
    /// takes the focus to itself when the keyboard map changes.
    void takeFocus() {
        const xcb_atom_t extents = m_connection->atom("_NET_FRAME_EXTENTS");
        xcb_delete_property(c(), m_window, extents);
        xcb_client_message_event_t request{};
        request.response_type = XCB_CLIENT_MESSAGE;
        request.format = 32;
        request.window = m_window;
        request.type = m_connection->atom("_NET_REQUEST_FRAME_EXTENTS");
        xcb_send_event(c(), 0, root(),
                       XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY | XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT,
                       reinterpret_cast<const char*>(&request));
        std::ignore = waitUntil(
            [&] { return m_connection->property(m_window, extents, 16).type != XCB_ATOM_NONE; });
        xcb_set_input_focus(c(), XCB_INPUT_FOCUS_PARENT, m_window, XCB_CURRENT_TIME);
        m_connection->flush();
    }

    void down(xcb_keycode_t key) { fake(XCB_KEY_PRESS, key); }
    void up(xcb_keycode_t key) { fake(XCB_KEY_RELEASE, key); }
    void tap(xcb_keycode_t key) {
        down(key);
        up(key);
    }

    /// Forgets what the window has seen so far, and what is still on its way to it.
    void forget() {
        std::ignore = m_connection->takeAll([](const auto& event) {
            return eventType(event) == XCB_KEY_PRESS || eventType(event) == XCB_KEY_RELEASE;
        });
        seen.clear();
    }

    /// The keys that the server holds for pressed.
    [[nodiscard]] std::vector<int> held() const {
        const XcbPtr<xcb_query_keymap_reply_t> reply(
            xcb_query_keymap_reply(c(), xcb_query_keymap(c()), nullptr));
        std::vector<int> keys;
        for (int key = 0; key < 256; ++key) {
            if ((reply->keys[key / 8] >> (key % 8) & 1) != 0) {
                keys.push_back(key);
            }
        }
        return keys;
    }

    [[nodiscard]] xcb_connection_t* c() const { return m_connection->get(); }
    [[nodiscard]] xcb_window_t window() const { return m_window; }
    [[nodiscard]] xcb_window_t root() const { return m_connection->root(); }

    std::vector<KeyEvent> seen;

private:
    void fake(uint8_t type, xcb_keycode_t key) const {
        xcb_test_fake_input(c(), type, key, XCB_CURRENT_TIME, root(), 0, 0, 0);
        // Waits until the server has done it.
        const XcbPtr<xcb_get_input_focus_reply_t> done(
            xcb_get_input_focus_reply(c(), xcb_get_input_focus(c()), nullptr));
    }

    std::shared_ptr<XcbConnection> m_connection;
    xcb_window_t m_window;
    XcbConnection::Subscription m_events;
};

} // namespace velmorin::test
