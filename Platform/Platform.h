// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/Accessibility.h"
#include "Platform/Clock.h"
#include "Platform/HotKeys.h"
#include "Platform/KeyEvents.h"
#include "Platform/Keychain.h"
#include "Platform/MainQueue.h"
#include "Platform/Pasteboard.h"
#include "Platform/UserDefaults.h"

#include <functional>
#include <memory>

namespace velmorin {

/// One of each operating-system service that the program uses.
struct Platform {
    std::shared_ptr<MainQueue> mainQueue;
    std::shared_ptr<Clock> clock;
    std::shared_ptr<HotKeys> hotKeys;
    std::shared_ptr<Accessibility> accessibility;
    std::shared_ptr<Pasteboard> pasteboard;
    std::shared_ptr<KeyEvents> keyEvents;
    std::shared_ptr<UserDefaults> standardUserDefaults;
    /// Opens a named domain: a new object on every call; null when it cannot be opened.
    std::function<std::shared_ptr<UserDefaults>(const QString& suite)> userDefaultsSuite;
    std::shared_ptr<Keychain> keychain;

    /// The process's platform. The entry point sets it once, before anything reads it; only the
    /// `shared()` instances and the hotkey's C callback read it.
    [[nodiscard]] static const Platform& process();
    static void setProcess(Platform platform);
};

} // namespace velmorin
