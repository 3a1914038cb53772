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
    struct Case {
        const char* name;
        QRect frame;
        QList<QRect> screens;
        QRect expected;
    };
    const Case cases[] = {
        {"on the screen", {10, 10, 480, 680}, {left}, {10, 10, 480, 680}},
        {"partly out, still to be got hold of",
         {1200, 700, 480, 680},
         {left},
         {1200, 700, 480, 680}},
        {"on a screen that is gone", {2000, 200, 480, 680}, {left}, {800, 120, 480, 680}},
        {"on the second screen", {2000, 200, 480, 680}, {left, right}, {2000, 200, 480, 680}},
        {"far away", {-30000, 30000, 480, 680}, {left, right}, {0, 120, 480, 680}},
        {"nearest to the second screen",
         {4000, 600, 480, 680},
         {left, right},
         {2720, 500, 480, 680}},
        {"title bar above the top", {100, -300, 480, 680}, {left}, {100, 0, 480, 680}},
        {"a corner only", {1270, 10, 480, 680}, {left}, {800, 10, 480, 680}},
        {"larger than the screen", {3000, 0, 4000, 3000}, {left}, {0, 0, 1280, 800}},
        {"no screens", {3000, 0, 400, 300}, {}, {3000, 0, 400, 300}},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(reachableFrame(c.frame, c.screens), c.expected) << c.name;
    }
}

} // namespace
} // namespace velmorin
