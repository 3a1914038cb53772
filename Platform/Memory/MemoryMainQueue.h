// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/MainQueue.h"

#include <QMutex>

#include <algorithm>
#include <map>
#include <optional>
#include <utility>

namespace velmorin {

/// A main queue under virtual time: time stands still until the thread that plays the main thread
/// lets it pass.
class MemoryMainQueue final : public MainQueue {
public:
    using Duration = std::chrono::nanoseconds;

    void async(Block block) override { asyncAfter(Duration::zero(), std::move(block)); }

    void asyncAfter(Duration delay, Block block) override {
        const QMutexLocker lock(&m_mutex);
        m_blocks.emplace(m_now + std::max(delay, Duration::zero()), std::move(block));
    }

    /// Lets `duration` pass and runs what falls due in it, each block at its own time, those of the
    /// same time in the order in which they were queued. Main thread, not inside a block.
    void advance(Duration duration) {
        const Duration end = now() + duration;
        while (runNext(end)) {
        }
        const QMutexLocker lock(&m_mutex);
        m_now = end;
    }

    /// Lets as much time pass as it takes to run everything, also what is queued meanwhile.
    /// Main thread, not inside a block.
    void runUntilIdle() {
        while (runNext(Duration::max())) {
        }
    }

    /// The time that has passed since the queue was made.
    [[nodiscard]] Duration now() const {
        const QMutexLocker lock(&m_mutex);
        return m_now;
    }

private:
    [[nodiscard]] bool runNext(Duration end) {
        const std::optional<Block> block = takeNext(end);
        if (block) {
            (*block)();
        }
        return block.has_value();
    }

    [[nodiscard]] std::optional<Block> takeNext(Duration end) {
        const QMutexLocker lock(&m_mutex);
        const auto next = m_blocks.begin();
        if (next == m_blocks.end() || next->first > end) {
            return std::nullopt;
        }
        m_now = next->first;
        return std::move(m_blocks.extract(next).mapped());
    }

    mutable QMutex m_mutex;
    Duration m_now = Duration::zero();
    std::multimap<Duration, Block> m_blocks; // keeps the order of insertion among equal times
};

} // namespace velmorin
