// SPDX-License-Identifier: MIT
#include "SharedCore/AnimatedStatusIcon.h"
#include "Platform/Memory/MemoryPlatform.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace velmorin {
namespace {

TEST(HeartFrames, SwellAndShrinkAlongASine) {
    MemorySymbolImages symbols;
    const std::vector<ImageRef> frames = generateHeartFrames(4, 18, symbols);
    const std::pair<double, double> sidesAndInsets[] = {
        {18, 0}, {21.6, -1.8}, {18, 0}, {14.4, 1.8}};
    ASSERT_EQ(frames.size(), std::size(sidesAndInsets));
    for (size_t i = 0; i < frames.size(); ++i) {
        EXPECT_EQ(frames[i]->size(), QSizeF(18, 18));
        EXPECT_TRUE(frames[i]->isTemplate());
        ASSERT_EQ(frames[i]->drawings().size(), 1);
        EXPECT_EQ(frames[i]->symbolName(), QStringLiteral("heart.fill"));
        const QRectF place = frames[i]->drawings()[0].place;
        const auto [side, inset] = sidesAndInsets[i];
        for (const double found : {place.width(), place.height()}) {
            EXPECT_NEAR(found, side, 1e-9) << i;
        }
        for (const double found : {place.x(), place.y()}) {
            EXPECT_NEAR(found, inset, 1e-9) << i;
        }
    }
}

TEST(HeartFrames, WithoutASymbolAreBlank) {
    MemorySymbolImages symbols;
    EXPECT_TRUE(generateHeartFrames(0, 18, symbols).empty());
    symbols.missing = QStringLiteral("heart.fill");
    const std::vector<ImageRef> frames = generateHeartFrames(2, 18, symbols);
    ASSERT_EQ(frames.size(), 2U);
    EXPECT_TRUE(frames[1]->drawings().isEmpty());
    EXPECT_EQ(frames[1]->size(), QSizeF(18, 18));
}

struct IconAnimation : testing::Test {
    [[nodiscard]] MemoryTimers::Scheduled& timer() const { return *timers->scheduled.back(); }
    [[nodiscard]] const ImageRef& shown() const { return item->theButton.shown; }
    void tick(int times) const {
        for (int i = 0; i < times; ++i) {
            timer().fire();
        }
    }

    MemorySymbolImages symbols;
    std::shared_ptr<MemoryTimers> timers = std::make_shared<MemoryTimers>();
    std::shared_ptr<MemoryStatusBar::Item> item = std::make_shared<MemoryStatusBar::Item>();
    std::vector<ImageRef> frames = generateHeartFrames(10, 18, symbols);
    std::shared_ptr<AnimatedStatusIcon> icon = std::make_shared<AnimatedStatusIcon>(timers);
};

TEST_F(IconAnimation, OneCycleIsOneBeat) {
    const double infinite = std::numeric_limits<double>::infinity();
    const std::pair<double, double> cases[] = {
        {60, 0.1}, {120, 0.05}, {0, infinite}, {-60, -0.1}, {infinite, 0}};
    for (const auto& [bpm, interval] : cases) {
        icon->startAnimation(item, frames, bpm);
        EXPECT_EQ(timer().interval, interval) << bpm;
    }
    icon->startAnimation(item, {}, 60);
    EXPECT_EQ(timer().interval, infinite);
    icon->stopAnimation();
}

TEST_F(IconAnimation, FramesFollowEachOtherFromTheFirstTickOn) {
    icon->startAnimation(item, frames, 60);
    EXPECT_EQ(shown(), nullptr);
    tick(25);
    EXPECT_EQ(shown(), frames[4]);
    EXPECT_EQ(icon->frameIndex(), 25);

    const auto old = timers->scheduled.back();
    icon->updateBPM(item, frames, 120);
    old->fire();
    EXPECT_EQ(shown(), frames[4]) << "the old timer is no more";
    tick(1);
    EXPECT_EQ(shown(), frames[0]);

    icon->stopAnimation();
    icon->stopAnimation();
    EXPECT_EQ(icon->frameIndex(), 0);
    EXPECT_EQ(shown(), frames[0]) << "the last frame stays";
}

TEST_F(IconAnimation, PlaysOnUntilItIsStopped) {
    const std::weak_ptr<AnimatedStatusIcon> weak = icon;
    icon->startAnimation(item, frames, 60);
    icon.reset();
    tick(2);
    EXPECT_EQ(shown(), frames[1]);
    weak.lock()->stopAnimation();
    EXPECT_TRUE(weak.expired());
}

TEST(IconAnimationDeathTest, FramesThatCannotBeEndTheProcess) {
    MemorySymbolImages symbols;
    EXPECT_DEATH((void)generateHeartFrames(-1, 18, symbols), "negative number of frames");
    EXPECT_DEATH(
        {
            const auto timers = std::make_shared<MemoryTimers>();
            const auto icon = std::make_shared<AnimatedStatusIcon>(timers);
            icon->startAnimation(std::make_shared<MemoryStatusBar::Item>(), {}, 60);
            timers->scheduled[0]->fire();
        },
        "without frames");
}

} // namespace
} // namespace velmorin
