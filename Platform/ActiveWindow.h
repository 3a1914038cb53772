// SPDX-License-Identifier: MIT
#pragma once

#include <QtGlobal>

#include <chrono>
#include <optional>

namespace velmorin {

/// The window that the user works in. Main thread.
class ActiveWindow {
public:
    virtual ~ActiveWindow() = default;

    /// The process that owns the window with the keyboard focus, as the display server tells it;
    /// none when no window has the focus or its process is not known.
    [[nodiscard]] virtual std::optional<qint64> processId() = 0;

    /// Which window has the keyboard focus: equal as long as it stays there. None when no window
    /// has it. Another window may get the number of one that was closed.
    [[nodiscard]] virtual std::optional<quint64> identifier() = 0;

    /// Waits until its application has handled the input that it was sent so far, at most `limit`.
    /// Does not wait when there is no way to know.
    virtual void awaitInputHandled(std::chrono::milliseconds limit) = 0;
};

} // namespace velmorin
