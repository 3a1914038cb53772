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

} // namespace
} // namespace velmorin
