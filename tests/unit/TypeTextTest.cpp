// SPDX-License-Identifier: MIT
#include "Platform/Memory/MemoryPlatform.h"
#include "SharedCore/EventTapManager.h"

#include <gtest/gtest.h>

namespace velmorin {
namespace {

using namespace std::chrono_literals;

struct TypeTextTest : testing::Test {
    TypeTextTest() { Platform::setProcess(platform.platform()); }
    ~TypeTextTest() override { Platform::setProcess({}); }

    MemoryPlatform platform;
};

TEST_F(TypeTextTest, EachCharacterIsOnePairOfEventsAndTenMilliseconds) {
    const struct {
        QString text;
        QStringList characters;
    } rows[] = {
        {QString(), {}},
        {QStringLiteral("héllo"),
         {QStringLiteral("h"), QStringLiteral("é"), QStringLiteral("l"), QStringLiteral("l"),
          QStringLiteral("o")}},
        {QStringLiteral("e\u0301مَ"), {QStringLiteral("e\u0301"), QStringLiteral("مَ")}},
        {QStringLiteral("🇸🇦🇪🇬"), {QStringLiteral("🇸🇦"), QStringLiteral("🇪🇬")}},
        {QStringLiteral("a\r\n"), {QStringLiteral("a"), QStringLiteral("\r\n")}},
    };
    std::vector<MemoryKeyEvents::Posted> expected;
    std::chrono::microseconds slept = 0ms;
    for (const auto& [text, characters] : rows) {
        SCOPED_TRACE(qPrintable(text));
        for (const QString& character : characters) {
            for (const bool isDown : {true, false}) {
                expected.push_back({.state = CGEventSourceStateID::combinedSession,
                                    .location = CGEventTapLocation::annotatedSession,
                                    .keyCode = 0,
                                    .keyDown = isDown,
                                    .flags = 0,
                                    .unicodeString = character});
            }
        }
        slept += characters.size() * 10ms;
        EventTapManager::typeText(text);
        EXPECT_EQ(platform.keyEvents->journal(), expected);
        EXPECT_EQ(platform.clock->slept(), slept);
    }
}

TEST_F(TypeTextTest, WithoutSyntheticKeysTheProcessEnds) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    platform.keyEvents->failingEvents = false;
    EXPECT_DEATH(EventTapManager::typeText(QStringLiteral("a")), "no synthetic keys");
}

} // namespace
} // namespace velmorin
