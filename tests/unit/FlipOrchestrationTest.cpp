// SPDX-License-Identifier: MIT
#include "tests/unit/FlipFixture.h"

#include <gtest/gtest.h>

namespace velmorin {
namespace {

using namespace std::chrono_literals;

const QString hello = QStringLiteral("hello");
const QString helloInArabic = QStringLiteral("\u0627\u062B\u0643\u0643\u062E");

void offerSelection(FlipFixture& f, const QString& text, AXError setError = AXError::success) {
    f.platform.accessibility->attributes = {
        {QStringLiteral("AXSelectedText"), {text, AXError::success, setError}}};
}

TEST(FlipOrchestration, ADirectFlipIsCountedAndTouchesNeitherClipboardNorKeys) {
    FlipFixture f;
    offerSelection(f, hello);
    const qint64 changes = f.platform.pasteboard->changeCount();
    f.delegate->performFlip();
    EXPECT_EQ(f.messages(), (Messages{"── FLIP START ──", "Trying AX direct text access…",
                                      "  AX set selected: OK", "── FLIP DONE (AX) — total: 1 ──"}));
    EXPECT_EQ(f.platform.standardUserDefaults->integer(QStringLiteral("vl.count")), 1);
    EXPECT_EQ(f.platform.pasteboard->changeCount(), changes);
    EXPECT_TRUE(f.platform.keyEvents->journal().empty());
}

TEST(FlipOrchestration, ARefusedDirectFlipGoesOnByTheClipboardAndCountsOnce) {
    FlipFixture f;
    f.field = hello;
    offerSelection(f, hello, AXError::failure);
    f.delegate->performFlip();
    f.platform.mainQueue->runUntilIdle();
    EXPECT_EQ(f.messages(),
              (Messages{"── FLIP START ──", "Trying AX direct text access…",
                        "  AX set selected: FAIL", "AX unavailable, using clipboard method…",
                        "  ⌘A", "  ⌘C", "  Clipboard: changed=true, len=5", "  Converted → pasting",
                        "  ⌘V", "── FLIP DONE (clipboard) — total: 1 ──"}));
    EXPECT_EQ(f.store->count(), 1);
}

TEST(FlipOrchestration, TheNextFlipIsRefusedUntilTheCoolDownIsOver) {
    const struct {
        bool direct;
        QString field;
        std::chrono::milliseconds released;
    } cases[] = {{true, hello, 300ms}, {false, {}, 620ms}, {false, hello, 930ms}};
    for (const auto& c : cases) {
        SCOPED_TRACE(&c - cases);
        FlipFixture f;
        f.platform.accessibility->trusted = c.direct;
        offerSelection(f, c.field);
        f.field = c.field;
        f.delegate->performFlip();
        f.platform.mainQueue->advance(c.released - 1ns);
        const qint64 count = f.store->count();
        const size_t lines = f.messages().size();
        f.delegate->performFlip();
        EXPECT_EQ(f.lastMessage(), "Flip already in progress");
        EXPECT_EQ(f.messages().size(), lines + 1);
        EXPECT_EQ(f.store->count(), count);

        f.platform.mainQueue->advance(1ns);
        f.delegate->performFlip();
        EXPECT_EQ(f.messages().at(lines + 1), "── FLIP START ──");
    }
}

TEST(FlipOrchestration, TheDirectionIsThatOfTheStart) {
    FlipFixture f;
    f.platform.accessibility->trusted = false;
    f.field = hello;
    f.store->setFlipMode(FlipMode::forceArabic);
    f.delegate->performFlip();
    f.platform.mainQueue->advance(200ms);
    f.store->setFlipMode(FlipMode::forceEnglish);
    f.platform.mainQueue->runUntilIdle();
    EXPECT_EQ(f.field, helloInArabic);
}

TEST(FlipOrchestration, ADelegateThatIsGoneIsNotHeldByItsCoolDown) {
    FlipFixture f;
    offerSelection(f, hello);
    f.delegate->performFlip();
    const std::weak_ptr<AppDelegate> weak = f.delegate;
    f.delegate.reset();
    EXPECT_TRUE(weak.expired());
    f.platform.mainQueue->runUntilIdle();
}

} // namespace
} // namespace velmorin
