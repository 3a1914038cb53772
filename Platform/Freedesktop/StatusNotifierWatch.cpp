// SPDX-License-Identifier: MIT
#include "Platform/Freedesktop/StatusNotifierWatch.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusReply>

namespace velmorin {

namespace {
const QString kWatcher = QStringLiteral("org.kde.StatusNotifierWatcher");
}

StatusNotifierWatch::StatusNotifierWatch()
    : m_watcher(kWatcher, QDBusConnection::sessionBus(),
                QDBusServiceWatcher::WatchForRegistration) {}

bool StatusNotifierWatch::isThere() const {
    const QDBusConnection bus = QDBusConnection::sessionBus();
    return bus.isConnected() && bus.interface()->isServiceRegistered(kWatcher).value();
}

void StatusNotifierWatch::onAppear(std::function<void()> handler) {
    QObject::connect(&m_watcher, &QDBusServiceWatcher::serviceRegistered, &m_watcher,
                     [handler = std::move(handler)] { handler(); });
}

} // namespace velmorin
