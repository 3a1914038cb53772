// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/Pasteboard.h"

#include <gtest/gtest.h>

namespace velmorin {

/// What every implementation of Pasteboard owes. `Port` has `pasteboard()`, `copyText(text)` and
/// `copyImage()`; these are another application's doing, and done when they return.
template <typename Port>
class PasteboardContract : public testing::Test {
protected:
    Pasteboard& pasteboard() { return m_port.pasteboard(); }
    void copyText(const QString& text) { m_port.copyText(text); }
    void copyImage() { m_port.copyImage(); }

    const QString plainText = QLatin1String(NSPasteboardTypeString);
    const QString image = QStringLiteral("public.png");
    const QString arabic = QStringLiteral("اثممخ");

private:
    Port m_port;
};
TYPED_TEST_SUITE_P(PasteboardContract);

TYPED_TEST_P(PasteboardContract, givesBackWhatWasSet) {
    const QString texts[] = {
        this->arabic,
        QStringLiteral(""),
        QStringLiteral("\uFEFF mark, \n newline, \U0001F600"),
        QString(QChar(0)),
    };
    for (const QString& text : texts) {
        EXPECT_TRUE(this->pasteboard().setString(text, this->plainText));
        EXPECT_EQ(this->pasteboard().string(this->plainText), text);
    }
}

TYPED_TEST_P(PasteboardContract, clearedHasNoText) {
    EXPECT_TRUE(this->pasteboard().setString(this->arabic, this->plainText));
    this->pasteboard().clearContents();
    EXPECT_EQ(this->pasteboard().string(this->plainText), std::nullopt);
}

TYPED_TEST_P(PasteboardContract, knowsPlainTextOnly) {
    EXPECT_TRUE(this->pasteboard().setString(this->arabic, this->plainText));
    const qint64 before = this->pasteboard().changeCount();
    EXPECT_FALSE(this->pasteboard().setString(QStringLiteral("x"), this->image));
    EXPECT_EQ(this->pasteboard().string(this->image), std::nullopt);
    EXPECT_EQ(this->pasteboard().string(this->plainText), this->arabic);
    EXPECT_EQ(this->pasteboard().changeCount(), before);
}

TYPED_TEST_P(PasteboardContract, countsEveryChange) {
    qint64 last = this->pasteboard().changeCount();
    const auto rose = [&] { return std::exchange(last, this->pasteboard().changeCount()) < last; };
    EXPECT_FALSE(rose());
    const qint64 cleared = this->pasteboard().clearContents();
    EXPECT_TRUE(rose());
    EXPECT_EQ(last, cleared);
    for (int i = 0; i < 2; ++i) {
        EXPECT_TRUE(this->pasteboard().setString(this->arabic, this->plainText));
        EXPECT_TRUE(rose());
    }
    for (int i = 0; i < 2; ++i) {
        this->copyText(this->arabic);
        EXPECT_TRUE(rose());
    }
    this->copyImage();
    EXPECT_TRUE(rose());
    EXPECT_EQ(this->pasteboard().string(this->plainText), std::nullopt);
    EXPECT_FALSE(rose()) << "reading is no change";
}

TYPED_TEST_P(PasteboardContract, anotherApplicationTakesItOver) {
    EXPECT_TRUE(this->pasteboard().setString(QStringLiteral("ours"), this->plainText));
    this->copyText(this->arabic);
    EXPECT_EQ(this->pasteboard().string(this->plainText), this->arabic);
    EXPECT_TRUE(this->pasteboard().setString(QStringLiteral("again"), this->plainText));
    EXPECT_EQ(this->pasteboard().string(this->plainText), QStringLiteral("again"));
    this->copyImage();
    EXPECT_EQ(this->pasteboard().string(this->plainText), std::nullopt);
}

REGISTER_TYPED_TEST_SUITE_P(PasteboardContract, givesBackWhatWasSet, clearedHasNoText,
                            knowsPlainTextOnly, countsEveryChange, anotherApplicationTakesItOver);

} // namespace velmorin
