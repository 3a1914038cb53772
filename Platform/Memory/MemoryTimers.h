// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/Timers.h"

#include <optional>
#include <vector>

namespace velmorin {

/// Timers that fire when the test says so.
class MemoryTimers : public Timers {
public:
    struct Scheduled : Timer {
        void invalidate() override { block.reset(); }

        /// Lets one interval pass. Nothing happens once it was invalidated.
        void fire() {
            const auto running = block; // it may invalidate itself
            if (running) {
                (*running)();
            }
        }

        double interval = 0;
        std::optional<std::function<void()>> block; ///< None once it was invalidated.
    };

    [[nodiscard]] std::shared_ptr<Timer>
    scheduledRepeatingTimer(double interval, std::function<void()> block) override {
        auto timer = std::make_shared<Scheduled>();
        timer->interval = interval;
        timer->block = std::move(block);
        scheduled.push_back(timer);
        return timer;
    }

    std::vector<std::shared_ptr<Scheduled>> scheduled; ///< All there ever were.
};

} // namespace velmorin
