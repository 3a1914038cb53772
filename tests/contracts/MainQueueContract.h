// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/MainQueue.h"

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <thread>

#include <gtest/gtest.h>

namespace velmorin::test {

/// A queue under test and the means to let it work.
struct MainQueueUnderTest {
    std::shared_ptr<MainQueue> queue;
    /// Lets the queue work until the condition holds; false when it does not within a bound.
    std::function<bool(const std::function<bool()>&)> workUntil;
};

using MakeMainQueue = MainQueueUnderTest (*)();

class MainQueueContract : public testing::TestWithParam<MakeMainQueue> {
protected:
    MainQueueUnderTest m_test = GetParam()();
    std::string m_ran;

    MainQueue::Block note(const std::string& letter) {
        return [this, letter] { m_ran += letter; };
    }
};

TEST_P(MainQueueContract, RunsLaterAndInOrder) {
    m_test.queue->async([this] {
        m_ran += "a";
        m_test.queue->async(note("d"));
        m_ran += "a";
    });
    m_test.queue->asyncAfter(std::chrono::seconds(-1), note("b"));
    m_test.queue->async(note("c"));
    EXPECT_EQ(m_ran, "");
    EXPECT_TRUE(m_test.workUntil([this] { return m_ran.size() == 5; }));
    EXPECT_EQ(m_ran, "aabcd");
}

TEST_P(MainQueueContract, DelaysCountFromTheCall) {
    using namespace std::chrono_literals;
    m_test.queue->asyncAfter(60ms, note("d"));
    m_test.queue->asyncAfter(-1s, note("a"));
    m_test.queue->asyncAfter(30ms, [this] {
        m_ran += "b";
        m_test.queue->asyncAfter(0ms, note("c"));
    });
    EXPECT_EQ(m_ran, "");
    EXPECT_TRUE(m_test.workUntil([this] { return m_ran.size() == 4; }));
    EXPECT_EQ(m_ran, "abcd");
}

TEST_P(MainQueueContract, TakesBlocksFromOtherThreads) {
    std::thread([this] {
        m_test.queue->async(note("x"));
        m_test.queue->asyncAfter(std::chrono::milliseconds(1), note("y"));
    }).join();
    EXPECT_TRUE(m_test.workUntil([this] { return m_ran.size() == 2; }));
    EXPECT_EQ(m_ran, "xy");
}

} // namespace velmorin::test
