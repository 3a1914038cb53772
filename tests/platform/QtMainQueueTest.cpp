// SPDX-License-Identifier: MIT
#include "Platform/Qt/QtMainQueue.h"
#include "tests/WaitUntil.h"
#include "tests/contracts/MainQueueContract.h"

#include <QCoreApplication>

namespace velmorin::test {

using namespace std::chrono_literals;

namespace {
MainQueueUnderTest makeQtMainQueue() {
    return {std::make_shared<QtMainQueue>(),
            [](const std::function<bool()>& condition) { return waitUntil(condition); }};
}
} // namespace

INSTANTIATE_TEST_SUITE_P(QtMainQueue, MainQueueContract, testing::Values(makeQtMainQueue));

TEST(QtMainQueue, KeepsTheOrderOfWhatIsOverdueTogether) {
    QtMainQueue queue;
    std::string ran;
    const auto note = [&ran](const char* letter) { return [&ran, letter] { ran += letter; }; };
    queue.asyncAfter(2ms, note("c"));
    queue.asyncAfter(1ms, [&] {
        ran += "a";
        queue.asyncAfter(-1ms, note("e")); // on the next turn
        queue.asyncAfter(std::chrono::nanoseconds::max(), note("never"));
    });
    queue.asyncAfter(1ms, note("b"));
    std::this_thread::sleep_for(5ms); // a main thread that is busy
    queue.async(note("d"));
    EXPECT_TRUE(waitUntil([&] { return ran.size() == 5; }));
    EXPECT_EQ(ran, "abcde");
}

TEST(QtMainQueue, LetsGoOfWhatIsDelayedWhenTheApplicationQuits) {
    auto queue = std::make_shared<QtMainQueue>();
    const std::weak_ptr<QtMainQueue> left = queue;
    queue->asyncAfter(1h, [queue] {});
    queue.reset();
    QTimer::singleShot(0, qApp, &QCoreApplication::quit);
    QCoreApplication::exec();
    EXPECT_TRUE(left.expired());
}

TEST(QtMainQueue, RestsOnceWhenNothingWasRunForAWhile) {
    constexpr auto restingTime = 20ms;
    QtMainQueue queue(restingTime);
    int rests = 0;
    QObject::connect(&queue, &QtMainQueue::rested, &queue, [&rests] { ++rests; });
    QDeadlineTimer idle(3 * restingTime);
    EXPECT_TRUE(waitUntil([&] { return idle.hasExpired(); }));
    EXPECT_EQ(rests, 0) << "nothing was run";

    queue.async([] {});
    queue.async([] {});
    EXPECT_TRUE(waitUntil([&] { return rests == 1; }));
    idle.setRemainingTime(3 * restingTime);
    EXPECT_TRUE(waitUntil([&] { return idle.hasExpired(); }));
    EXPECT_EQ(rests, 1);
}

} // namespace velmorin::test
