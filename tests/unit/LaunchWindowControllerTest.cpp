// SPDX-License-Identifier: MIT
#include "SharedUI/LaunchWindowController.h"
#include "Platform/Memory/MemoryPlatform.h"

#include <gtest/gtest.h>

namespace velmorin {
namespace {

struct LaunchWindow : testing::Test {
    View root() {
        ++built;
        return {QUrl(QStringLiteral("qrc:/root.qml")), {}};
    }
    void present(const QString& name = QStringLiteral("App"), const QSize& size = {480, 680}) {
        controller->present(name, size, [this] { return root(); });
    }

    MemoryPlatform platform;
    std::shared_ptr<LaunchWindowController> controller =
        std::make_shared<LaunchWindowController>(platform.platform());
    int built = 0;
};

TEST_F(LaunchWindow, TheFirstRequestMakesTheWindow) {
    present();
    EXPECT_EQ(platform.application->policy, ActivationPolicy::regular);
    EXPECT_EQ(platform.application->activations, 1);
    ASSERT_EQ(platform.windows->made.size(), 1U);
    const MemoryWindows::Shown& window = *platform.windows->made[0];
    // The stored frame must replace the centred one.
    EXPECT_EQ(window.journal,
              QString("title content minimum center autosave delegate front").split(' '));
    EXPECT_EQ(window.minSize, QSize(380, 520));
    EXPECT_EQ(window.autosaveName, QStringLiteral("App.mainWindow"));
    EXPECT_TRUE(window.isVisible);
}

TEST_F(LaunchWindow, LaterRequestsShowTheSameWindowUnchanged) {
    present();
    MemoryWindows::Shown& window = *platform.windows->made[0];
    window.close();
    window.journal.clear();
    present(QStringLiteral("Other"), {100, 100});
    EXPECT_EQ(platform.windows->made.size(), 1U);
    EXPECT_EQ(window.journal, QStringList{QStringLiteral("front")});
    EXPECT_EQ(built, 1);
    EXPECT_EQ(platform.application->activations, 2);
}

TEST_F(LaunchWindow, BringToFrontMakesNothing) {
    controller->bringToFront();
    EXPECT_EQ(platform.application->activations, 1);
    EXPECT_EQ(platform.application->policy, std::nullopt);
    EXPECT_TRUE(platform.windows->made.empty());
    present();
    platform.windows->made[0]->close();
    controller->bringToFront();
    EXPECT_TRUE(platform.windows->made[0]->isVisible);
}

TEST_F(LaunchWindow, ADeferredRequestWaitsForItsTurnAndDoesNotHoldThePresenter) {
    controller->presentDeferred(QStringLiteral("App"), {1, 1}, [this] { return root(); });
    EXPECT_TRUE(platform.windows->made.empty());
    platform.mainQueue->runUntilIdle();
    EXPECT_EQ(platform.windows->made.size(), 1U);

    controller = std::make_shared<LaunchWindowController>(platform.platform());
    controller->presentDeferred(QStringLiteral("App"), {1, 1}, [this] { return root(); });
    controller.reset();
    platform.mainQueue->runUntilIdle();
    EXPECT_EQ(built, 1);
}

} // namespace
} // namespace velmorin
