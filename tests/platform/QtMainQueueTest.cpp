// SPDX-License-Identifier: MIT
#include "Platform/Qt/QtMainQueue.h"
#include "tests/contracts/MainQueueContract.h"
#include "tests/platform/XUser.h"

namespace velmorin::test {

namespace {
MainQueueUnderTest makeQtMainQueue() {
    return {std::make_shared<QtMainQueue>(),
            [](const std::function<bool()>& condition) { return waitUntil(condition); }};
}
} // namespace

INSTANTIATE_TEST_SUITE_P(QtMainQueue, MainQueueContract, testing::Values(makeQtMainQueue));

} // namespace velmorin::test
