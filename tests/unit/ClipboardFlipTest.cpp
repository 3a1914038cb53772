// SPDX-License-Identifier: MIT
#include "tests/unit/FlipFixture.h"

#include <gtest/gtest.h>

namespace velmorin {
namespace {

using namespace std::chrono_literals;

const QString hello = QStringLiteral("hello");
const QString helloInArabic = QStringLiteral("\u0627\u062B\u0643\u0643\u062E");
const QString digits = QStringLiteral("123");
const QString earlier = QStringLiteral("copied earlier");

const Messages pasted{"  ⌘A",
                      "  ⌘C",
                      "  Clipboard: changed=true, len=5",
                      "  Converted → pasting",
                      "  ⌘V",
                      "── FLIP DONE (clipboard) — total: 1 ──"};
const Messages nothingCopied{"  ⌘A", "  ⌘C", "  Clipboard: changed=false, len=0",
                             "  Nothing copied"};

class ClipboardFlip : public testing::Test {
protected:
    void start(FlipFixture& f, FlipMode mode = FlipMode::auto_) {
        f.delegate->flipInProgress = true;
        f.delegate->clipboardFlip(mode);
    }
    /// With a text in the field and another one on the clipboard.
    struct Fixture : FlipFixture {
        Fixture() {
            platform.pasteboard->copyElsewhere(earlier);
            field = hello;
        }
    };
};

TEST_F(ClipboardFlip, EachEndingHasItsLinesAndLeavesTheClipboardAsDefined) {
    const Messages sameText{"  ⌘A", "  ⌘C", "  Clipboard: changed=true, len=3", "  Same text"};
    const QString arabicDigits = QStringLiteral("\u0661\u0662\u0663");
    Messages pastedDigits = pasted;
    pastedDigits[2] = "  Clipboard: changed=true, len=3";
    // A letter with a mark is one character of two UTF-16 units, and no key types it.
    const QString marked = QStringLiteral("a\u0301hell");
    const QString markedInArabic = QStringLiteral("a\u0301\u0627\u062B\u0643\u0643");
    const struct {
        std::optional<QString> saved;
        QString field;
        Messages lines;
        QString fieldAfter;
        QString clipboardAfter;
        FlipMode mode = FlipMode::auto_;
    } cases[] = {
        {earlier, hello, pasted, helloInArabic, earlier},
        {{}, hello, pasted, helloInArabic, helloInArabic},
        {QString(), hello, pasted, helloInArabic, {}},
        {earlier, helloInArabic, pasted, hello, earlier},
        {earlier, marked, pasted, markedInArabic, earlier},
        {earlier, digits, sameText, digits, earlier},
        {{}, digits, sameText, digits, digits},
        {{}, digits, pastedDigits, arabicDigits, arabicDigits, FlipMode::forceArabic},
        {earlier, {}, nothingCopied, {}, earlier},
        {{}, {}, nothingCopied, {}, {}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(&c - cases);
        FlipFixture f;
        if (c.saved) {
            f.platform.pasteboard->copyElsewhere(*c.saved);
        }
        f.field = c.field;
        start(f, c.mode);
        f.platform.mainQueue->runUntilIdle();
        EXPECT_EQ(f.messages(), c.lines);
        EXPECT_EQ(f.field, c.fieldAfter);
        EXPECT_EQ(f.clipboard(), c.clipboardAfter);
        EXPECT_EQ(f.store->count(), c.field == c.fieldAfter ? 0 : 1);
        EXPECT_FALSE(f.delegate->flipInProgress);
    }
}

TEST_F(ClipboardFlip, StepsKeepTheirTimesAndSendCommandAlone) {
    Fixture f;
    std::vector<std::pair<quint16, std::chrono::nanoseconds>> downs;
    f.platform.keyEvents->onPost = [&, type = f.platform.keyEvents->onPost](const auto& key) {
        if (key.keyDown) {
            downs.emplace_back(key.keyCode, f.platform.mainQueue->now());
        }
        type(key);
    };
    start(f);
    const auto at = [&](std::chrono::nanoseconds time) {
        f.platform.mainQueue->advance(time - f.platform.mainQueue->now());
    };
    at(320ms - 1ns);
    EXPECT_EQ(f.clipboard(), hello);
    EXPECT_EQ(f.platform.pasteboard->journal(),
              (QStringList{QStringLiteral("string"), QStringLiteral("clearContents"),
                           QStringLiteral("setString "), QStringLiteral("changeCount")}));
    at(320ms);
    EXPECT_EQ(f.clipboard(), helloInArabic);
    at(630ms - 1ns);
    EXPECT_EQ(f.clipboard(), helloInArabic);
    EXPECT_EQ(f.store->count(), 0);
    at(630ms);
    EXPECT_EQ(f.clipboard(), earlier);
    EXPECT_EQ(f.store->count(), 1);
    at(930ms - 1ns);
    EXPECT_TRUE(f.delegate->flipInProgress);
    at(930ms);
    EXPECT_FALSE(f.delegate->flipInProgress);

    EXPECT_EQ(downs,
              (decltype(downs){{kVK_ANSI_A, 0ms}, {kVK_ANSI_C, 120ms}, {kVK_ANSI_V, 380ms}}));
    const auto& posted = f.platform.keyEvents->journal();
    ASSERT_EQ(posted.size(), 6U);
    for (size_t i = 0; i < posted.size(); ++i) {
        EXPECT_EQ(posted[i],
                  (MemoryKeyEvents::Posted{CGEventSourceStateID::hidSystem, CGEventTapLocation::hid,
                                           downs[i / 2].first, i % 2 == 0, 0x100000}));
    }
}

TEST_F(ClipboardFlip, ThePromptTakingOfAKeyIsPartOfTheDelayAndABusyApplicationGetsItWhole) {
    const struct {
        std::chrono::milliseconds taking;
        std::chrono::milliseconds done; ///< Of the main queue's time, which a key does not take.
    } cases[] = {{3ms, 630ms - 3 * 3ms}, {10ms, 630ms - 3 * 10ms}, {11ms, 630ms}, {500ms, 630ms}};
    for (const auto& c : cases) {
        SCOPED_TRACE(&c - cases);
        Fixture f;
        f.platform.keyEvents->onPost = [&, type = f.platform.keyEvents->onPost](const auto& key) {
            if (!key.keyDown) {
                f.platform.clock->sleep(c.taking);
            }
            type(key);
        };
        start(f);
        f.platform.mainQueue->advance(c.done - 1ns);
        EXPECT_EQ(f.store->count(), 0);
        f.platform.mainQueue->advance(1ns);
        EXPECT_EQ(f.store->count(), 1);
    }
}

TEST_F(ClipboardFlip, AnUndeliveredKeyEndsInNothingCopied) {
    const struct {
        bool sourceFails;
        std::optional<bool> failingEvents; ///< Those of a key that goes down, or up.
        bool writePending;                 ///< The direct path's, which may yet be carried out.
    } cases[] = {{true, {}, false}, {false, true, false}, {false, false, false}, {false, {}, true}};
    for (const auto& c : cases) {
        SCOPED_TRACE(&c - cases);
        Fixture f;
        f.platform.keyEvents->sourceFails = c.sourceFails;
        f.platform.keyEvents->failingEvents = c.failingEvents;
        f.platform.accessibility->writePending = c.writePending;
        start(f);
        f.platform.mainQueue->advance(60ms);
        f.platform.accessibility->writePending = false;
        f.platform.mainQueue->runUntilIdle();
        EXPECT_EQ(f.messages(), nothingCopied);
        EXPECT_TRUE(f.platform.keyEvents->journal().empty());
        EXPECT_EQ(f.clipboard(), earlier);
    }
}

TEST_F(ClipboardFlip, AnotherWindowGetsNoKeys) {
    const struct {
        std::chrono::milliseconds moved;
        std::optional<quint64> to;
        size_t keys;
        Messages lines;
    } cases[] = {
        {-1ms, {}, 0, nothingCopied}, {60ms, 2, 2, nothingCopied}, {350ms, 2, 4, pasted},
        {350ms, {}, 4, pasted},       {400ms, 2, 6, pasted},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(&c - cases);
        Fixture f;
        if (c.moved < 0ms) {
            f.platform.activeWindow->window = c.to;
        }
        start(f);
        f.platform.mainQueue->advance(std::max(c.moved, 0ms));
        f.platform.activeWindow->window = c.to;
        f.platform.mainQueue->runUntilIdle();
        EXPECT_EQ(f.messages(), c.lines);
        EXPECT_EQ(f.platform.keyEvents->journal().size(), c.keys);
        EXPECT_EQ(f.clipboard(), earlier);
        EXPECT_EQ(f.store->count(), c.lines == pasted ? 1 : 0);
    }
}

TEST_F(ClipboardFlip, TheCopyIsWhatIsThereInTheEnd) {
    const struct {
        std::chrono::milliseconds copiedAt;
        std::optional<QString> copied;
        Messages lines;
        QString fieldAfter;
        std::optional<QString> clipboardAfter;
    } cases[] = {
        {319ms, hello, pasted, helloInArabic, helloInArabic}, // another application's
        {321ms, hello, nothingCopied, hello, hello},
        {200ms, QString(), nothingCopied, hello, QString()},
        {200ms, {}, nothingCopied, hello, {}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(&c - cases);
        FlipFixture f;
        f.fieldCopies = false;
        f.field = hello;
        start(f);
        f.platform.mainQueue->advance(c.copiedAt);
        f.platform.pasteboard->copyElsewhere(c.copied);
        f.platform.mainQueue->runUntilIdle();
        EXPECT_EQ(f.messages(), c.lines);
        EXPECT_EQ(f.field, c.fieldAfter);
        EXPECT_EQ(f.clipboard(), c.clipboardAfter);
    }
}

TEST_F(ClipboardFlip, WithoutTheDelegateAFlipStopsAtTheReadButAPasteIsFinished) {
    const struct {
        std::chrono::milliseconds gone;
        ptrdiff_t lines;
        size_t keys;
    } cases[] = {{60ms, 1, 4}, {200ms, 2, 4}, {350ms, 4, 6}, {500ms, 5, 6}, {700ms, 6, 6}};
    for (const auto& c : cases) {
        SCOPED_TRACE(&c - cases);
        const bool isPasted = c.keys == 6;
        Fixture f;
        start(f);
        f.platform.mainQueue->advance(c.gone);
        f.delegate.reset();
        f.platform.mainQueue->runUntilIdle();
        EXPECT_EQ(f.messages(), Messages(pasted.begin(), pasted.begin() + c.lines));
        EXPECT_EQ(f.platform.keyEvents->journal().size(), c.keys);
        EXPECT_EQ(f.field, isPasted ? helloInArabic : hello);
        EXPECT_EQ(f.clipboard(), isPasted ? earlier : hello);
        EXPECT_EQ(f.store->count(), isPasted ? 1 : 0);
    }
}

} // namespace
} // namespace velmorin
