// SPDX-License-Identifier: MIT
#include "Platform/X11/FocusPing.h"

#include <chrono>
#include <cstring>
#include <thread>

#include <gtest/gtest.h>

namespace velmorin {
namespace {

using namespace std::chrono_literals;

/// An application that has the focus, in a thread of its own. It sends the answer to a ping to the
/// root window, with `answerMask`.
class Application {
public:
    Application(XcbConnection& tester, bool takesPings, uint32_t answerMask)
        : m_tester(tester), m_protocols(tester.atom("WM_PROTOCOLS")),
          m_c(xcb_connect(nullptr, nullptr)), m_window(xcb_generate_id(m_c)) {
        const uint32_t values[] = {1, XCB_EVENT_MASK_EXPOSURE};
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
            message.window = m_tester.root();
            xcb_send_event(m_c, 0, m_tester.root(), mask, reinterpret_cast<const char*>(&message));
            xcb_flush(m_c);
        }
    }

    XcbConnection& m_tester;
    xcb_atom_t m_protocols;
    xcb_connection_t* m_c;
    xcb_window_t m_window;
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
        const Application application(*connection, row.takesPings, row.answerMask);
        EXPECT_EQ(pingFocus(*connection, QDeadlineTimer(row.isAnswered ? 10s : 100ms)),
                  row.isAnswered);
    }
}

} // namespace
} // namespace velmorin
