// SPDX-License-Identifier: MIT
#include "Platform/Memory/MemoryMainQueue.h"
#include "tests/contracts/MainQueueContract.h"

namespace velmorin::test {

namespace {
MainQueueUnderTest makeMemoryMainQueue() {
    const auto queue = std::make_shared<MemoryMainQueue>();
    return {queue, [queue](const std::function<bool()>& condition) {
                queue->runUntilIdle();
                return condition();
            }};
}
} // namespace

INSTANTIATE_TEST_SUITE_P(MemoryMainQueue, MainQueueContract, testing::Values(makeMemoryMainQueue));

} // namespace velmorin::test
