// SPDX-License-Identifier: MIT
#include "Platform/Freedesktop/AccessibilityOffer.h"

#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>

namespace velmorin {

namespace {
const QString kService = QStringLiteral("org.freedesktop.Notifications");
const QString kPath = QStringLiteral("/org/freedesktop/Notifications");
const QString kEnableAction = QStringLiteral("enable");
} // namespace

AccessibilityOffer::AccessibilityOffer(AtSpiBus& bus) : m_bus(bus) {
    connect(&m_bus, &AtSpiBus::sessionConnected, this, [this] {
        if (m_wanted) {
            send();
        }
    });
}

void AccessibilityOffer::show() {
    m_wanted = true;
    if (m_bus.session().isConnected()) {
        send();
    }
}

void AccessibilityOffer::send() {
    if (m_sent) {
        return;
    }
    m_sent = true;
    QDBusConnection session = m_bus.session();
    session.connect(kService, kPath, kService, QStringLiteral("ActionInvoked"), this,
                    SLOT(onActionInvoked(uint, QString)));
    QDBusMessage notify =
        QDBusMessage::createMethodCall(kService, kPath, kService, QStringLiteral("Notify"));
    notify << QStringLiteral("Velmorin") << 0U
           << QStringLiteral("preferences-desktop-accessibility")
           << QStringLiteral("Let Velmorin read and write text fields?")
           << QStringLiteral("This switches the desktop's accessibility on. Programs that are "
                             "already running join when they are started again.")
           << QStringList{kEnableAction, QStringLiteral("Switch on")} << QVariantMap() << 0;
    auto* watcher = new QDBusPendingCallWatcher(session.asyncCall(notify), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this,
            [this](QDBusPendingCallWatcher* finished) {
                const QDBusPendingReply<uint> reply = *finished;
                m_notification = reply.isValid() ? reply.value() : 0;
                finished->deleteLater();
            });
}

void AccessibilityOffer::onActionInvoked(uint notification, const QString& action) {
    if (m_notification != 0 && notification == m_notification && action == kEnableAction) {
        m_bus.enable();
    }
}

} // namespace velmorin
