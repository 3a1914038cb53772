// SPDX-License-Identifier: MIT
#include "Velmorin/GlobalHotkey.h"

#include "tests/unit/FlipFixture.h"

#include <gtest/gtest.h>

#include <thread>

namespace velmorin {
namespace {

class GlobalHotkeyTest : public testing::Test {
protected:
    GlobalHotkeyTest() { Platform::setProcess(fixture.platform.platform()); }
    ~GlobalHotkeyTest() override { Platform::setProcess({}); }

    FlipFixture fixture;
};

TEST_F(GlobalHotkeyTest, LaunchReportsTheHotkeyAndTheTrust) {
    constexpr auto registered =
        "Global hotkey ⌥Space registered — works in ALL apps, NO permissions needed!";
    constexpr auto granted = "Accessibility: GRANTED";
    constexpr auto missing = "Accessibility: not yet granted (needed for ⌘A/⌘C/⌘V in other apps)";
    const std::tuple<OSStatus, bool, const char*, const char*> cases[] = {
        {noErr, true, registered, granted},
        {noErr, false, registered, missing},
        {eventHotKeyExistsErr, true, "Hotkey registration failed (status -9878)", granted},
        {7, false, "Hotkey registration failed (status 7)", missing},
    };
    for (const auto& [status, isTrusted, hotkeyLine, trustLine] : cases) {
        SCOPED_TRACE(status);
        FlipFixture f;
        f.platform.hotKeys->registerStatus = status;
        f.platform.accessibility->trusted = isTrusted;
        f.delegate->applicationDidFinishLaunching();
        EXPECT_EQ(f.messages(),
                  (Messages{"Velmorin launched", "Registering global hotkey ⌥Space via Carbon…",
                            hotkeyLine, trustLine}));
        EXPECT_EQ(f.store->hotkeyRegistered(), status == noErr);
        EXPECT_EQ(f.delegate->hotKeyRef != nullptr, status == noErr);
        EXPECT_EQ(f.platform.accessibility->journal().count(QStringLiteral("prompt")),
                  isTrusted ? 0 : 1);
    }
}

TEST_F(GlobalHotkeyTest, RegistersOptionSpaceWhateverTheHandlerStatus) {
    fixture.platform.hotKeys->installStatus = -1;
    fixture.delegate->registerGlobalHotkey();
    const auto& registrations = fixture.platform.hotKeys->registrations();
    ASSERT_EQ(registrations.size(), 1U);
    EXPECT_EQ(registrations[0].keyCode, 49);
    EXPECT_EQ(registrations[0].modifiers, 0x0800U);
    EXPECT_EQ(registrations[0].id.signature, 0x564C4D4EU);
    EXPECT_EQ(registrations[0].id.id, 1U);
    EXPECT_EQ(registrations[0].options, 0U);
    EXPECT_TRUE(fixture.store->hotkeyRegistered());
}

TEST_F(GlobalHotkeyTest, EveryPressIsLoggedAndFlipsOnALaterTurn) {
    fixture.delegate->applicationDidFinishLaunching();
    fixture.platform.mainQueue->runUntilIdle();
    fixture.log->setEntries({});
    fixture.platform.hotKeys->press();
    fixture.platform.hotKeys->press();
    EXPECT_FALSE(fixture.delegate->flipInProgress);
    EXPECT_EQ(fixture.messages(),
              (Messages{"⌥Space pressed!", "── FLIP START ──", "Trying AX direct text access…",
                        "  No text attributes", "AX unavailable, using clipboard method…", "  ⌘A",
                        "⌥Space pressed!", "Flip already in progress"}));
}

TEST_F(GlobalHotkeyTest, TheCallbackTakesAnyEventOnAnyThread) {
    _appDelegateRef = fixture.delegate;
    OSStatus status = 1;
    std::jthread([&status] { status = carbonHotkeyCallback(nullptr, nullptr, nullptr); }).join();
    EXPECT_EQ(status, noErr);
    EXPECT_EQ(fixture.messages().at(0), "⌥Space pressed!");
}

TEST_F(GlobalHotkeyTest, APressWithTheDelegateGoneDoesNothing) {
    fixture.delegate->applicationDidFinishLaunching();
    fixture.platform.mainQueue->runUntilIdle();
    fixture.log->setEntries({});
    fixture.platform.hotKeys->press();
    fixture.delegate.reset();
    EXPECT_EQ(fixture.messages(), Messages{});
}

} // namespace
} // namespace velmorin
