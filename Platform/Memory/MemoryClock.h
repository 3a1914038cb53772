// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/Clock.h"
#include "Platform/Memory/MemoryMainQueue.h"

#include <memory>
#include <utility>

namespace velmorin {

/// A clock that follows the virtual time of a main queue.
class MemoryClock final : public Clock {
public:
    /// `start` is the date and time at the queue's time zero.
    explicit MemoryClock(std::shared_ptr<const MemoryMainQueue> mainQueue,
                         QDateTime start = QDateTime({2024, 2, 29}, {9, 5, 3, 250}))
        : m_mainQueue(std::move(mainQueue)), m_start(std::move(start)) {}

    [[nodiscard]] QDateTime now() const override {
        using std::chrono::milliseconds;
        return m_start.addMSecs(std::chrono::duration_cast<milliseconds>(uptime()).count());
    }
    [[nodiscard]] std::chrono::nanoseconds uptime() const override {
        return m_mainQueue->now() + m_slept;
    }
    void sleep(std::chrono::microseconds time) const override { m_slept += time; }

    [[nodiscard]] std::chrono::microseconds slept() const { return m_slept; }

private:
    mutable std::chrono::microseconds m_slept{0};
    const std::shared_ptr<const MemoryMainQueue> m_mainQueue;
    const QDateTime m_start;
};

} // namespace velmorin
