// SPDX-License-Identifier: MIT
#include "Platform/X11/XTestKeyEvents.h"

#include <algorithm>

#include <xcb/xtest.h>

namespace velmorin {

XTestKeyEvents::XTestKeyEvents(std::shared_ptr<XcbConnection> connection,
                               std::shared_ptr<XcbKeyboard> keyboard)
    : m_connection(std::move(connection)), m_keyboard(std::move(keyboard)) {
    const XcbPtr<xcb_test_get_version_reply_t> version(xcb_test_get_version_reply(
        m_connection->get(), xcb_test_get_version(m_connection->get(), 2, 2), nullptr));
    m_available = version != nullptr;
}

CGEventSourceRef XTestKeyEvents::createSource(CGEventSourceStateID /*state*/) {
    return m_available ? std::make_shared<CGEventSource>() : nullptr;
}

CGEventRef XTestKeyEvents::createKeyboardEvent(const CGEventSourceRef& source, quint16 virtualKey,
                                               bool keyDown) {
    if (!m_keyboard->shortcutKeyCode(virtualKey)) {
        return nullptr;
    }
    return std::make_shared<KeyboardEvent>(KeyboardEvent{source, virtualKey, keyDown, 0});
}

void XTestKeyEvents::post(CGEventTapLocation /*location*/, const CGEventRef& event) {
    if (!event || !event->source) {
        return;
    }
    if (m_replaced && (event->keyDown || m_replaced->virtualKey != event->keyCode)) {
        release(); // a key whose release was never posted
    }
    if (event->keyDown) {
        press(event->keyCode, (event->flags & kCGEventFlagMaskCommand) != 0);
    } else if (m_replaced) {
        release();
    }
}

void XTestKeyEvents::press(quint16 virtualKey, bool command) {
    const std::optional<xcb_keycode_t> key = m_keyboard->shortcutKeyCode(virtualKey);
    if (!key) {
        return;
    }
    Replaced replaced{virtualKey, *key, {}, {}, m_keyboard->keysHeldOnDevices()};
    xcb_connection_t* c = m_connection->get();
    // No other client may press or lift a modifier between our look at the keys and the last key
    // that is put back: a modifier that is let go in between would be pressed again for good.
    // Until the hotkey's key is up its grab sends all keys to us, so it is given up first.
    xcb_grab_server(c);
    xcb_ungrab_keyboard(c, XCB_CURRENT_TIME);
    const XcbKeyboard::KeySet pressed = m_keyboard->pressedKeys();
    const std::vector<xcb_keycode_t>& controls = m_keyboard->controlKeys();
    const auto isControl = [&](xcb_keycode_t candidate) {
        return std::find(controls.begin(), controls.end(), candidate) != controls.end();
    };
    const bool controlHeld = std::any_of(controls.begin(), controls.end(),
                                         [&](auto control) { return pressed[control]; });
    if (command && !controlHeld && !controls.empty()) {
        replaced.control = controls.front();
        fake(XCB_KEY_PRESS, *replaced.control);
    }
    for (const xcb_keycode_t modifier : m_keyboard->holdModifierKeys()) {
        if (pressed[modifier] && !(command && isControl(modifier))) {
            fake(XCB_KEY_RELEASE, modifier);
            replaced.lifted.push_back(modifier);
        }
    }
    fake(XCB_KEY_PRESS, *key);
    m_replaced = std::move(replaced);
    m_connection->flush();
    // The server is given back when the key is up; a caller that never posts that must not freeze
    // the desktop, so it is also given back as soon as the event loop turns.
    QMetaObject::invokeMethod(
        this,
        [this, key = *key] {
            if (m_replaced && m_replaced->key == key) {
                release();
            }
        },
        Qt::QueuedConnection);
}

void XTestKeyEvents::release() {
    const Replaced replaced = std::move(*m_replaced);
    m_replaced.reset();
    fake(XCB_KEY_RELEASE, replaced.key);
    for (const xcb_keycode_t modifier : replaced.lifted) {
        fake(XCB_KEY_PRESS, modifier);
    }
    if (replaced.control) {
        fake(XCB_KEY_RELEASE, *replaced.control);
    }
    // A finger may have left a modifier while it was lifted; the server then saw nothing change.
    const XcbKeyboard::KeySet stillHeld = m_keyboard->keysHeldOnDevices();
    for (const xcb_keycode_t modifier : replaced.lifted) {
        if (replaced.heldOnDevices[modifier] && !stillHeld[modifier]) {
            fake(XCB_KEY_RELEASE, modifier);
        }
    }
    xcb_ungrab_server(m_connection->get());
    m_connection->flush();
}

void XTestKeyEvents::fake(uint8_t type, xcb_keycode_t key) {
    xcb_test_fake_input(m_connection->get(), type, key, XCB_CURRENT_TIME, m_connection->root(), 0,
                        0, 0);
}

} // namespace velmorin
