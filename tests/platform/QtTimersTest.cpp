// SPDX-License-Identifier: MIT
#include "Platform/Qt/QtTimers.h"
#include "tests/platform/XUser.h"

#include <gtest/gtest.h>

#include <limits>

namespace velmorin {
namespace {

using test::waitUntil;

TEST(QtTimers, FireUntilTheyAreInvalidated) {
    QtTimers timers;
    int fired = 0;
    std::shared_ptr<Timer> timer;
    timer = timers.scheduledRepeatingTimer(0.001, [&] {
        if (++fired == 5) {
            timer->invalidate(); // from its own block
        }
    });
    EXPECT_TRUE(waitUntil([&] { return fired == 5; }));
    int others = 0;
    const auto other = timers.scheduledRepeatingTimer(0.001, [&] { ++others; });
    EXPECT_TRUE(waitUntil([&] { return others == 20; }));
    EXPECT_EQ(fired, 5);
    other->invalidate();
    other->invalidate();
}

TEST(QtTimers, TakeEveryInterval) {
    QtTimers timers;
    constexpr double infinite = std::numeric_limits<double>::infinity();
    int never = 0;
    std::vector<std::shared_ptr<Timer>> all;
    for (const double interval : {infinite, std::numeric_limits<double>::quiet_NaN(), 1e300}) {
        all.push_back(timers.scheduledRepeatingTimer(interval, [&] { ++never; }));
    }
    for (const double interval : {0.0, -0.5, 1e-12, -infinite}) {
        int fired = 0;
        all.push_back(timers.scheduledRepeatingTimer(interval, [&] { ++fired; }));
        EXPECT_TRUE(waitUntil([&] { return fired == 10; })) << interval;
        all.back()->invalidate();
    }
    EXPECT_EQ(never, 0);
    for (const auto& timer : all) {
        timer->invalidate();
    }
}

} // namespace
} // namespace velmorin
