// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/Memory/MemoryAccessibility.h"
#include "Platform/Memory/MemoryActiveWindow.h"
#include "Platform/Memory/MemoryApplication.h"
#include "Platform/Memory/MemoryAuthorization.h"
#include "Platform/Memory/MemoryClock.h"
#include "Platform/Memory/MemoryEventTaps.h"
#include "Platform/Memory/MemoryHotKeys.h"
#include "Platform/Memory/MemoryKernelServices.h"
#include "Platform/Memory/MemoryKeyEvents.h"
#include "Platform/Memory/MemoryKeychain.h"
#include "Platform/Memory/MemoryMainQueue.h"
#include "Platform/Memory/MemoryPasteboard.h"
#include "Platform/Memory/MemoryStatusBar.h"
#include "Platform/Memory/MemoryTimers.h"
#include "Platform/Memory/MemoryUserDefaults.h"
#include "Platform/Memory/MemoryWindows.h"
#include "Platform/Platform.h"

#include <memory>

namespace velmorin {

/// A platform that lives in memory, and the handles by which a test moves it.
struct MemoryPlatform {
    // Made in one place, so that not every test compiles all of them.
    MemoryPlatform();
    ~MemoryPlatform();
    Q_DISABLE_COPY_MOVE(MemoryPlatform)

    std::shared_ptr<MemoryApplication> application = std::make_shared<MemoryApplication>();
    std::shared_ptr<MemoryMainQueue> mainQueue = std::make_shared<MemoryMainQueue>();
    std::shared_ptr<MemoryClock> clock = std::make_shared<MemoryClock>(mainQueue);
    std::shared_ptr<MemoryHotKeys> hotKeys = std::make_shared<MemoryHotKeys>();
    std::shared_ptr<MemoryActiveWindow> activeWindow = std::make_shared<MemoryActiveWindow>();
    std::shared_ptr<MemoryAccessibility> accessibility = std::make_shared<MemoryAccessibility>();
    std::shared_ptr<MemoryPasteboard> pasteboard = std::make_shared<MemoryPasteboard>();
    std::shared_ptr<MemoryKeyEvents> keyEvents = std::make_shared<MemoryKeyEvents>(activeWindow);
    std::shared_ptr<MemoryEventTaps> eventTaps = std::make_shared<MemoryEventTaps>();
    std::shared_ptr<MemoryUserDefaults> standardUserDefaults =
        std::make_shared<MemoryUserDefaults>();
    std::shared_ptr<MemoryUserDefaults> suiteUserDefaults = std::make_shared<MemoryUserDefaults>();
    std::shared_ptr<MemoryKeychain> keychain = std::make_shared<MemoryKeychain>();
    std::shared_ptr<MemoryKernelServices> kernelServices = std::make_shared<MemoryKernelServices>();
    std::shared_ptr<MemoryAuthorization> authorization = std::make_shared<MemoryAuthorization>();
    std::shared_ptr<MemoryStatusBar> statusBar = std::make_shared<MemoryStatusBar>();
    std::shared_ptr<MemorySymbolImages> symbolImages = std::make_shared<MemorySymbolImages>();
    std::shared_ptr<MemoryTimers> timers = std::make_shared<MemoryTimers>();
    std::shared_ptr<MemoryWindows> windows = std::make_shared<MemoryWindows>();
    std::shared_ptr<MemoryWorkspace> workspace = std::make_shared<MemoryWorkspace>();

    [[nodiscard]] Platform platform() const;
};

} // namespace velmorin
