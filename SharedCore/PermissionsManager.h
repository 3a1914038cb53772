// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/Platform.h"

#include <functional>
#include <memory>

namespace velmorin {

/// Asks whether the application may use what the user must allow, asks the user for it, and opens
/// the settings where it is allowed. Main thread.
class PermissionsManager {
public:
    explicit PermissionsManager(const Platform& platform) : m_platform(platform) {}

    /// The process's manager, created on first use.
    [[nodiscard]] static std::shared_ptr<PermissionsManager> shared();

    /// Told of the user's answer, on a turn of the main queue of its own.
    using Callback = std::function<void(bool granted)>;

    [[nodiscard]] bool isAccessibilityGranted() const;
    /// Lets the system ask the user where it is not granted yet. Does not wait for the answer.
    void requestAccessibility();
    void openAccessibilitySettings();
    void openInputMonitoringSettings();

    void requestMicrophone(Callback callback);
    /// False also before the user was asked.
    [[nodiscard]] bool isMicrophoneGranted() const;
    void openMicrophoneSettings();

    /// Full access to calendar events. Why it was not granted is not told.
    void requestCalendar(Callback callback);
    void openCalendarSettings();

    void openFullDiskAccessSettings();

private:
    const Platform m_platform;
};

/// Makes the running application one without an entry in the taskbar, as one that lives in the
/// status bar is. Main thread; without a running application the process ends.
void configureAsMenuBarOnlyApp(const Platform& platform = Platform::process());

} // namespace velmorin
