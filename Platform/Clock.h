// SPDX-License-Identifier: MIT
#pragma once

#include <QDateTime>

#include <chrono>

namespace velmorin {

/// The wall clock. Any thread.
class Clock {
public:
    virtual ~Clock() = default;

    /// The current date and time in the user's time zone, to the millisecond.
    [[nodiscard]] virtual QDateTime now() const = 0;

    /// Blocks this thread.
    virtual void sleep(std::chrono::microseconds time) const = 0;
};

} // namespace velmorin
