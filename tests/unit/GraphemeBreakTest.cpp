// SPDX-License-Identifier: MIT
#include "tests/contracts/ConversionByDefinition.h"

#include <gtest/gtest.h>

#include <QFile>

namespace velmorin {
namespace {

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

TEST(GraphemeBreak, charactersAreThoseOfUnicode) {
    const QList<BreakTest> tests = breakTests();
    ASSERT_GE(tests.size(), 600) << "cannot read " VELMORIN_GRAPHEME_BREAK_TEST;
    for (const BreakTest& test : tests) {
        EXPECT_EQ(KeyboardLayoutMap::characterCount(textOf(test.scalars)), test.characterCount);
        for (qsizetype position = 0; position <= test.scalars.size(); ++position) {
            for (const char32_t letter : {U'q', U'\u0636', U'\u0661', U'\u0600', U'\u064E'}) {
                QList<char32_t> scalars = test.scalars;
                scalars.insert(position, letter);
                const QString text = textOf(scalars);
                for (const FlipMode mode : allCases) {
                    ASSERT_EQ(KeyboardLayoutMap::convert(text, mode),
                              convertedByDefinition(text, mode));
                }
            }
        }
    }
    EXPECT_EQ(KeyboardLayoutMap::characterCount(QStringView()), 0);
}

} // namespace
} // namespace velmorin
