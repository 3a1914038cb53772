// SPDX-License-Identifier: MIT
#pragma once

#include <functional>

namespace velmorin {

/// One kind of place that a desktop may have for status icons. Main thread.
class TrayWatch {
public:
    virtual ~TrayWatch() = default;

    [[nodiscard]] virtual bool isThere() const = 0;

    /// Calls `handler`, from the event loop, whenever there is one that was not there before.
    virtual void onAppear(std::function<void()> handler) = 0;
};

} // namespace velmorin
