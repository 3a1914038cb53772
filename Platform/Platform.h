// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/Accessibility.h"
#include "Platform/ActiveWindow.h"
#include "Platform/Application.h"
#include "Platform/Authorization.h"
#include "Platform/Clock.h"
#include "Platform/EventTaps.h"
#include "Platform/HotKeys.h"
#include "Platform/KernelServices.h"
#include "Platform/KeyEvents.h"
#include "Platform/Keychain.h"
#include "Platform/MainQueue.h"
#include "Platform/Pasteboard.h"
#include "Platform/StatusBar.h"
#include "Platform/SymbolImages.h"
#include "Platform/Timers.h"
#include "Platform/UserDefaults.h"
#include "Platform/Windows.h"
#include "Platform/Workspace.h"

#include <functional>
#include <memory>
#include <mutex>

namespace velmorin {

/// One of each operating-system service that the program uses.
struct Platform {
    /// First, since it outlives the others.
    std::shared_ptr<Application> application;
    std::shared_ptr<MainQueue> mainQueue;
    std::shared_ptr<Clock> clock;
    std::shared_ptr<HotKeys> hotKeys;
    std::shared_ptr<ActiveWindow> activeWindow;
    std::shared_ptr<Accessibility> accessibility;
    std::shared_ptr<Pasteboard> pasteboard;
    std::shared_ptr<KeyEvents> keyEvents;
    std::shared_ptr<EventTaps> eventTaps;
    std::shared_ptr<UserDefaults> standardUserDefaults;
    /// Opens a named domain: a new object on every call; null when it cannot be opened.
    std::function<std::shared_ptr<UserDefaults>(const QString& suite)> userDefaultsSuite;
    std::shared_ptr<Keychain> keychain;
    std::shared_ptr<KernelServices> kernelServices;
    std::shared_ptr<Authorization> authorization;
    std::shared_ptr<StatusBar> statusBar;
    std::shared_ptr<SymbolImages> symbolImages;
    std::shared_ptr<Timers> timers;
    std::shared_ptr<Windows> windows;
    std::shared_ptr<Workspace> workspace;

    /// The process's platform. The entry point sets it once, before anything reads it; only the
    /// `shared()` instances and the hotkey's C callback read it.
    [[nodiscard]] static const Platform& process();
    /// Ends the instances that were made from the one before.
    static void setProcess(Platform platform);

    /// The process's one T: made on first use from the process's platform, by any thread, and kept
    /// until that is replaced.
    template <typename T, typename Make>
    [[nodiscard]] static std::shared_ptr<T> sharedInstance(Make make) {
        // Never destroyed: should something end the process from within, its parts, which rely on
        // each other, must not fall one by one.
        static auto& instance = *new std::shared_ptr<T>();
        const std::lock_guard lock(instancesMutex());
        if (!instance) {
            instance = make(process());
            addInstance([] { instance.reset(); });
        }
        return instance;
    }

private:
    [[nodiscard]] static std::recursive_mutex& instancesMutex();
    static void addInstance(std::function<void()> end);
};

} // namespace velmorin
