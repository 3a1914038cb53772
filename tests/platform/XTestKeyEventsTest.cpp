// SPDX-License-Identifier: MIT
#include "Platform/X11/XTestKeyEvents.h"

#include "Platform/X11/XcbHotKeys.h"
#include "tests/platform/XUser.h"

#include <QProcess>

#include <gtest/gtest.h>

namespace velmorin {

namespace {

using test::Key;
using test::waitUntil;
using test::XUser;
using KeyEvent = test::XUser::KeyEvent;

constexpr uint16_t kControl = XCB_MOD_MASK_CONTROL;

class XTestKeyEventsTest : public testing::Test {
protected:
    void postCommand(quint16 virtualKey) {
        const CGEventSourceRef source = m_keys.createSource(CGEventSourceStateID::hidSystem);
        ASSERT_TRUE(source);
        for (const bool down : {true, false}) {
            const CGEventRef event = m_keys.createKeyboardEvent(source, virtualKey, down);
            ASSERT_TRUE(event);
            event->flags = kCGEventFlagMaskCommand;
            m_keys.post(CGEventTapLocation::hid, event);
        }
    }

    void registerHotKey() {
        m_hotKeys = std::make_unique<XcbHotKeys>(m_connection, m_keyboard);
        ASSERT_EQ(m_hotKeys->registerEventHotKey(kVK_Space, optionKey, {1, 1},
                                                 m_hotKeys->applicationEventTarget(), 0, m_hotKey),
                  noErr);
    }

    static void setLayouts(const char* layouts, const char* options = "") {
        ASSERT_EQ(QProcess::execute(QStringLiteral("setxkbmap"),
                                    {QStringLiteral("-layout"), QString::fromLatin1(layouts),
                                     QStringLiteral("-option"), QString(),
                                     QStringLiteral("-option"), QString::fromLatin1(options)}),
                  0);
    }

    /// Waits until the window saw `key` come up.
    [[nodiscard]] bool sawRelease(xcb_keycode_t key) {
        return waitUntil([&] {
            return std::any_of(m_user.seen.begin(), m_user.seen.end(), [&](const KeyEvent& event) {
                return !event.isPress && event.key == key;
            });
        });
    }

    [[nodiscard]] std::optional<uint16_t> stateAtPress(xcb_keycode_t key) const {
        for (const KeyEvent& event : m_user.seen) {
            if (event.isPress && event.key == key) {
                return event.state;
            }
        }
        return std::nullopt;
    }

