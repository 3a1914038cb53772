// SPDX-License-Identifier: MIT
#include "Velmorin/VelmorinMainView.h"
#include "tests/unit/FlipFixture.h"

#include <QAbstractItemModelTester>
#include <QSignalSpy>

#include <gtest/gtest.h>

namespace velmorin {
namespace {

using namespace std::chrono_literals;

QStringList numbered(int first, int last) {
    QStringList lines;
    for (int i = first; i <= last; ++i) {
        lines << QString::number(i);
    }
    return lines;
}

struct MainView : testing::Test {
    [[nodiscard]] QStringList rows() const {
        QStringList rows;
        for (int i = 0; i < view.logLines()->rowCount(); ++i) {
            rows << view.logLines()->index(i, 0).data(LogLines::lineRole).toString();
        }
        return rows;
    }

    FlipFixture f;
    mutable VelmorinMainView view{f.platform.platform(), f.store, f.log};
};

TEST_F(MainView, ColoursLinesByTheFirstTextThatTheyContain) {
    using View = VelmorinMainView;
    const std::pair<const char*, View::LineColor> cases[] = {
        {"  AX set value: FAIL", View::red},
        {"it did NOT work", View::red},
        {"Hotkey registration failed (status -9878)", View::red},
        {"── FLIP DONE (AX) — total: 1 ──", View::green},
        {"Accessibility: GRANTED", View::green},
        {"Hotkey not registered", View::green},
        {"  AX set selected: OK", View::green},
        {"⌥Space pressed!", View::orange},
        {"── FLIP START ──", View::orange},
        {"Accessibility: not yet granted (needed for ⌘A/⌘C/⌘V in other apps)", View::secondary},
        {"fail not done ok", View::secondary},
        {"DONE but FAIL", View::red},
        {"pressed OK", View::green},
    };
    for (const auto& [line, color] : cases) {
        EXPECT_EQ(View::colorFor(QString::fromUtf8(line)), color) << line;
    }
}

TEST_F(MainView, TheCountIsShownInFull) {
    f.platform.standardUserDefaults->set(QStringLiteral("vl.count"), qint64{1234567});
    const auto store = std::make_shared<VelmorinStore>(f.platform.standardUserDefaults);
    const VelmorinMainView other(f.platform.platform(), store, f.log);
    QSignalSpy spy(&other, &VelmorinMainView::countChanged);
    store->recordConversion();
    EXPECT_EQ(spy.count(), 1);
    EXPECT_EQ(other.count(), QStringLiteral("1234568"));
}

TEST_F(MainView, ThePermissionIsReadWithEveryRedraw) {
    QSignalSpy redraws(&view, &VelmorinMainView::statusChanged);
    f.platform.accessibility->trusted = false;
    f.platform.mainQueue->runUntilIdle();
    EXPECT_EQ(redraws.count(), 0) << "nothing tells of the permission itself";
    f.store->setHotkeyRegistered(true);
    f.platform.mainQueue->runUntilIdle();
    EXPECT_GE(redraws.count(), 1);
    EXPECT_FALSE(view.isProcessTrusted());
    EXPECT_TRUE(view.hotkeyRegistered());
}

TEST_F(MainView, ABurstOfLinesIsOneRedraw) {
    QSignalSpy redraws(&view, &VelmorinMainView::statusChanged);
    for (const QString& line : numbered(1, 300)) {
        f.log->setEntries(f.log->entries() + QStringList{line});
    }
    f.platform.mainQueue->runUntilIdle();
    EXPECT_EQ(redraws.count(), 1);
}

TEST_F(MainView, EveryPressOfTheTestButtonFlipsThreeSecondsLater) {
    f.platform.application->setDelegate(f.delegate);
    view.testFlip();
    f.platform.mainQueue->advance(1s);
    view.testFlip();
    f.platform.mainQueue->advance(1999ms);
    const std::string announced = "TEST: switch to a text field in 3 seconds…";
    EXPECT_EQ(f.messages(), (Messages{announced, announced}));
    f.platform.mainQueue->advance(1ms);
    EXPECT_EQ(f.messages().at(2), "── FLIP START ──");
    f.platform.mainQueue->advance(1s);
    const Messages all = f.messages();
    EXPECT_EQ(std::ranges::count(all, "── FLIP START ──"), 2);
}

TEST_F(MainView, TheSettingsButtonOpensTheAccessibilityPage) {
    view.openAccessibilitySettings();
    EXPECT_EQ(f.platform.workspace->opened,
              std::vector{QUrl(QStringLiteral("x-apple.systempreferences:com.apple.preference."
                                              "security?Privacy_Accessibility"))});
}

TEST_F(MainView, RowsAreKnownByTheirNumber) {
    const QAbstractItemModelTester consistency(
        view.logLines(), QAbstractItemModelTester::FailureReportingMode::Fatal);
    f.log->setEntries(numbered(1, 3));
    QSignalSpy inserted(view.logLines(), &QAbstractItemModel::rowsInserted);
    QSignalSpy removed(view.logLines(), &QAbstractItemModel::rowsRemoved);
    QSignalSpy changed(view.logLines(), &QAbstractItemModel::dataChanged);

    f.log->setEntries(numbered(1, 4));
    EXPECT_EQ(rows(), numbered(1, 4));
    EXPECT_EQ(inserted.count(), 1);
    EXPECT_EQ(changed.count(), 0) << "the rows that were there stay as they are";

    f.log->setEntries(numbered(2, 5)); // the oldest goes as one comes
    EXPECT_EQ(rows(), numbered(2, 5));
    EXPECT_EQ(inserted.count() + removed.count(), 1);
    EXPECT_EQ(changed.count(), 1);

    view.clearLog();
    EXPECT_TRUE(f.log->entries().isEmpty());
    EXPECT_EQ(removed.count(), 1);
    EXPECT_TRUE(rows().isEmpty());
}

} // namespace
} // namespace velmorin
