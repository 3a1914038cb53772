// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <functional>

namespace velmorin {

/// The queue of the main thread: blocks run there one after the other, in the order in which they
/// fall due. A block that was queued before the process ends may never run.
class MainQueue {
public:
    using Block = std::function<void()>;

    virtual ~MainQueue() = default;

    /// Runs `block` on a later turn of the main thread, never inside this call. Any thread.
    virtual void async(Block block) = 0;

    /// Runs `block` on the main thread `delay` after this call (a negative delay counts as zero).
    /// The delay is measured from this call, not from the moment the main thread sees it, with a
    /// precise timer: a block is never early and as little late as the main thread allows.
    /// Any thread.
    virtual void asyncAfter(std::chrono::nanoseconds delay, Block block) = 0;
};

} // namespace velmorin
