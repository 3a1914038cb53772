// SPDX-License-Identifier: MIT
#include "Platform/X11/XcbEventTaps.h"
#include "tests/platform/XUser.h"

#include <QProcess>

#include <gtest/gtest.h>

namespace velmorin {
namespace {

using test::waitUntil;
using test::XUser;

constexpr CGEventMask kMovements = 0xE0;
constexpr CGEventMask kKeys = 0x400;

struct XcbEventTapsTest : testing::Test {
    static void layout(const char* names) {
        ASSERT_EQ(
            QProcess::execute(QStringLiteral("setxkbmap"), QString::fromLatin1(names).split(u' ')),
            0);
    }
    void TearDown() override { layout("-layout us,ara"); }

    std::shared_ptr<EventTap> startTap(CGEventMask mask, EventTaps::Callback callback) {
        auto tap = taps.createTap(CGEventTapLocation::session, CGEventTapPlacement::headInsert,
                                  CGEventTapOptions::listenOnly, mask, std::move(callback));
        if (tap) {
            tap->addToCurrentRunLoop();
            tap->enable(true);
        }
        return tap;
    }

    void pointer(uint8_t type, uint8_t detail, int16_t x = 0, int16_t y = 0) {
        xcb_test_fake_input(user.c(), type, detail, XCB_CURRENT_TIME, user.root(), x, y, 0);
        xcb_flush(user.c());
    }

    /// Whether a key's text and code have come, alone and once.
    void expectKey(const QString& text, qint64 code) {
        EXPECT_TRUE(waitUntil([this] { return !keys.empty(); }));
        ASSERT_EQ(keys.size(), 1U);
        EXPECT_EQ(keys[0].unicodeString, text);
        EXPECT_EQ(keys[0].keyCode, code);
        keys.clear();
    }

    std::shared_ptr<XcbConnection> connection = XcbConnection::open();
    std::shared_ptr<XcbKeyboard> keyboard = std::make_shared<XcbKeyboard>(connection);
    XUser user;
    std::vector<TappedEvent> keys;
    XcbEventTaps taps{connection, keyboard};
};

TEST_F(XcbEventTapsTest, KeysComeWithPositionAndText) {
    ASSERT_TRUE(startTap(kKeys, [this](const TappedEvent& event) { keys.push_back(event); }));
    user.tap(test::keyA);
    expectKey(QStringLiteral("a"), 0);
    user.down(test::keyShiftLeft);
    expectKey(QString(), 56);
    user.tap(test::keyA);
    expectKey(QStringLiteral("A"), 0);
    user.up(test::keyShiftLeft);
    user.tap(22);
    expectKey(QStringLiteral("\b"), 51);

    layout("-layout ara");
    EXPECT_TRUE(waitUntil([this] { return keyboard->keysymOf(test::keyA, 0) != 'a'; }));
    user.tap(test::keyA);
    expectKey(QStringLiteral("\u0634"), 0);

    layout("-layout us -variant intl"); // the apostrophe is a dead acute accent there
    EXPECT_TRUE(waitUntil([this] { return keyboard->keysymOf(test::keyA, 0) == 'a'; }));
    user.tap(48);
    expectKey(QString(), 39);
    user.tap(26);
    expectKey(QStringLiteral("\u00E9"), 14);
}

TEST_F(XcbEventTapsTest, MovementsComeWithoutClicksAndOtherDrags) {
    std::vector<std::pair<CGEventType, QPointF>> moves;
    ASSERT_TRUE(startTap(kMovements, [&](const TappedEvent& event) {
        moves.emplace_back(event.type, event.location);
    }));
    ASSERT_TRUE(startTap(kKeys, [this](const TappedEvent& event) { keys.push_back(event); }));
    const auto moveTo = [&](int16_t x, int16_t y) { pointer(XCB_MOTION_NOTIFY, 0, x, y); };
    moveTo(500, 400);
    for (const uint8_t button : {uint8_t{1}, uint8_t{3}, uint8_t{2}}) {
        pointer(XCB_BUTTON_PRESS, button);
        moveTo(static_cast<int16_t>(500 + button), 410);
        pointer(XCB_BUTTON_RELEASE, button);
    }
    moveTo(600, 300);
    EXPECT_TRUE(waitUntil([&] {
        std::ignore = user.held(); // nobody else may make the server send anything
        return !moves.empty() && moves.back().second == QPointF(600, 300);
    }));
    // The same place may be told twice; what matters is which ones.
    moves.erase(std::unique(moves.begin(), moves.end()), moves.end());
    using Type = CGEventType;
    EXPECT_EQ(moves, (std::vector<std::pair<Type, QPointF>>{
                         {Type::mouseMoved, {500, 400}},
                         {Type::leftMouseDragged, {501, 410}},
                         {Type::rightMouseDragged, {503, 410}},
                         {Type::mouseMoved, {600, 300}},
                     }));
    EXPECT_TRUE(keys.empty());
}

TEST_F(XcbEventTapsTest, ADisabledTapIsSilentAndCanBeEnabledAgain) {
    int heard = 0;
    const auto tap = startTap(kKeys, [&](const TappedEvent&) { ++heard; });
    ASSERT_TRUE(startTap(kKeys, [this](const TappedEvent& event) { keys.push_back(event); }));
    user.tap(test::keyA);
    EXPECT_TRUE(waitUntil([&] { return heard == 1 && keys.size() == 1; }));
    tap->enable(false);
    user.tap(test::keyA);
    EXPECT_TRUE(waitUntil([&] { return keys.size() == 2; }));
    EXPECT_EQ(heard, 1);
    tap->enable(true);
    EXPECT_TRUE(waitUntil([&] {
        user.tap(test::keyA);
        return heard >= 2;
    }));
}

TEST_F(XcbEventTapsTest, KeysAreSeenWhileTheKeyboardIsGrabbed) {
    ASSERT_TRUE(startTap(kKeys, [this](const TappedEvent& event) { keys.push_back(event); }));
    const XcbPtr<xcb_grab_keyboard_reply_t> grab(
        xcb_grab_keyboard_reply(user.c(),
                                xcb_grab_keyboard(user.c(), 0, user.root(), XCB_CURRENT_TIME,
                                                  XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC),
                                nullptr));
    ASSERT_EQ(grab->status, XCB_GRAB_STATUS_SUCCESS);
    user.tap(test::keyA);
    expectKey(QStringLiteral("a"), 0);
    xcb_ungrab_keyboard(user.c(), XCB_CURRENT_TIME);
    xcb_flush(user.c());
}

} // namespace
} // namespace velmorin
