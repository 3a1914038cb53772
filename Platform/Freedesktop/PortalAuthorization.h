// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/Authorization.h"

#include <QDBusMessage>
#include <QObject>

#include <unordered_map>

namespace velmorin {

/// The microphone by the desktop portal (org.freedesktop.portal.Device; what the user said is kept
/// in its PermissionStore). Where there is no portal nobody is asked, and access is granted.
/// Calendars by Evolution Data Server, which has no question to the user: access is granted where
/// it is installed. Main thread.
class PortalAuthorization : public QObject, public Authorization {
    Q_OBJECT

public:
    [[nodiscard]] AuthorizationStatus audioCaptureStatus() override;
    void requestAudioCapture(std::function<void(bool granted)> handler) override;
    void requestFullAccessToEvents(
        std::function<void(bool granted, const QString& error)> handler) override;

private Q_SLOTS:
    void onResponse(const QDBusMessage& response);

private:
    using Handler = std::function<void(bool)>;

    void answer(const QString& request, bool granted);

    /// By the object path of the portal's request.
    std::unordered_map<QString, Handler> m_requests;
    AuthorizationStatus m_withoutPortal = AuthorizationStatus::notDetermined;
};

} // namespace velmorin
