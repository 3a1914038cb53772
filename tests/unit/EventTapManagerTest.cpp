// SPDX-License-Identifier: MIT
#include "SharedCore/EventTapManager.h"
#include "Platform/Memory/MemoryPlatform.h"

#include <gtest/gtest.h>

#include <tuple>

namespace velmorin {
namespace {

constexpr auto ignoreKeys = [](const QString&, quint16, bool) {};
constexpr auto ignoreMouse = [](const QPointF&) {};

struct EventTapManagerTest : testing::Test {
    [[nodiscard]] MemoryEventTaps::Tap& tap(size_t i) const {
        return *platform.eventTaps->taps.at(i);
    }
    void press(qint64 keyCode, const QString& text = {}) const {
        platform.eventTaps->happen({CGEventType::keyDown, {}, keyCode, text});
    }
    void move(CGEventType type, double x) const {
        platform.eventTaps->happen({type, {x, 0}, 0, {}});
    }

    MemoryPlatform platform;
    std::optional<EventTapManager> manager{std::in_place, platform.platform()};
};

TEST_F(EventTapManagerTest, WithoutPermissionNothingHappens) {
    platform.accessibility->trusted = false;
    testing::internal::CaptureStdout();
    EXPECT_FALSE(manager->startMouseTracking(ignoreMouse));
    EXPECT_FALSE(manager->startKeyTracking(ignoreKeys));
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_TRUE(platform.eventTaps->taps.empty());
    EXPECT_FALSE(platform.accessibility->journal().contains(QStringLiteral("prompt")));
    manager->stopAll();
}

TEST_F(EventTapManagerTest, TapsListenToTheSession) {
    testing::internal::CaptureStdout();
    EXPECT_TRUE(manager->startMouseTracking(ignoreMouse));
    EXPECT_TRUE(manager->startKeyTracking(ignoreKeys));
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "✅ Mouse tracking started\n✅ Key tracking started\n");
    EXPECT_EQ(tap(0).mask, 0xE0U);
    EXPECT_EQ(tap(1).mask, 0x400U);
    for (const size_t i : {0, 1}) {
        EXPECT_EQ(static_cast<int>(tap(i).location), 1);
        EXPECT_EQ(static_cast<int>(tap(i).placement), 0);
        EXPECT_EQ(static_cast<int>(tap(i).options), 1);
    }
}

TEST_F(EventTapManagerTest, ARefusalIsPrintedAndKeepsTheNewCallback) {
    std::vector<std::string> heard;
    const auto hear = [&](const char* name) {
        return [&heard, name](const QString&, quint16, bool) { heard.emplace_back(name); };
    };
    ASSERT_TRUE(manager->startKeyTracking(hear("first")));
    platform.eventTaps->isRefusing = true;
    testing::internal::CaptureStdout();
    EXPECT_FALSE(manager->startKeyTracking(hear("second")));
    EXPECT_FALSE(manager->startMouseTracking(ignoreMouse));
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "❌ EventTap: Failed to create key tap. Check Input Monitoring permissions.\n"
              "❌ EventTap: Failed to create mouse tap. Check Accessibility permissions.\n");
    press(0);
    EXPECT_EQ(heard, std::vector<std::string>{"second"});
}

TEST_F(EventTapManagerTest, KeysAreReportedWithWhatTheyType) {
    using Key = std::tuple<QString, quint16, bool>;
    std::vector<Key> keys;
    ASSERT_TRUE(manager->startKeyTracking([&](const QString& text, quint16 keyCode, bool isDelete) {
        keys.emplace_back(text, keyCode, isDelete);
    }));
    press(0, QStringLiteral("a"));
    press(51, QStringLiteral("\b"));
    press(3, QStringLiteral("\U0001F1F8\U0001F1E6\U0001F1F8")); // six units
    press(65535);
    EXPECT_EQ(keys, (std::vector<Key>{{QStringLiteral("a"), 0, false},
                                      {QString(), 51, true},
                                      {QStringLiteral("\U0001F1F8\U0001F1E6"), 3, false},
                                      {QString(), 65535, false}}));
    EXPECT_DEATH(press(65536), "out of range");
    EXPECT_DEATH(press(-1), "out of range");
}

TEST_F(EventTapManagerTest, OnlyTheNewestTapIsStopped) {
    std::vector<double> places;
    const auto note = [&](const QPointF& place) { places.push_back(place.x()); };
    ASSERT_TRUE(manager->startMouseTracking(note));
    ASSERT_TRUE(manager->startMouseTracking(note));
    move(CGEventType::mouseMoved, 1);
    EXPECT_EQ(places, (std::vector<double>{1, 1}));
    manager->stopAll();
    EXPECT_TRUE(tap(0).isEnabled);
    EXPECT_FALSE(tap(1).isEnabled);
    move(CGEventType::leftMouseDragged, 2);
    EXPECT_EQ(places.back(), 2) << "the older one runs on";

    manager.reset();
    move(CGEventType::rightMouseDragged, 3);
    EXPECT_EQ(places.back(), 2) << "but nobody is left to hear it";
}

} // namespace
} // namespace velmorin
