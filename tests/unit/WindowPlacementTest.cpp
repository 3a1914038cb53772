// SPDX-License-Identifier: MIT
#include "Platform/Qt/WindowPlacement.h"

#include <gtest/gtest.h>

namespace velmorin {
namespace {

TEST(WindowPlacement, FramesAreStoredAsText) {
    const QRect frame(-20, 30, 480, 680);
    EXPECT_EQ(frameToString(frame), QStringLiteral("-20 30 480 680"));
    EXPECT_EQ(frameFromString(frameToString(frame)), frame);
    for (const char* text : {"", "1 2 3", "1 2 3 4 5", "a b c d", "1  2 3 4", "0 0 0 100",
                             "0 0 -5 10", "99999999999 0 10 10", "0 40000 10 10", "1.5 2 3 4"}) {
        EXPECT_EQ(frameFromString(QString::fromLatin1(text)), std::nullopt) << text;
    }
}

TEST(WindowPlacement, ACentredWindowFitsItsScreenWithItsTitleBar) {
    const QRect screen(100, 50, 1280, 800);
    EXPECT_EQ(centeredFrame({480, 680}, screen), QRect(500, 110, 480, 680));
    // Too high: what a title bar needs is left free at its top.
    EXPECT_EQ(centeredFrame({480, 900}, screen), QRect(500, 50, 480, 760));
    EXPECT_EQ(centeredFrame({2000, 680}, screen), QRect(100, 110, 1280, 680));
}

TEST(WindowPlacement, AFrameOutOfReachIsBroughtBack) {
    const QRect left(0, 0, 1280, 800);
    const QRect right(1280, 100, 1920, 1080);
    const std::tuple<QRect, QList<QRect>, QRect> cases[] = {
        {{10, 10, 480, 680}, {left}, {10, 10, 480, 680}},
        {{1200, 700, 480, 680}, {left}, {1200, 700, 480, 680}}, // can still be got hold of
        {{2000, 200, 480, 680}, {left}, {800, 120, 480, 680}},
        {{2000, 200, 480, 680}, {left, right}, {2000, 200, 480, 680}},
        {{-30000, 30000, 480, 680}, {left, right}, {0, 120, 480, 680}},
        {{4000, 600, 480, 680}, {left, right}, {2720, 500, 480, 680}}, // nearest to the second
        {{100, -300, 480, 680}, {left}, {100, 0, 480, 680}},
        {{1270, 10, 480, 680}, {left}, {800, 10, 480, 680}}, // a corner only
        {{3000, 0, 4000, 3000}, {left}, {0, 0, 1280, 800}},
        {{3000, 0, 400, 300}, {}, {3000, 0, 400, 300}},
    };
    for (const auto& [frame, screens, expected] : cases) {
        EXPECT_EQ(reachableFrame(frame, screens), expected) << frame.x() << ' ' << frame.y();
    }
}

} // namespace
} // namespace velmorin
