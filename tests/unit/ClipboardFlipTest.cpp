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

TEST(ClipboardFlip, EachEndingHasItsLinesAndLeavesTheClipboardAsDefined) {
    struct Case {
        const char* name;
        std::optional<QString> saved;
        QString field;
        FlipMode mode;
        Messages lines;
        QString fieldAfter;
        QString clipboardAfter;
    };
    const Messages sameText{"  ⌘A", "  ⌘C", "  Clipboard: changed=true, len=3", "  Same text"};
    const QString arabicDigits = QStringLiteral("\u0661\u0662\u0663");
    Messages pastedDigits = pasted;
    pastedDigits[2] = "  Clipboard: changed=true, len=3";
    // A letter with a mark is one character of two UTF-16 units, and no key types it.
    const QString marked = QStringLiteral("a\u0301hell");
    const QString markedInArabic = QStringLiteral("a\u0301\u0627\u062B\u0643\u0643");
    const Case cases[] = {
        {"text", earlier, hello, FlipMode::auto_, pasted, helloInArabic, earlier},
        {"text, none saved", {}, hello, FlipMode::auto_, pasted, helloInArabic, helloInArabic},
        {"text, empty one saved", QString(), hello, FlipMode::auto_, pasted, helloInArabic, {}},
        {"Arabic text", earlier, helloInArabic, FlipMode::auto_, pasted, hello, earlier},
        {"marks", earlier, marked, FlipMode::auto_, pasted, markedInArabic, earlier},
        {"digits", earlier, digits, FlipMode::auto_, sameText, digits, earlier},
        {"digits, none saved", {}, digits, FlipMode::auto_, sameText, digits, digits},
        {"digits, forced",
         {},
         digits,
         FlipMode::forceArabic,
         pastedDigits,
         arabicDigits,
         arabicDigits},
        {"empty", earlier, {}, FlipMode::auto_, nothingCopied, {}, earlier},
        {"empty, none saved", {}, {}, FlipMode::auto_, nothingCopied, {}, {}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        FlipFixture f;
        if (c.saved) {
            f.platform.pasteboard->copyElsewhere(*c.saved);
        }
        f.field = c.field;
        f.delegate->flipInProgress = true;
        f.delegate->clipboardFlip(c.mode);
        f.platform.mainQueue->runUntilIdle();
        EXPECT_EQ(f.messages(), c.lines);
        EXPECT_EQ(f.field, c.fieldAfter);
        EXPECT_EQ(f.clipboard(), c.clipboardAfter);
        EXPECT_EQ(f.store->count(), c.field == c.fieldAfter ? 0 : 1);
        EXPECT_FALSE(f.delegate->flipInProgress);
    }
}

TEST(ClipboardFlip, StepsKeepTheirTimesAndSendCommandAlone) {
    FlipFixture f;
    f.platform.pasteboard->copyElsewhere(earlier);
    f.field = hello;
    std::vector<std::pair<quint16, std::chrono::nanoseconds>> downs;
    f.platform.keyEvents->onPost = [&, type = f.platform.keyEvents->onPost](const auto& key) {
        if (key.keyDown) {
            downs.emplace_back(key.keyCode, f.platform.mainQueue->now());
        }
        type(key);
    };
    f.delegate->flipInProgress = true;
    f.delegate->clipboardFlip(FlipMode::auto_);

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

TEST(ClipboardFlip, AnUndeliveredKeyEndsInNothingCopied) {
    struct Case {
        const char* name;
        bool sourceFails;
        std::optional<bool> failingEvents;
        bool writePending = false;
    };
    const Case cases[] = {
        {"source", true, {}},
        {"key down", false, true},
        {"key up", false, false},
        {"the direct path's write may yet be carried out", false, {}, true},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        FlipFixture f;
        f.platform.pasteboard->copyElsewhere(earlier);
        f.platform.keyEvents->sourceFails = c.sourceFails;
        f.platform.keyEvents->failingEvents = c.failingEvents;
        f.platform.accessibility->writePending = c.writePending;
        f.field = hello;
        f.delegate->clipboardFlip(FlipMode::auto_);
        f.platform.mainQueue->advance(60ms);
        f.platform.accessibility->writePending = false;
        f.platform.mainQueue->runUntilIdle();
        EXPECT_EQ(f.messages(), nothingCopied);
        EXPECT_TRUE(f.platform.keyEvents->journal().empty());
        EXPECT_EQ(f.clipboard(), earlier);
    }
}

TEST(ClipboardFlip, AnotherWindowGetsNoKeys) {
    struct Case {
        std::chrono::milliseconds moved;
        std::optional<quint64> to;
        size_t keys;
        Messages lines;
        qint64 count;
    };
    const Case cases[] = {
        {-1ms, std::nullopt, 0, nothingCopied, 0},
        {60ms, 2, 2, nothingCopied, 0},
        {350ms, 2, 4, pasted, 1},
        {350ms, std::nullopt, 4, pasted, 1},
        {400ms, 2, 6, pasted, 1},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.moved.count());
        FlipFixture f;
        f.platform.pasteboard->copyElsewhere(earlier);
        f.field = hello;
        if (c.moved < 0ms) {
            f.platform.activeWindow->window = c.to;
        }
        f.delegate->clipboardFlip(FlipMode::auto_);
        f.platform.mainQueue->advance(std::max(c.moved, 0ms));
        f.platform.activeWindow->window = c.to;
        f.platform.mainQueue->runUntilIdle();
        EXPECT_EQ(f.messages(), c.lines);
        EXPECT_EQ(f.platform.keyEvents->journal().size(), c.keys);
        EXPECT_EQ(f.clipboard(), earlier);
        EXPECT_EQ(f.store->count(), c.count);
    }
}

TEST(ClipboardFlip, TheCopyIsWhatIsThereInTheEnd) {
    struct Case {
        const char* name;
        std::chrono::milliseconds copiedAt;
        std::optional<QString> copied;
        Messages lines;
        QString fieldAfter;
        std::optional<QString> clipboardAfter;
    };
    const Case cases[] = {
        {"from another application", 319ms, hello, pasted, helloInArabic, helloInArabic},
        {"too late", 321ms, hello, nothingCopied, hello, hello},
        {"empty text", 200ms, QString(), nothingCopied, hello, QString()},
        {"no text", 200ms, {}, nothingCopied, hello, {}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        FlipFixture f;
        f.fieldCopies = false;
        f.field = hello;
        f.delegate->clipboardFlip(FlipMode::auto_);
        f.platform.mainQueue->advance(c.copiedAt);
        f.platform.pasteboard->copyElsewhere(c.copied);
        f.platform.mainQueue->runUntilIdle();
        EXPECT_EQ(f.messages(), c.lines);
        EXPECT_EQ(f.field, c.fieldAfter);
        EXPECT_EQ(f.clipboard(), c.clipboardAfter);
    }
}

TEST(ClipboardFlip, WithoutTheDelegateAFlipStopsAtTheReadButAPasteIsFinished) {
    struct Case {
        std::chrono::milliseconds gone;
        size_t lines;
        size_t keys;
        QString field;
        QString clipboard;
        qint64 count;
    };
    const Case cases[] = {
        {60ms, 1, 4, hello, hello, 0},
        {200ms, 2, 4, hello, hello, 0},
        {350ms, 4, 6, helloInArabic, earlier, 1},
        {500ms, 5, 6, helloInArabic, earlier, 1},
        {700ms, 6, 6, helloInArabic, earlier, 1},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.gone.count());
        FlipFixture f;
        f.platform.pasteboard->copyElsewhere(earlier);
        f.field = hello;
        f.delegate->clipboardFlip(FlipMode::auto_);
        f.platform.mainQueue->advance(c.gone);
        f.delegate.reset();
        f.platform.mainQueue->runUntilIdle();
        EXPECT_EQ(f.messages(), Messages(pasted.begin(), pasted.begin() + ptrdiff_t(c.lines)));
        EXPECT_EQ(f.platform.keyEvents->journal().size(), c.keys);
        EXPECT_EQ(f.field, c.field);
        EXPECT_EQ(f.clipboard(), c.clipboard);
        EXPECT_EQ(f.store->count(), c.count);
    }
}

} // namespace
} // namespace velmorin
