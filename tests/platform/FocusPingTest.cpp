// SPDX-License-Identifier: MIT
#include "Platform/X11/FocusPing.h"

#include "Platform/Memory/MemoryMainQueue.h"
#include "Platform/X11/FocusedWindow.h"
#include "Platform/X11/XcbPasteboard.h"
#include "tests/platform/ForeignClient.h"

#include <atomic>
#include <chrono>

#include <gtest/gtest.h>

namespace velmorin {
namespace {

using namespace std::chrono_literals;
using test::ForeignClient;

/// Answers pings to the root window, with `mask`, once it has pasted where that is wanted.
ForeignClient::Handler pingAnswer(uint32_t mask, std::atomic<qsizetype>* pastedBytes = nullptr) {
    return [=](ForeignClient& self, const xcb_generic_event_t& event) {
        if (eventType(event) == XCB_CLIENT_MESSAGE) {
            if (pastedBytes != nullptr) {
                *pastedBytes = self.paste().size();
            }
            auto pong = eventAs<xcb_client_message_event_t>(event);
            pong.window = xcb_setup_roots_iterator(xcb_get_setup(self.get())).data->root;
            xcb_send_event(self.get(), 0, pong.window, mask, reinterpret_cast<const char*>(&pong));
        }
    };
}

void takePings(const ForeignClient& application) {
    const xcb_atom_t ping = application.atom("_NET_WM_PING");
    xcb_change_property(application.get(), XCB_PROP_MODE_REPLACE, application.window(),
                        application.atom("WM_PROTOCOLS"), XCB_ATOM_ATOM, 32, 1, &ping);
    std::ignore = application.atom("done"); // a round trip
}

/// With the focus on the application. When a focused window goes, the window manager moves the
/// focus a while later: then it is tried again.
bool isPingAnswered(XcbConnection& connection, const ForeignClient& application,
                    std::chrono::milliseconds limit = 10s) {
    for (int i = 0; i < 10; ++i) {
        xcb_set_input_focus(application.get(), XCB_INPUT_FOCUS_PARENT, application.window(),
                            XCB_CURRENT_TIME);
        std::ignore = application.atom("done");
        const bool isAnswered = pingFocus(connection, QDeadlineTimer(limit));
        if (focusedWindow(connection) == application.window()) {
            return isAnswered;
        }
    }
    ADD_FAILURE() << "the focus stays nowhere";
    return false;
}

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
        const ForeignClient application(pingAnswer(row.answerMask));
        if (row.takesPings) {
            takePings(application);
        }
        EXPECT_EQ(isPingAnswered(*connection, application, row.isAnswered ? 10s : 100ms),
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
        std::atomic<qsizetype> pastedBytes = 0;
        const ForeignClient application(
            pingAnswer(XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY, &pastedBytes));
        takePings(application);
        EXPECT_TRUE(isPingAnswered(*connection, application));
        EXPECT_EQ(pastedBytes, size);
    }
}

} // namespace
} // namespace velmorin
