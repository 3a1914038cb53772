// SPDX-License-Identifier: MIT
#include "Platform/Memory/MemoryKeychain.h"
#include "tests/contracts/KeychainContract.h"

namespace velmorin {
namespace {

class MemoryKeychainPort {
public:
    Keychain& keychain() { return m_keychain; }

private:
    MemoryKeychain m_keychain;
};

INSTANTIATE_TYPED_TEST_SUITE_P(Memory, KeychainContract, MemoryKeychainPort);

} // namespace
} // namespace velmorin
