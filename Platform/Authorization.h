// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

#include <functional>

namespace velmorin {

/// What the user has said to an access.
enum class AuthorizationStatus { notDetermined = 0, restricted = 1, denied = 2, authorized = 3 };

/// Access to devices and data that the user must allow. Main thread; the handlers may be called on
/// any thread, once each, also before the request returns.
class Authorization {
public:
    virtual ~Authorization() = default;

    [[nodiscard]] virtual AuthorizationStatus audioCaptureStatus() = 0;

    /// Asks the user, unless he was asked before.
    virtual void requestAudioCapture(std::function<void(bool granted)> handler) = 0;

    /// Full access to the events of the user's calendars. `error` is empty when there was none.
    virtual void
    requestFullAccessToEvents(std::function<void(bool granted, const QString& error)> handler) = 0;
};

} // namespace velmorin