    std::shared_ptr<XcbConnection> m_connection = XcbConnection::open();
    std::shared_ptr<XcbKeyboard> m_keyboard = std::make_shared<XcbKeyboard>(m_connection);
    XTestKeyEvents m_keys{m_connection, m_keyboard};
    std::unique_ptr<XcbHotKeys> m_hotKeys;
    EventHotKeyRef m_hotKey;
    XUser m_user;
};

TEST_F(XTestKeyEventsTest, CommandIsControlAndNothingElse) {
    struct Row {
        const char* name;
        std::vector<xcb_keycode_t> held;
        std::vector<xcb_keycode_t> locks;
        uint16_t state;
    };
    const std::vector<Row> rows{
        {"nothing held", {}, {}, kControl},
        {"Alt", {test::keyAltLeft}, {}, kControl},
        {"Alt, Shift and Super",
         {test::keyAltLeft, test::keyShiftLeft, test::keySuperLeft},
         {},
         kControl},
        {"Control", {test::keyControlLeft}, {}, kControl},
        {"Control and Alt", {test::keyControlLeft, test::keyAltLeft}, {}, kControl},
        {"Caps Lock and Num Lock with Alt",
         {test::keyAltLeft},
         {test::keyCapsLock, test::keyNumLock},
         kControl | XCB_MOD_MASK_LOCK | XCB_MOD_MASK_2},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        for (const xcb_keycode_t key : row.locks) {
            m_user.tap(key);
        }
        for (const xcb_keycode_t key : row.held) {
            m_user.down(key);
        }
        const std::vector<int> before = m_user.held();
        m_user.forget();

        postCommand(kVK_ANSI_C);

        EXPECT_TRUE(sawRelease(test::keyC));
        EXPECT_EQ(stateAtPress(test::keyC), row.state);
        EXPECT_TRUE(waitUntil([&] { return m_user.held() == before; }))
            << "the user's keys are as they were";
        for (const KeyEvent& event : m_user.seen) {
            if (event.key == test::keyAltLeft) {
                EXPECT_TRUE(event.state & kControl) << "Alt alone opens menus";
            }
        }
        for (const xcb_keycode_t key : row.held) {
            m_user.up(key);
        }
        for (const xcb_keycode_t key : row.locks) {
            m_user.tap(key);
        }
        EXPECT_TRUE(m_user.held().empty());
    }
}

TEST_F(XTestKeyEventsTest, KeysThatSwitchTheLayoutTogetherAreNotPressedTogether) {
    registerHotKey();
    for (const char* options :
         {"grp:ctrl_alt_toggle", "grp:lctrl_lalt_toggle", "grp:alt_shift_toggle",
          "grp:ctrl_alt_toggle,grp:alt_shift_toggle"}) {
        SCOPED_TRACE(options);
        bool isNew = false;
        const auto listener = m_keyboard->addMapListener([&] { isNew = true; });
        setLayouts("us,ara", options);
        ASSERT_TRUE(waitUntil([&] { return isNew; }));
        m_user.takeFocus();
        m_user.down(test::keyAltLeft);
        m_user.down(test::keySpace);
        m_user.up(test::keySpace);
        m_user.forget();
        postCommand(kVK_ANSI_C);
        EXPECT_TRUE(sawRelease(test::keyC));
        EXPECT_EQ(stateAtPress(test::keyC), kControl);
        EXPECT_EQ(m_user.held(), std::vector<int>{test::keyAltLeft});
        m_user.up(test::keyAltLeft);
        EXPECT_EQ(m_keyboard->locks(), XcbKeyboard::Locks{}) << "the layout is as it was";
    }
    setLayouts("us,ara");
}

TEST_F(XTestKeyEventsTest, AKeyForAnotherWindowIsNotPressed) {
    const CGEventSourceRef source = m_keys.createSource(CGEventSourceStateID::hidSystem);
    m_user.down(test::keyAltLeft);
    m_user.forget();
    for (const bool isForIt : {false, true}) {
        for (const auto& [text, isDown] :
             {std::pair("", true), std::pair("", false), std::pair("c", true)}) {
            const CGEventRef event = m_keys.createKeyboardEvent(source, kVK_ANSI_A, isDown);
            event->unicodeString = QString::fromLatin1(text);
            event->window = isForIt ? m_user.window() : m_user.root();
            m_keys.post(CGEventTapLocation::hid, event);
        }
    }
    // What it was sent in the first round would have come before.
    EXPECT_TRUE(sawRelease(test::keyC));
    EXPECT_EQ(std::ranges::count(m_user.seen, test::keyA, &KeyEvent::key), 2);
    EXPECT_EQ(std::ranges::count(m_user.seen, test::keyC, &KeyEvent::key), 2);
    EXPECT_EQ(m_user.held(), std::vector<int>{test::keyAltLeft});
    m_user.up(test::keyAltLeft);
}

TEST_F(XTestKeyEventsTest, KeysGoToTheFocusedWindowWhileTheHotkeyIsHeld) {
    registerHotKey();
    m_user.down(test::keyAltLeft);
    m_user.down(test::keySpace);
    postCommand(kVK_ANSI_A);
    EXPECT_TRUE(sawRelease(test::keyA));
    EXPECT_EQ(stateAtPress(test::keyA), kControl);
    m_user.up(test::keySpace);
    m_user.up(test::keyAltLeft);
    EXPECT_TRUE(m_user.held().empty());
}

TEST_F(XTestKeyEventsTest, TheLetterDecidesWhereALayoutHasMovedIt) {
    struct Row {
        const char* layouts;
        quint16 virtualKey;
        xcb_keycode_t key;
    };
    constexpr xcb_keycode_t keyQ = 24; // bears A on a French keyboard
    constexpr xcb_keycode_t keyI = 31; // bears C on a Dvorak keyboard
    const std::vector<Row> rows{
        {"fr", kVK_ANSI_A, keyQ},           {"ara,fr", kVK_ANSI_A, keyQ},
        {"us(dvorak)", kVK_ANSI_C, keyI},   {"us,ara", kVK_ANSI_A, test::keyA},
        {"ara,us", kVK_ANSI_V, test::keyV}, {"us", kVK_ANSI_C, test::keyC},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.layouts);
        setLayouts(row.layouts);
        EXPECT_TRUE(
            waitUntil([&] { return m_keyboard->shortcutKeyCode(row.virtualKey) == row.key; }));
    }
}

TEST_F(XTestKeyEventsTest, WithoutALatinLayoutTheLetterHasAKeyForTheMoment) {
    setLayouts("ara");
    ASSERT_TRUE(waitUntil([&] { return !m_keyboard->shortcutKeyCode(kVK_ANSI_A); }));
    postCommand(kVK_ANSI_A);
    std::optional<xcb_keycode_t> key;
    ASSERT_TRUE(waitUntil([&] {
        key = m_keyboard->shortcutKeyCode(kVK_ANSI_A);
        return key.has_value();
    }));
    EXPECT_TRUE(sawRelease(*key));
    EXPECT_EQ(stateAtPress(*key), kControl);
    EXPECT_TRUE(waitUntil([&] { return !m_keyboard->shortcutKeyCode(kVK_ANSI_A); }))
        << "the keyboard map is as it was";
    setLayouts("us,ara");
}

TEST_F(XTestKeyEventsTest, AKeyThatIsNeverReleasedDoesNotFreezeTheDesktop) {
    const CGEventSourceRef source = m_keys.createSource(CGEventSourceStateID::hidSystem);
    const CGEventRef event = m_keys.createKeyboardEvent(source, kVK_ANSI_A, true);
    event->flags = kCGEventFlagMaskCommand;
    m_keys.post(CGEventTapLocation::hid, event);
    EXPECT_TRUE(sawRelease(test::keyA));
    EXPECT_TRUE(m_user.held().empty());
}

} // namespace

} // namespace velmorin
