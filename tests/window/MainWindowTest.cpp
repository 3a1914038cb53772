// SPDX-License-Identifier: MIT
// The window's contents as the user's eyes and hands meet them, without a display.
#include "Platform/Memory/MemoryPlatform.h"
#include "Platform/Qt/QtWindows.h"
#include "SharedUI/AppLaunchContainer.h"
#include "Velmorin/VelmorinMainView.h"
#include "tests/WaitUntil.h"

#include <QGuiApplication>
#include <QPalette>
#include <QQuickItem>
#include <QQuickWindow>

#include <gtest/gtest.h>

namespace velmorin {
namespace {

using test::waitUntil;

QQuickItem* findItem(QQuickItem* root, const std::function<bool(const QQuickItem&)>& matches) {
    if (matches(*root)) {
        return root;
    }
    for (QQuickItem* child : root->childItems()) {
        if (QQuickItem* found = findItem(child, matches)) {
            return found;
        }
    }
    return nullptr;
}

struct MainWindow : testing::Test {
    MainWindow() {
        Platform::setProcess(platform.platform());
        window = windows.window({480, 680});
        window->setContentView(
            AppLaunchContainer(QStringLiteral("Velmorin"), [this] { return view.body(); }).body());
        window->makeKeyAndOrderFront();
        quickWindow = qobject_cast<QQuickWindow*>(QGuiApplication::topLevelWindows().constFirst());
        wasShownEmpty = quickWindow->isVisible() && !isFilled();
        EXPECT_TRUE(waitUntil([this] { return isFilled(); }));
        log_ = findItem(quickWindow->contentItem(), [](const QQuickItem& item) {
            return item.inherits("QQuickListView") && item.height() == 170;
        });
    }
    ~MainWindow() override { Platform::setProcess({}); }

    [[nodiscard]] bool isFilled() const {
        return !quickWindow->contentItem()->childItems().empty();
    }

    void addLines(int count) {
        for (int i = 0; i < count; ++i) {
            log->add(QString::number(++lines));
        }
        platform.mainQueue->advance({});
    }

    /// The row that shows a line; null when there is none, or it was not made.
    [[nodiscard]] QQuickItem* row(int line) const {
        const QString text = QStringLiteral("] %1").arg(line);
        return findItem(log_, [&](const QQuickItem& item) {
            return item.property("line").toString().endsWith(text);
        });
    }
    [[nodiscard]] bool isInView(int line) const {
        const QQuickItem* item = row(line);
        if (item == nullptr) {
            return false;
        }
        const QRectF place = item->mapRectToItem(log_, QRectF({}, item->size()));
        return place.top() >= -0.5 && place.bottom() <= log_->height() + 0.5;
    }
    [[nodiscard]] double contentY() const { return log_->property("contentY").toDouble(); }

    [[nodiscard]] QColor colorAt(QQuickItem* item, const QPointF& point) const {
        return quickWindow->grabWindow().pixelColor(item->mapToScene(point).toPoint());
    }

    MemoryPlatform platform;
    std::shared_ptr<VelmorinStore> store =
        std::make_shared<VelmorinStore>(platform.standardUserDefaults);
    std::shared_ptr<LiveLog> log = std::make_shared<LiveLog>(platform.mainQueue, platform.clock);
    VelmorinMainView view{platform.platform(), store, log};
    QtWindows windows{platform.mainQueue, platform.standardUserDefaults};
    std::shared_ptr<Window> window;
    QQuickWindow* quickWindow = nullptr;
    QQuickItem* log_ = nullptr;
    bool wasShownEmpty = false;
    int lines = 0;
};

TEST_F(MainWindow, TheWindowDoesNotWaitForItsContents) {
    EXPECT_TRUE(wasShownEmpty);
    EXPECT_EQ(quickWindow->color(), QGuiApplication::palette().color(QPalette::Window));
    const QList<QQuickItem*> contents = quickWindow->contentItem()->childItems();
    EXPECT_EQ(contents.size(), 1);
    quickWindow->close();
    bool isDrawnAgain = false;
    QObject context;
    QObject::connect(
        quickWindow, &QQuickWindow::frameSwapped, &context, [&] { isDrawnAgain = true; },
        Qt::QueuedConnection);
    window->makeKeyAndOrderFront();
    ASSERT_TRUE(waitUntil([&] { return isDrawnAgain; }));
    EXPECT_EQ(quickWindow->contentItem()->childItems(), contents) << "not made anew";
}

TEST_F(MainWindow, TheNewestLineIsScrolledIntoView) {
    ASSERT_NE(log_, nullptr);
    addLines(100);
    EXPECT_TRUE(waitUntil([this] { return isInView(100); }));
    addLines(1);
    EXPECT_TRUE(waitUntil([this] { return isInView(101); }));
}

TEST_F(MainWindow, ABurstMakesOnlyTheRowsThatAreSeen) {
    addLines(300);
    ASSERT_TRUE(waitUntil([this] { return isInView(300); }));
    const QQuickItem* contents = row(300)->parentItem();
    EXPECT_LT(contents->childItems().size(), 60);
}

TEST_F(MainWindow, AFullLogDoesNotScrollByItself) {
    addLines(300);
    ASSERT_TRUE(waitUntil([this] { return isInView(300); }));
    const double before = contentY();
    log_->setProperty("contentY", 0); // the user looks at the oldest lines
    addLines(5);
    EXPECT_TRUE(waitUntil([this] { return isInView(6); })) << "the texts have moved up by five";
    EXPECT_EQ(contentY(), 0);
    EXPECT_GT(before, 0);
}

TEST_F(MainWindow, ClearEmptiesTheLogAndTheNextLineIsItsFirst) {
    addLines(40);
    ASSERT_TRUE(waitUntil([this] { return isInView(40); }));
    view.clearLog();
    EXPECT_EQ(log_->property("count").toInt(), 0);
    addLines(1);
    EXPECT_TRUE(waitUntil([this] { return isInView(41); }));
    EXPECT_EQ(log_->property("count").toInt(), 1);
}

TEST_F(MainWindow, TheStatusFollowsTheHotkey) {
    const auto statusText = [this](const char* text) {
        return findItem(quickWindow->contentItem(), [&](const QQuickItem& item) {
            return item.property("text").toString() == QString::fromUtf8(text);
        });
    };
    QQuickItem* text = statusText("Hotkey not registered");
    ASSERT_NE(text, nullptr);
    const auto dot = [&] { return colorAt(text, {-13, text->height() / 2}); };
    EXPECT_GT(dot().red(), dot().green());
    store->setHotkeyRegistered(true);
    platform.mainQueue->advance({});
    EXPECT_EQ(text->property("text").toString(),
              QStringLiteral("Hotkey active — press ⌥Space anywhere to flip"));
    EXPECT_TRUE(waitUntil([&] { return dot().green() > dot().red(); }));
}

TEST_F(MainWindow, SmallerThanItsContentsItShowsTheirMiddle) {
    quickWindow->resize(380, 520);
    const QQuickItem* title = findItem(quickWindow->contentItem(), [](const QQuickItem& item) {
        return item.property("text").toString() == QStringLiteral("Velmorin");
    });
    ASSERT_NE(title, nullptr);
    // Laid out for 420 by 560: 20 are cut off on each side.
    EXPECT_TRUE(waitUntil([&] { return title->mapToScene({0, 0}) == QPointF(16 - 20, 10 - 20); }));
    EXPECT_EQ(title->width(), 420 - 32);
}

} // namespace
} // namespace velmorin
