// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/Timers.h"

namespace velmorin {

/// Precise timers of Qt's event loop. Must be used on the main thread, after the application object
/// was made.
class QtTimers : public Timers {
public:
    [[nodiscard]] std::shared_ptr<Timer>
    scheduledRepeatingTimer(double interval, std::function<void()> block) override;
};

} // namespace velmorin
