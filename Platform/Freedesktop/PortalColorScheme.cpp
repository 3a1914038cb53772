// SPDX-License-Identifier: MIT
#include "Platform/Freedesktop/PortalColorScheme.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusServiceWatcher>

namespace velmorin {

namespace {

constexpr uint kPreferDark = 1;

const QString kService = QStringLiteral("org.freedesktop.portal.Desktop");
const QString kPath = QStringLiteral("/org/freedesktop/portal/desktop");
const QString kInterface = QStringLiteral("org.freedesktop.portal.Settings");
const QString kGroup = QStringLiteral("org.freedesktop.appearance");
const QString kKey = QStringLiteral("color-scheme");

} // namespace

PortalColorScheme::PortalColorScheme(std::function<void(bool prefersDark)> onChange)
    : m_onChange(std::move(onChange)) {}

void PortalColorScheme::follow() {
    QDBusConnection bus = QDBusConnection::sessionBus();
    bus.connect(kService, kPath, kInterface, QStringLiteral("SettingChanged"), this,
                SLOT(onSettingChanged(QDBusMessage)));
    // A portal that starts later, or again, is asked as well.
    auto* watcher =
        new QDBusServiceWatcher(kService, bus, QDBusServiceWatcher::WatchForRegistration, this);
    connect(watcher, &QDBusServiceWatcher::serviceRegistered, this, &PortalColorScheme::read);
    read();
}

void PortalColorScheme::onSettingChanged(const QDBusMessage& signal) {
    const QVariantList arguments = signal.arguments();
    if (signal.signature() == QStringLiteral("ssv") && arguments[0] == kGroup &&
        arguments[1] == kKey) {
        take(arguments[2]);
    }
}

void PortalColorScheme::read() {
    QDBusMessage call =
        QDBusMessage::createMethodCall(kService, kPath, kInterface, QStringLiteral("Read"));
    call << kGroup << kKey;
    auto* watcher =
        new QDBusPendingCallWatcher(QDBusConnection::sessionBus().asyncCall(call), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, watcher] {
        watcher->deleteLater();
        const QDBusPendingReply<QDBusVariant> reply = *watcher;
        if (reply.isValid()) {
            take(reply.value().variant());
        }
    });
}

void PortalColorScheme::take(const QVariant& value) {
    // Read() wraps the value into one variant more than the signal does.
    QVariant scheme = value;
    while (scheme.canConvert<QDBusVariant>()) {
        scheme = scheme.value<QDBusVariant>().variant();
    }
    const bool prefersDark = scheme.toUInt() == kPreferDark;
    if (prefersDark != m_prefersDark) {
        m_prefersDark = prefersDark;
        m_onChange(prefersDark);
    }
}

} // namespace velmorin
