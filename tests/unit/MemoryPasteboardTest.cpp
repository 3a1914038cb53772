// SPDX-License-Identifier: MIT
#include "Platform/Memory/MemoryPasteboard.h"
#include "tests/contracts/PasteboardContract.h"

namespace velmorin {
namespace {

class MemoryPort {
public:
    Pasteboard& pasteboard() { return m_pasteboard; }
    void copyText(const QString& text) { m_pasteboard.copyElsewhere(text); }
    void copyImage() { m_pasteboard.copyElsewhere(std::nullopt); }

private:
    MemoryPasteboard m_pasteboard;
};

INSTANTIATE_TYPED_TEST_SUITE_P(Memory, PasteboardContract, MemoryPort);

TEST(MemoryPasteboard, refusedStringChangesNothing) {
    const QString plainText = QLatin1String(NSPasteboardTypeString);
    MemoryPasteboard pasteboard;
    pasteboard.copyElsewhere(QStringLiteral("kept"));
    pasteboard.refuseStrings(true);
    EXPECT_FALSE(pasteboard.setString(QStringLiteral("new"), plainText));
    EXPECT_EQ(pasteboard.string(plainText), QStringLiteral("kept"));
    EXPECT_EQ(pasteboard.changeCount(), 1);
    EXPECT_EQ(pasteboard.journal(),
              QStringList({QStringLiteral("setString new"), QStringLiteral("string"),
                           QStringLiteral("changeCount")}));
}

} // namespace
} // namespace velmorin
