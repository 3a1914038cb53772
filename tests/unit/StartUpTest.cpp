// SPDX-License-Identifier: MIT
#include "tests/unit/FlipFixture.h"

#include <gtest/gtest.h>

namespace velmorin {
namespace {

using namespace std::chrono_literals;

constexpr char kFlipSymbol[] = "arrow.left.arrow.right.circle.fill";
constexpr char kDoneSymbol[] = "checkmark.circle.fill";

struct StartUp : testing::Test {
    StartUp() { Platform::setProcess(f.platform.platform()); }
    ~StartUp() override { Platform::setProcess({}); }

    [[nodiscard]] MemoryStatusBar::Button& button() const {
        return f.platform.statusBar->items.at(0)->theButton;
    }
    [[nodiscard]] MemoryWindows::Shown& window() const { return *f.platform.windows->made.at(0); }

    FlipFixture f;
};

TEST_F(StartUp, TheWindowOpensWithTheMainViewInItsContainer) {
    f.delegate->applicationDidFinishLaunching();
    ASSERT_EQ(f.platform.windows->made.size(), 1U);
    EXPECT_EQ(window().contentSize, QSize(480, 680));
    EXPECT_EQ(window().title, QStringLiteral("Velmorin"));
    EXPECT_EQ(window().view.source.fileName(), QStringLiteral("AppLaunchContainer.qml"));
    const QVariantMap& properties = window().view.properties;
    EXPECT_EQ(properties[QStringLiteral("appTitle")], QStringLiteral("Velmorin"));
    EXPECT_EQ(properties[QStringLiteral("mainContent")].value<View>().source.fileName(),
              QStringLiteral("VelmorinMainView.qml"));
    EXPECT_EQ(properties[QStringLiteral("settingsExtra")].value<View>(), View());
}

TEST_F(StartUp, AReopenShowsTheWindowOnlyWhenNoneIsVisible) {
    f.delegate->applicationDidFinishLaunching();
    const QStringList before = window().journal;
    EXPECT_TRUE(f.delegate->applicationShouldHandleReopen(true));
    EXPECT_EQ(window().journal, before);
    window().close();
    EXPECT_TRUE(f.delegate->applicationShouldHandleReopen(false));
    EXPECT_TRUE(window().isVisible);
}

TEST_F(StartUp, AStatusBarWithoutButtonsOrSymbolsIsPutUpWith) {
    f.platform.statusBar->hasButtons = false;
    f.delegate->setupMenuBar();
    f.delegate->flashIcon();
    f.platform.statusBar->hasButtons = true;
    f.platform.statusBar->items.clear();
    f.platform.symbolImages->missing = QString::fromLatin1(kFlipSymbol);
    f.delegate->setupMenuBar();
    EXPECT_EQ(button().shown, nullptr);
    // A flash has nothing to go back to but no image.
    f.delegate->flashIcon();
    EXPECT_NE(button().shown, nullptr);
    f.platform.mainQueue->advance(1s);
    EXPECT_EQ(button().shown, nullptr);
}

TEST_F(StartUp, AFlipFlashesTheIconForASecondAndARefusedOneDoesNot) {
    f.delegate->setupMenuBar();
    EXPECT_EQ(f.platform.statusBar->items.at(0)->length, -1);
    EXPECT_EQ(button().shown->accessibilityDescription(), QStringLiteral("Velmorin"));
    f.delegate->performFlip(); // finds nothing to convert
    EXPECT_EQ(button().shown->symbolName(), QString::fromLatin1(kDoneSymbol));
    EXPECT_EQ(button().shown->accessibilityDescription(), QStringLiteral("Done"));
    EXPECT_TRUE(button().shown->isTemplate());
    const ImageRef flash = button().shown;
    f.delegate->performFlip();
    EXPECT_EQ(button().shown, flash) << "a refused flip changes nothing";
    f.platform.mainQueue->advance(999ms);
    EXPECT_EQ(button().shown, flash);
    f.platform.mainQueue->advance(1ms);
    EXPECT_EQ(button().shown->symbolName(), QString::fromLatin1(kFlipSymbol));
    EXPECT_TRUE(button().shown->isTemplate());
}

TEST_F(StartUp, OfFlashesThatOverlapTheCheckmarkStays) {
    const std::pair<std::chrono::milliseconds, const char*> cases[] = {{500ms, kDoneSymbol},
                                                                       {1s, kFlipSymbol}};
    for (const auto& [secondFlash, shownAtTheEnd] : cases) {
        f.platform.statusBar->items.clear();
        f.delegate->setupMenuBar();
        f.delegate->flashIcon();
        f.platform.mainQueue->advance(secondFlash);
        f.delegate->flashIcon();
        f.platform.mainQueue->runUntilIdle();
        EXPECT_EQ(button().shown->symbolName(), QString::fromLatin1(shownAtTheEnd));
    }
}

TEST_F(StartUp, AFlashOutlivesTheDelegate) {
    f.delegate->setupMenuBar();
    f.delegate->flashIcon();
    f.delegate.reset();
    f.platform.mainQueue->advance(1s);
    EXPECT_EQ(button().shown->symbolName(), QString::fromLatin1(kFlipSymbol));
}

} // namespace
} // namespace velmorin
