// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/ActiveWindow.h"

#include <functional>

namespace velmorin {

/// The window that a test says is active.
class MemoryActiveWindow : public ActiveWindow {
public:
    [[nodiscard]] std::optional<qint64> processId() override { return process; }
    [[nodiscard]] std::optional<quint64> identifier() override { return window; }

    void awaitInputHandled(std::chrono::milliseconds /*limit*/) override {
        if (onAwaitInput) {
            onAwaitInput();
        }
    }

    std::function<void()> onAwaitInput; ///< what the application does meanwhile
    std::optional<qint64> process = 1;
    std::optional<quint64> window = 1;
};

} // namespace velmorin
