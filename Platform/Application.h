// SPDX-License-Identifier: MIT
#pragma once

#include <memory>

namespace velmorin {

/// How the application shows in the desktop: with a taskbar entry, or without one, as an
/// application that lives in the status bar does.
enum class ActivationPolicy { regular = 0, accessory = 1 };

/// Answers the desktop's questions to the application. Main thread.
class ApplicationDelegate {
public:
    virtual ~ApplicationDelegate() = default;

    /// The event loop has begun. Called once.
    virtual void applicationDidFinishLaunching() = 0;

    /// The user asked for the application again. A minimised window is not visible. Answered with
    /// true, the desktop goes on by bringing the visible windows in front.
    virtual bool applicationShouldHandleReopen(bool hasVisibleWindows) = 0;

    virtual bool applicationShouldTerminateAfterLastWindowClosed() = 0;
};

/// The running application, as the desktop sees it. Main thread.
///
/// SIGTERM, SIGINT, SIGHUP and the end of the session end the event loop with status 0.
class Application {
public:
    virtual ~Application() = default;

    virtual void setActivationPolicy(ActivationPolicy policy) = 0;

    /// Held weakly.
    virtual void setDelegate(std::weak_ptr<ApplicationDelegate> delegate) = 0;
    /// Null when there is none any more.
    [[nodiscard]] virtual std::shared_ptr<ApplicationDelegate> delegate() const = 0;

    /// Asks the desktop to bring the application's visible windows in front, by the desktop's own
    /// rules.
    virtual void activateIgnoringOtherApps() = 0;

    /// Runs the event loop. Returns the exit status when it ends.
    [[nodiscard]] virtual int run() = 0;
};

} // namespace velmorin
