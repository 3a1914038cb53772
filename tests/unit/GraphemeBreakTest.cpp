// SPDX-License-Identifier: MIT
#include "Velmorin/KeyboardLayoutMap.h"

#include <gtest/gtest.h>
#include <unicode/ubrk.h>

#include <QFile>
#include <QStringList>

#include <algorithm>

namespace velmorin {
namespace {

using KeyboardLayoutMap::Table;

/// A line of Unicode's GraphemeBreakTest.txt: "÷ 0061 × 0308 ÷ 0062 ÷".
struct BreakTest {
    QList<char32_t> scalars;
    qsizetype characterCount = 0;
};

BreakTest parsed(const QString& samples) {
    BreakTest test;
    for (const QString& word : samples.split(u' ', Qt::SkipEmptyParts)) {
        if (word == u"\u00F7")
            ++test.characterCount;
        else if (word != u"\u00D7")
            test.scalars.append(word.toUInt(nullptr, 16));
    }
    --test.characterCount; // one sign stands at either end
    return test;
}

/// Empty when the file cannot be read.
QList<BreakTest> breakTests() {
    QList<BreakTest> tests;
    QFile file(QStringLiteral(VELMORIN_GRAPHEME_BREAK_TEST));
    if (!file.open(QIODevice::ReadOnly))
        return tests;
    while (!file.atEnd()) {
        const QString samples = QString::fromUtf8(file.readLine()).section(u'#', 0, 0).trimmed();
        if (!samples.isEmpty())
            tests.append(parsed(samples));
    }
    return tests;
}

QString textOf(const QList<char32_t>& scalars) {
    return QString::fromUcs4(scalars.constData(), scalars.size());
}

QStringList characters(QStringView text) {
    UErrorCode status = U_ZERO_ERROR;
    const icu::LocalUBreakIteratorPointer iterator(
        ubrk_open(UBRK_CHARACTER, "", text.utf16(), static_cast<int32_t>(text.size()), &status));
    QStringList result;
    int32_t begin = 0;
    for (int32_t end; (end = ubrk_next(iterator.getAlias())) != UBRK_DONE; begin = end)
        result.append(text.sliced(begin, end - begin).toString());
    return result;
}

QString substituted(const QStringList& characters, const Table& table) {
    QString result;
    for (const QString& character : characters) {
        const char16_t* value =
            character.size() == 1 ? table.find(character[0].unicode()) : nullptr;
        result += value ? QString(QChar(*value)) : character;
    }
    return result;
}

bool isArabic(QChar first) {
    const char16_t c = first.unicode();
    return (c >= 0x0600 && c <= 0x06FF) || (c >= 0x0750 && c <= 0x077F) ||
           (c >= 0x08A0 && c <= 0x08FF) || (c >= 0xFB50 && c <= 0xFDFF) ||
           (c >= 0xFE70 && c <= 0xFEFF);
}

bool isLatin(QChar first) {
    return first.unicode() < 0x80 && first.isLetter();
}

/// The definition, one character after the other.
QString detectedAndSubstituted(const QStringList& characters) {
    const auto count = [&characters](bool (*matches)(QChar)) {
        return std::count_if(characters.begin(), characters.end(),
                             [&](const QString& character) { return matches(character[0]); });
    };
    const auto arabic = count(isArabic);
    const auto latin = count(isLatin);
    if (arabic == 0 && latin == 0)
        return characters.join(QString());
    return substituted(characters, arabic >= latin ? KeyboardLayoutMap::arabicToLatin()
                                                   : KeyboardLayoutMap::latinToArabic());
}

void expectSameAsDefinition(const QString& text) {
    const QStringList whole = characters(text);
    EXPECT_EQ(KeyboardLayoutMap::toArabic(text),
              substituted(whole, KeyboardLayoutMap::latinToArabic()));
    EXPECT_EQ(KeyboardLayoutMap::toEnglish(text),
              substituted(whole, KeyboardLayoutMap::arabicToLatin()));
    EXPECT_EQ(KeyboardLayoutMap::convert(text, FlipMode::auto_), detectedAndSubstituted(whole));
}

TEST(GraphemeBreak, countsCharactersAsUnicodeDoes) {
    const QList<BreakTest> tests = breakTests();
    ASSERT_GE(tests.size(), 600) << "cannot read " VELMORIN_GRAPHEME_BREAK_TEST;
    for (const BreakTest& test : tests) {
        const QString text = textOf(test.scalars);
        EXPECT_EQ(KeyboardLayoutMap::characterCount(text), test.characterCount)
            << text.toStdString();
    }
    EXPECT_EQ(KeyboardLayoutMap::characterCount(QStringView()), 0);
}

TEST(GraphemeBreak, conversionKeepsToTheSameCharacters) {
    const QList<BreakTest> tests = breakTests();
    ASSERT_GE(tests.size(), 600) << "cannot read " VELMORIN_GRAPHEME_BREAK_TEST;
    for (const BreakTest& test : tests) {
        for (qsizetype position = 0; position <= test.scalars.size(); ++position) {
            for (const char32_t letter : {U'q', U'\u0636', U'\u0661', U'\u0600', U'\u064E'}) {
                QList<char32_t> scalars = test.scalars;
                scalars.insert(position, letter);
                SCOPED_TRACE(textOf(scalars).toStdString());
                expectSameAsDefinition(textOf(scalars));
            }
        }
    }
}

} // namespace
} // namespace velmorin
