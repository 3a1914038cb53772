// SPDX-License-Identifier: MIT
#include "Platform/Freedesktop/PortalAuthorization.h"

#include <QCoreApplication>
#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QUuid>

namespace velmorin {

namespace {

constexpr int kLookupLimitMs = 250;
constexpr uint kGranted = 0; // a request's response; 1 is a refusal, 2 another end

const QString kPortal = QStringLiteral("org.freedesktop.portal.Desktop");
const QString kRequest = QStringLiteral("org.freedesktop.portal.Request");
const QString kMicrophone = QStringLiteral("microphone");

/// What programs outside of a sandbox are called.
const QString kHostProgram = QStringLiteral("");

/// Calls `handler` with the answer, and ends with `owner`.
void onReply(QObject* owner, const QDBusPendingCall& call,
             std::function<void(const QDBusMessage&)> handler) {
    auto* watcher = new QDBusPendingCallWatcher(call, owner);
    QObject::connect(watcher, &QDBusPendingCallWatcher::finished, owner,
                     [watcher, handler = std::move(handler)] {
                         watcher->deleteLater();
                         handler(watcher->reply());
                     });
}

/// The path that the portal will give to the request with this token.
QString requestPath(const QDBusConnection& bus, const QString& token) {
    QString sender = bus.baseService().mid(1);
    return QStringLiteral("/org/freedesktop/portal/desktop/request/%1/%2")
        .arg(sender.replace(u'.', u'_'), token);
}

bool isMissing(const QDBusMessage& error) {
    const QString name = error.errorName();
    return name.endsWith(QStringLiteral(".ServiceUnknown")) ||
           name.endsWith(QStringLiteral(".UnknownMethod")) ||
           name.endsWith(QStringLiteral(".UnknownInterface")) ||
           name.endsWith(QStringLiteral(".Disconnected")) ||
           name.contains(QStringLiteral(".Spawn."));
}

} // namespace

AuthorizationStatus PortalAuthorization::audioCaptureStatus() {
    QDBusMessage lookup = QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.impl.portal.PermissionStore"),
        QStringLiteral("/org/freedesktop/impl/portal/PermissionStore"),
        QStringLiteral("org.freedesktop.impl.portal.PermissionStore"), QStringLiteral("Lookup"));
    lookup << QStringLiteral("devices") << kMicrophone;
    const QDBusMessage reply =
        QDBusConnection::sessionBus().call(lookup, QDBus::Block, kLookupLimitMs);
    if (reply.signature() != QStringLiteral("a{sas}v")) {
        return m_withoutPortal; // no store, or nothing in it
    }
    const auto permissions = qdbus_cast<QMap<QString, QStringList>>(reply.arguments().constFirst());
    const QString said = permissions.value(kHostProgram).value(0);
    if (said == QStringLiteral("yes")) {
        return AuthorizationStatus::authorized;
    }
    return said == QStringLiteral("no") ? AuthorizationStatus::denied
                                        : AuthorizationStatus::notDetermined;
}

void PortalAuthorization::requestAudioCapture(std::function<void(bool granted)> handler) {
    QDBusConnection bus = QDBusConnection::sessionBus();
    const QString token = QStringLiteral("velmorin_") + QUuid::createUuid().toString(QUuid::Id128);
    const QString path = requestPath(bus, token);
    m_requests[path] = std::move(handler);
    // Before the call: the answer may be there as soon as its reply.
    bus.connect(kPortal, path, kRequest, QStringLiteral("Response"), this,
                SLOT(onResponse(QDBusMessage)));
    QDBusMessage call = QDBusMessage::createMethodCall(
        kPortal, QStringLiteral("/org/freedesktop/portal/desktop"),
        QStringLiteral("org.freedesktop.portal.Device"), QStringLiteral("AccessDevice"));
    call << static_cast<uint>(QCoreApplication::applicationPid()) << QStringList{kMicrophone}
         << QVariantMap{{QStringLiteral("handle_token"), token}};
    onReply(this, bus.asyncCall(call), [this, path](const QDBusMessage& reply) {
        if (reply.type() != QDBusMessage::ErrorMessage) {
            return; // the user is being asked
        }
        if (isMissing(reply)) {
            m_withoutPortal = AuthorizationStatus::authorized;
        }
        answer(path, isMissing(reply));
    });
}

void PortalAuthorization::onResponse(const QDBusMessage& response) {
    answer(response.path(), response.arguments().value(0).toUInt() == kGranted);
}

void PortalAuthorization::answer(const QString& request, bool granted) {
    QDBusConnection::sessionBus().disconnect(kPortal, request, kRequest, QStringLiteral("Response"),
                                             this, SLOT(onResponse(QDBusMessage)));
    if (const auto node = m_requests.extract(request)) {
        node.mapped()(granted);
    }
}

void PortalAuthorization::requestFullAccessToEvents(
    std::function<void(bool granted, const QString& error)> handler) {
    const QDBusMessage call = QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.DBus"), QStringLiteral("/org/freedesktop/DBus"),
        QStringLiteral("org.freedesktop.DBus"), QStringLiteral("ListActivatableNames"));
    onReply(
        this, QDBusConnection::sessionBus().asyncCall(call),
        [handler = std::move(handler)](const QDBusMessage& reply) {
            const QStringList names = reply.arguments().value(0).toStringList();
            const bool isThere =
                !names.filter(QStringLiteral("org.gnome.evolution.dataserver.Calendar")).isEmpty();
            handler(isThere, isThere ? QString() : QStringLiteral("there is no calendar service"));
        });
}

} // namespace velmorin
