// SPDX-License-Identifier: MIT
#pragma once

#include <QDateTime>

#include <chrono>

namespace velmorin {

/// What time it is. Any thread.
class Clock {
public:
    virtual ~Clock() = default;

    /// The current date and time in the user's time zone, to the millisecond.
    [[nodiscard]] virtual QDateTime now() const = 0;

    /// The time since a moment that stays the same, whatever the date and time are set to.
    [[nodiscard]] virtual std::chrono::nanoseconds uptime() const = 0;

    /// Blocks this thread.
    virtual void sleep(std::chrono::microseconds time) const = 0;
};

} // namespace velmorin
