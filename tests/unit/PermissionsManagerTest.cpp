// SPDX-License-Identifier: MIT
#include "SharedCore/PermissionsManager.h"
#include "Platform/Memory/MemoryPlatform.h"

#include <gtest/gtest.h>

#include <thread>

namespace velmorin {
namespace {

struct Permissions : testing::Test {
    MemoryPlatform platform;
    PermissionsManager manager{platform.platform()};
};

TEST_F(Permissions, AccessibilityIsAskedForOnlyOnRequest) {
    const auto prompts = [this] {
        return platform.accessibility->journal().count(QStringLiteral("prompt"));
    };
    platform.accessibility->trusted = false;
    EXPECT_FALSE(manager.isAccessibilityGranted());
    EXPECT_EQ(prompts(), 0);
    manager.requestAccessibility();
    EXPECT_EQ(prompts(), 1);
    platform.accessibility->trusted = true;
    EXPECT_TRUE(manager.isAccessibilityGranted());
}

TEST_F(Permissions, TheMicrophoneIsGrantedOnlyByAYes) {
    using Status = AuthorizationStatus;
    for (const auto& [status, granted] :
         {std::pair(Status::notDetermined, false), std::pair(Status::restricted, false),
          std::pair(Status::denied, false), std::pair(Status::authorized, true)}) {
        platform.authorization->status = status;
        EXPECT_EQ(manager.isMicrophoneGranted(), granted) << static_cast<int>(status);
    }
}

TEST_F(Permissions, AnswersComeOnTheMainQueueWhereverTheyAreGiven) {
    std::vector<bool> answers;
    const auto note = [&](bool granted) { answers.push_back(granted); };
    manager.requestMicrophone(note);
    manager.requestCalendar(note);
    std::thread([this] {
        platform.authorization->audioRequests.at(0)(true);
        platform.authorization->eventRequests.at(0)(false, QStringLiteral("an error"));
    }).join();
    EXPECT_TRUE(answers.empty());
    platform.mainQueue->runUntilIdle();
    EXPECT_EQ(answers, (std::vector{true, false}));
}

TEST_F(Permissions, EachPageHasItsAddress) {
    manager.openAccessibilitySettings();
    manager.openInputMonitoringSettings();
    manager.openMicrophoneSettings();
    manager.openCalendarSettings();
    manager.openFullDiskAccessSettings();
    std::vector<QUrl> expected;
    for (const char* anchor : {"Privacy_Accessibility", "Privacy_ListenEvent", "Privacy_Microphone",
                               "Privacy_Calendars", "Privacy_AllFiles"}) {
        expected.emplace_back(
            QStringLiteral("x-apple.systempreferences:com.apple.preference.security?") +
            QString::fromLatin1(anchor));
    }
    EXPECT_EQ(platform.workspace->opened, expected);
}

TEST_F(Permissions, AMenuBarApplicationHasNoTaskbarEntry) {
    configureAsMenuBarOnlyApp(platform.platform());
    EXPECT_EQ(platform.application->policy, ActivationPolicy::accessory);
    EXPECT_DEATH(configureAsMenuBarOnlyApp({}), "no application");
}

} // namespace
} // namespace velmorin
