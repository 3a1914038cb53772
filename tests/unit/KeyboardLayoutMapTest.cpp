// SPDX-License-Identifier: MIT
#include "tests/contracts/ConversionByDefinition.h"

#include <gtest/gtest.h>

namespace velmorin {
namespace {

using KeyboardLayoutMap::arabicToLatin;
using KeyboardLayoutMap::latinToArabic;
using enum FlipMode;

struct Conversion {
    const char* what;
    QStringView text;
    FlipMode mode;
    QStringView expected;
};

const Conversion conversions[] = {
    {"empty, auto", u"", auto_, u""},
    {"whole keyboard", u"`qwertyuiop[]asdfghjkl;'zxcvbnm,./-= \\\n\t0123456789", forceArabic,
     u"ذضصثقفغعهخحجدشسيبلانمكط'ءئؤرىةوزظ؟-= \\\n\t٠١٢٣٤٥٦٧٨٩"},
    {"word", u"hello", auto_, u"\u0627\u062B\u0643\u0643\u062E"},
    {"word back", u"\u0627\u062B\u0643\u0643\u062E", auto_, u"hello"},
    {"capitals", u"Qq", forceArabic, u"\u0636\u0636"},
    {"white space", u"q \t\n\r\nw", auto_, u"\u0636 \t\n\r\n\u0635"},
    {"shifted symbols", u"q~!{}:\"<>?", auto_, u"\u0636~!{}:\"<>?"},
    {"self-mapped symbols", u"q'-=\\", auto_, u"\u0636'-=\\"},
    {"question mark", u"\u061F\u0649", auto_, u"/b"},
    {"no key types teh", u"\u062A\u060C\u061B\u0636", forceEnglish, u"\u062A\u060C\u061Bq"},
    {"letters of the other script", u"q\u0636", forceArabic, u"\u0636\u0636"},
    {"accented letter", u"\u00E9q", auto_, u"\u00E9\u0636"},

    {"digits alone, auto", u"123", auto_, u"123"},
    {"digits, to Arabic", u"123", forceArabic, u"\u0661\u0662\u0663"},
    {"digits, to English", u"\u0660\u0669", forceEnglish, u"09"},
    {"extended digits", u"\u06F1", forceEnglish, u"\u06F1"},

    {"tie goes to English", u"ab\u0634\u0628", auto_, u"abaf"},
    {"Latin majority", u"abc\u0634\u0628", auto_, u"\u0634\u0649\u0624\u0634\u0628"},
    {"accents count for nothing", u"\u00E9\u00E9\u0634", auto_, u"\u00E9\u00E9a"},
    {"presentation form counts", u"\uFEFB", auto_, u"\uFEFB"},
    {"a mark does not count twice", u"ab1\u0634\u064E", auto_, u"\u0634\u0649\u0661\u0634\u064E"},
    {"a mark that begins the text counts", u"\u064Eq", auto_, u"\u064Eq"},
    {"a mark after a control counts", u"\n\u064Eq1\u0661", auto_, u"\n\u064Eq11"},
    {"prepended mark takes a letter's count", u"\u0600q\u0661w", auto_, u"\u0600q1w"},

    {"letter with a mark", u"\u0634\u064E\u0634", forceEnglish, u"\u0634\u064Ea"},
    {"Latin letter with a mark", u"e\u0301e", forceArabic, u"e\u0301\u062B"},
    {"mark alone after line feed", u"a\n\u0301a", forceArabic, u"\u0634\n\u0301\u0634"},
    {"zero-width non-joiner", u"\u0634\u200C\u0634", forceEnglish, u"\u0634\u200Ca"},
    {"zero-width joiner", u"\u0634\u200D\u0634", forceEnglish, u"\u0634\u200Da"},
    {"emoji", u"q\U0001F600q", forceArabic, u"\u0636\U0001F600\u0636"},
};

TEST(KeyboardLayoutMap, convertsWholeCharacters) {
    for (const Conversion& row : conversions) {
        EXPECT_EQ(KeyboardLayoutMap::convert(row.text, row.mode), row.expected) << row.what;
    }
}

TEST(KeyboardLayoutMap, everyUnitCountsForItsScript) {
    for (char32_t unit = 0; unit <= 0xFFFF; ++unit) {
        const QString tie = QChar(static_cast<char16_t>(unit)) + QStringLiteral(" q");
        ASSERT_EQ(KeyboardLayoutMap::convert(tie, auto_), convertedByDefinition(tie, auto_))
            << uint{unit};
    }
}

TEST(KeyboardLayoutMap, everyUnitInALongTextIsAsDefined) {
    // As many letters of each script, or one more of Latin: the unit decides the direction.
    for (const QStringView end : {u"", u"q"}) {
        for (const QStringView base : {u"q\u0634", u"q\u0634\u064E"}) {
            const QString around = base.toString().repeated(96 / base.size()).append(end);
            for (char16_t unit = 0; unit <= 0x0700; ++unit) {
                for (const qsizetype offset : {31, 64, 65}) {
                    const QString text = QString(around).insert(offset, QChar(unit));
                    for (const FlipMode mode : {auto_, forceArabic}) {
                        ASSERT_EQ(KeyboardLayoutMap::convert(text, mode),
                                  convertedByDefinition(text, mode))
                            << uint{unit} << " at " << offset;
                    }
                }
            }
        }
    }
}

TEST(KeyboardLayoutMap, keepsUnpairedSurrogates) {
    const char16_t text[] = {0xDC00, u'q', 0xD83D, u'q', 0xD83D};
    const char16_t expected[] = {0xDC00, 0x0636, 0xD83D, 0x0636, 0xD83D};
    EXPECT_EQ(KeyboardLayoutMap::toArabic(QStringView(text, std::size(text))),
              QStringView(expected, std::size(expected)));
}

TEST(KeyboardLayoutMap, tablesInvertEachOther) {
    EXPECT_EQ(latinToArabic().size(), 76u);
    EXPECT_EQ(arabicToLatin().size(), 50u);
    for (const auto& [arabic, latin] : arabicToLatin()) {
        const char16_t* back = latinToArabic().find(latin);
        ASSERT_TRUE(back);
        EXPECT_EQ(*back, arabic);
    }
}

} // namespace
} // namespace velmorin
