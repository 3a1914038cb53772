// SPDX-License-Identifier: MIT
#include "Platform/Memory/MemoryUserDefaults.h"
#include "tests/contracts/UserDefaultsContract.h"

namespace velmorin {
namespace {

class MemoryPort {
public:
    UserDefaults& defaults() { return m_defaults; }
    void reopen() {}

private:
    MemoryUserDefaults m_defaults;
};

INSTANTIATE_TYPED_TEST_SUITE_P(Memory, UserDefaultsContract, MemoryPort);

} // namespace
} // namespace velmorin
