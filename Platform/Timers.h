// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <memory>

namespace velmorin {

/// A running timer. Main thread.
class Timer {
public:
    virtual ~Timer() = default;

    /// It does not fire again, and lets go of its block. More than once does no harm.
    virtual void invalidate() = 0;
};

/// Makes timers of the main thread's run loop. Main thread.
class Timers {
public:
    virtual ~Timers() = default;

    /// Fires every `interval` seconds, first one interval from now. The run loop keeps the timer,
    /// and with it the block, until it is invalidated. An interval of less than a millisecond, zero
    /// and negative ones among them, counts as one millisecond; one that is infinite, or not a
    /// number, never fires.
    [[nodiscard]] virtual std::shared_ptr<Timer>
    scheduledRepeatingTimer(double interval, std::function<void()> block) = 0;
};

} // namespace velmorin
