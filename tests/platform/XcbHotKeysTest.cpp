// SPDX-License-Identifier: MIT
#include "Platform/X11/XcbHotKeys.h"

#include "Platform/KeyEvents.h"
#include "tests/platform/XUser.h"

#include <QProcess>

#include <gtest/gtest.h>

namespace velmorin {

namespace {

using test::waitUntil;
using test::XUser;

int presses = 0;

OSStatus countPress(EventHandlerCallRef /*next*/, EventRef event, void* /*userData*/) {
    if (event->eventKind == kEventHotKeyPressed && event->id == 7) {
        ++presses;
    }
    return noErr;
}

class XcbHotKeysTest : public testing::Test {
protected:
    XcbHotKeysTest() {
        presses = 0;
        const EventTypeSpec type{kEventClassKeyboard, kEventHotKeyPressed};
        m_hotKeys.installEventHandler(m_hotKeys.applicationEventTarget(), countPress, {&type, 1},
                                      nullptr);
    }

    OSStatus registerHotKey(quint32 key = kVK_Space, quint32 modifiers = optionKey) {
        return m_hotKeys.registerEventHotKey(key, modifiers, {1, 7},
                                             m_hotKeys.applicationEventTarget(), 0, m_hotKey);
    }

    void tapHotKey() {
        m_user.down(test::keyAltLeft);
        m_user.tap(test::keySpace);
        m_user.up(test::keyAltLeft);
    }

    /// Everything that the server sent has been handled: a press that should not count had its
    /// chance.
    void settle() {
        std::ignore = m_connection->takeAll([](const auto&) { return false; });
        bool turned = false;
        EXPECT_TRUE(waitUntil([&] { return std::exchange(turned, true); }));
    }

    std::shared_ptr<XcbConnection> m_connection = XcbConnection::open();
    XcbHotKeys m_hotKeys{m_connection, std::make_shared<XcbKeyboard>(m_connection)};
    EventHotKeyRef m_hotKey;
    XUser m_user;
};

TEST_F(XcbHotKeysTest, FiresWhateverTheLockKeysSay) {
    ASSERT_EQ(registerHotKey(), noErr);
    const std::vector<std::vector<xcb_keycode_t>> locks{
        {}, {test::keyCapsLock}, {test::keyNumLock}, {test::keyCapsLock, test::keyNumLock}};
    int expected = 0;
    for (const auto& keys : locks) {
        for (const xcb_keycode_t key : keys) {
            m_user.tap(key);
        }
        tapHotKey();
        ++expected;
        EXPECT_TRUE(waitUntil([&] { return presses == expected; })) << expected;
        for (const xcb_keycode_t key : keys) {
            m_user.tap(key);
        }
    }
}

TEST_F(XcbHotKeysTest, OtherModifiersAreOtherCombinations) {
    ASSERT_EQ(registerHotKey(), noErr);
    m_user.down(test::keyShiftLeft);
    tapHotKey();
    m_user.up(test::keyShiftLeft);
    m_user.tap(test::keySpace);
    settle();
    EXPECT_EQ(presses, 0);
}

TEST_F(XcbHotKeysTest, HoldingIsOnePress) {
    ASSERT_EQ(registerHotKey(), noErr);
    m_user.down(test::keyAltLeft);
    m_user.down(test::keySpace);
    ASSERT_TRUE(waitUntil([] { return presses == 1; }));
    // Auto-repeat presses the key again without lifting it, which activates the grab again.
    for (int i = 0; i < 3; ++i) {
        m_user.down(test::keySpace);
    }
    settle();
    EXPECT_EQ(presses, 1);
    m_user.up(test::keySpace);
    settle();
    m_user.tap(test::keySpace);
    EXPECT_TRUE(waitUntil([] { return presses == 2; }));
    m_user.up(test::keyAltLeft);
}

TEST_F(XcbHotKeysTest, ACombinationThatAnotherClientOwnsInPartIsRefusedWhole) {
    // A window manager that grabs the key with Num Lock only.
    xcb_grab_key(m_user.c(), 0, m_user.root(), XCB_MOD_MASK_1 | XCB_MOD_MASK_2, test::keySpace,
                 XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC);
    ASSERT_TRUE(m_user.held().empty()); // also waits for the grab
    EXPECT_EQ(registerHotKey(), eventHotKeyExistsErr);
    EXPECT_FALSE(m_hotKey);
    // The rest was given back: the other client can have it.
    settle();
    const XcbPtr<xcb_generic_error_t> error(xcb_request_check(
        m_user.c(),
        xcb_grab_key_checked(m_user.c(), 0, m_user.root(), XCB_MOD_MASK_1, test::keySpace,
                             XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC)));
    EXPECT_FALSE(error);
}

TEST_F(XcbHotKeysTest, WhatAKeyboardMapMakesImpossibleLeavesTheRest) {
    ASSERT_EQ(registerHotKey(), noErr);
    xcb_grab_key(m_user.c(), 0, m_user.root(), XCB_MOD_MASK_1 | XCB_MOD_MASK_3, test::keySpace,
                 XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC);
    // Num Lock moves from Mod2 to Mod3, where the other client has the key.
    const XcbPtr<xcb_get_modifier_mapping_reply_t> before(
        xcb_get_modifier_mapping_reply(m_user.c(), xcb_get_modifier_mapping(m_user.c()), nullptr));
    const uint8_t width = before->keycodes_per_modifier;
    const xcb_keycode_t* keys = xcb_get_modifier_mapping_keycodes(before.get());
    std::vector<xcb_keycode_t> moved(keys, keys + ptrdiff_t{8} * width);
    std::swap_ranges(moved.begin() + ptrdiff_t{4} * width, moved.begin() + ptrdiff_t{5} * width,
                     moved.begin() + ptrdiff_t{5} * width);
    const auto setMapping = [&](const xcb_keycode_t* mapping) {
        const XcbPtr<xcb_set_modifier_mapping_reply_t> set(xcb_set_modifier_mapping_reply(
            m_user.c(), xcb_set_modifier_mapping(m_user.c(), width, mapping), nullptr));
        settle();
    };
    setMapping(moved.data());
    tapHotKey();
    EXPECT_TRUE(waitUntil([] { return presses == 1; }));
    // As soon as the map allows it, all is as it was.
    setMapping(keys);
    m_user.tap(test::keyNumLock);
    tapHotKey();
    EXPECT_TRUE(waitUntil([] { return presses == 2; }));
    m_user.tap(test::keyNumLock);
}

TEST_F(XcbHotKeysTest, UnknownKeysAndModifiersAreRefused) {
    EXPECT_EQ(registerHotKey(0x77), eventHotKeyInvalidErr);
    EXPECT_EQ(registerHotKey(kVK_Space, 0x40000), eventHotKeyInvalidErr);
    EXPECT_FALSE(m_hotKey);
}

TEST_F(XcbHotKeysTest, SurvivesAChangeOfTheKeyboardMapAndEndsWithItsReference) {
    ASSERT_EQ(registerHotKey(), noErr);
    ASSERT_EQ(QProcess::execute(QStringLiteral("setxkbmap"),
                                {QStringLiteral("-layout"), QStringLiteral("us,ara")}),
              0);
    settle();
    tapHotKey();
    EXPECT_TRUE(waitUntil([] { return presses == 1; }));
    m_hotKey.reset();
    settle();
    tapHotKey();
    settle();
    EXPECT_EQ(presses, 1);
}

} // namespace

} // namespace velmorin
