// SPDX-License-Identifier: MIT
#include "Platform/X11/XcbTaskbar.h"
#include "tests/platform/XUser.h"

#include <QProcess>

#include <gtest/gtest.h>

namespace velmorin {
namespace {

using test::waitUntil;

TEST(XcbTaskbar, TheWindowManagerLeavesAWindowOutAndTakesItBackIn) {
    const auto connection = XcbConnection::open();
    ASSERT_NE(connection, nullptr);
    xcb_connection_t* c = connection->get();
    const xcb_window_t window = xcb_generate_id(c);
    xcb_create_window(c, XCB_COPY_FROM_PARENT, window, connection->root(), 0, 0, 100, 100, 0,
                      XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT, 0, nullptr);
    xcb_map_window(c, window);
    connection->flush();
    const auto state = [&] {
        QProcess xprop;
        xprop.start(QStringLiteral("xprop"),
                    {QStringLiteral("-id"), QString::number(window),
                     QStringLiteral("_NET_WM_STATE"), QStringLiteral("WM_STATE")});
        xprop.waitForFinished();
        return QString::fromUtf8(xprop.readAll());
    };
    ASSERT_TRUE(
        waitUntil([&] { return state().contains(QStringLiteral("window state: Normal")); }));
    setInTaskbar(*connection, window, false);
    EXPECT_TRUE(
        waitUntil([&] { return state().contains(QStringLiteral("_NET_WM_STATE_SKIP_TASKBAR")); }));
    EXPECT_TRUE(state().contains(QStringLiteral("_NET_WM_STATE_SKIP_PAGER")));
    setInTaskbar(*connection, window, true);
    EXPECT_TRUE(
        waitUntil([&] { return !state().contains(QStringLiteral("_NET_WM_STATE_SKIP_TASKBAR")); }));
}

} // namespace
} // namespace velmorin
