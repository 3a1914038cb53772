// SPDX-License-Identifier: MIT
#include "Platform/X11/FocusPing.h"

#include "Platform/Memory/MemoryMainQueue.h"
#include "Platform/X11/XcbPasteboard.h"

#include <atomic>
#include <chrono>
#include <cstring>
#include <thread>

#include <gtest/gtest.h>

namespace velmorin {
namespace {

using namespace std::chrono_literals;

/// An application that has the focus, in a thread of its own. It sends the answer to a ping to the
/// root window, with `answerMask`, and may want the clipboard's text before it goes on.
class Application {
public:
    Application(XcbConnection& tester, bool takesPings, uint32_t answerMask, bool pastesFirst)
        : m_tester(tester), m_protocols(tester.atom("WM_PROTOCOLS")),
          m_clipboard(tester.atom("CLIPBOARD")), m_utf8(tester.atom("UTF8_STRING")),
          m_incr(tester.atom("INCR")), m_c(xcb_connect(nullptr, nullptr)),
          m_window(xcb_generate_id(m_c)), m_pastesFirst(pastesFirst) {
        const uint32_t values[] = {1, XCB_EVENT_MASK_EXPOSURE | XCB_EVENT_MASK_PROPERTY_CHANGE};
        xcb_create_window(m_c, XCB_COPY_FROM_PARENT, m_window, tester.root(), 0, 0, 100, 100, 0,
                          XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT,
                          XCB_CW_OVERRIDE_REDIRECT | XCB_CW_EVENT_MASK, values);
        const xcb_atom_t ping = tester.atom("_NET_WM_PING");
        xcb_change_property(m_c, XCB_PROP_MODE_REPLACE, m_window, m_protocols, XCB_ATOM_ATOM, 32,
                            takesPings ? 1 : 0, &ping);
        xcb_map_window(m_c, m_window);
        xcb_flush(m_c);
        const XcbEvent exposed(xcb_wait_for_event(m_c));
        xcb_set_input_focus(m_c, XCB_INPUT_FOCUS_PARENT, m_window, XCB_CURRENT_TIME);
        const XcbPtr<xcb_get_input_focus_reply_t> done(
            xcb_get_input_focus_reply(m_c, xcb_get_input_focus(m_c), nullptr));
        m_thread = std::thread([this, answerMask] { answer(answerMask); });
    }

    ~Application() {
        xcb_client_message_event_t end{};
        end.response_type = XCB_CLIENT_MESSAGE;
        end.format = 32;
        xcb_send_event(m_tester.get(), 0, m_window, XCB_EVENT_MASK_NO_EVENT,
                       reinterpret_cast<const char*>(&end));
        m_tester.flush();
        m_thread.join();
        xcb_disconnect(m_c);
    }
    Q_DISABLE_COPY_MOVE(Application)

    [[nodiscard]] uint32_t pastedBytes() const { return m_pastedBytes; }

private:
    void answer(uint32_t mask) {
        while (const XcbEvent event{xcb_wait_for_event(m_c)}) {
            if (eventType(*event) != XCB_CLIENT_MESSAGE) {
                continue;
            }
            auto message = eventAs<xcb_client_message_event_t>(*event);
            if (message.type != m_protocols) {
                return;
            }
            if (m_pastesFirst && !paste()) {
                return;
            }
            message.window = m_tester.root();
            xcb_send_event(m_c, 0, m_tester.root(), mask, reinterpret_cast<const char*>(&message));
            xcb_flush(m_c);
        }
    }

    /// Takes the clipboard's text, whole or in pieces. False when the end comes before it.
    [[nodiscard]] bool paste() {
        xcb_convert_selection(m_c, m_window, m_clipboard, m_utf8, m_clipboard, XCB_CURRENT_TIME);
        xcb_flush(m_c);
        bool inPieces = false;
        while (const XcbEvent event{xcb_wait_for_event(m_c)}) {
            const auto& change = eventAs<xcb_property_notify_event_t>(*event);
            if (eventType(*event) == XCB_CLIENT_MESSAGE) {
                return false;
            }
            const bool isPiece = eventType(*event) == XCB_PROPERTY_NOTIFY && inPieces &&
                                 change.atom == m_clipboard &&
                                 change.state == XCB_PROPERTY_NEW_VALUE;
            if (eventType(*event) != XCB_SELECTION_NOTIFY && !isPiece) {
                continue;
            }
            const XcbPtr<xcb_get_property_reply_t> value(xcb_get_property_reply(
                m_c,
                xcb_get_property(m_c, 1, m_window, m_clipboard, XCB_ATOM_ANY, 0, UINT32_MAX / 4),
                nullptr));
            const auto size = static_cast<uint32_t>(xcb_get_property_value_length(value.get()));
            if (value->type == m_incr) {
                inPieces = true;
                continue;
            }
            m_pastedBytes += size;
            if (!inPieces || size == 0) {
                return true;
            }
        }
        return false;
    }

    XcbConnection& m_tester;
    xcb_atom_t m_protocols, m_clipboard, m_utf8, m_incr;
    xcb_connection_t* m_c;
    xcb_window_t m_window;
    bool m_pastesFirst;
    std::atomic<uint32_t> m_pastedBytes = 0;
    std::thread m_thread;
};

TEST(FocusPing, IsAnsweredByEveryToolkitThatTakesPartInIt) {
    constexpr uint32_t redirect = XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT;
    const struct {
        const char* name;
        bool takesPings;
        uint32_t answerMask;
        bool isAnswered;
    } rows[] = {
        {"GTK", true, redirect | XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY, true},
        {"Qt", true, redirect | XCB_EVENT_MASK_STRUCTURE_NOTIFY, true},
        {"one without", false, 0, false},
        {"one whose answer gets lost", true, 0, false},
    };
    const auto connection = XcbConnection::open();
    ASSERT_NE(connection, nullptr);
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const Application application(*connection, row.takesPings, row.answerMask, false);
        EXPECT_EQ(pingFocus(*connection, QDeadlineTimer(row.isAnswered ? 10s : 100ms)),
                  row.isAnswered);
    }
}

TEST(FocusPing, DoesNotKeepTheClipboardFromAnApplicationThatPastesFirst) {
    const auto connection = XcbConnection::open();
    ASSERT_NE(connection, nullptr);
    XcbPasteboard pasteboard(connection, std::make_shared<MemoryMainQueue>());
    for (const int size : {100, 1'000'000}) { // in one piece, in several
        SCOPED_TRACE(size);
        ASSERT_TRUE(pasteboard.setString(QString(size, u'x'), NSPasteboardTypeString));
        const Application application(*connection, true, XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY, true);
        EXPECT_TRUE(pingFocus(*connection, QDeadlineTimer(10s)));
        EXPECT_EQ(application.pastedBytes(), static_cast<uint32_t>(size));
    }
}

} // namespace
} // namespace velmorin
