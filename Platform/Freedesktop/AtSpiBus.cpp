// SPDX-License-Identifier: MIT
#include "Platform/Freedesktop/AtSpiBus.h"

#include <QDBusPendingCallWatcher>
#include <QDBusReply>
#include <QDBusVariant>

#include <algorithm>
#include <chrono>
#include <limits>
#include <thread>

#include <dbus/dbus.h>

namespace velmorin {

using namespace std::chrono_literals;

namespace {

constexpr char kBusService[] = "org.a11y.Bus";
constexpr char kBusPath[] = "/org/a11y/bus";
constexpr char kStatusInterface[] = "org.a11y.Status";
constexpr char kProperties[] = "org.freedesktop.DBus.Properties";
constexpr char kLocalPath[] = "/org/freedesktop/DBus/Local";
constexpr char kLocalInterface[] = "org.freedesktop.DBus.Local";
constexpr auto kSetUpTimeout = 5s; // on the connecting thread, the launcher may have to start

QString latin1(const char* text) {
    return QString::fromLatin1(text);
}

QDBusMessage busCall(const char* interface, const char* method) {
    return QDBusMessage::createMethodCall(latin1(kBusService), latin1(kBusPath), latin1(interface),
                                          latin1(method));
}

QDBusMessage statusQuestion() {
    return busCall(kProperties, "Get") << latin1(kStatusInterface) << QStringLiteral("IsEnabled");
}

int milliseconds(std::chrono::milliseconds time) {
    return static_cast<int>(time.count());
}

/// Whether the bus lets us in. QtDBus makes every connection on one thread, on which all else waits
/// for its answers; a daemon that hangs must hang this thread only.
bool answers(const QString& address) {
    dbus_threads_init_default();
    DBusConnection* connection =
        dbus_connection_open_private(address.toUtf8().constData(), nullptr);
    if (connection == nullptr) {
        return false;
    }
    dbus_connection_set_exit_on_disconnect(connection, FALSE);
    // Not dbus_bus_register(), which holds a lock that every other connection needs.
    DBusMessage* hello = dbus_message_new_method_call(DBUS_SERVICE_DBUS, DBUS_PATH_DBUS,
                                                      DBUS_INTERFACE_DBUS, "Hello");
    DBusMessage* reply = dbus_connection_send_with_reply_and_block(
        connection, hello, milliseconds(kSetUpTimeout), nullptr);
    const bool isAnswered = reply != nullptr;
    if (reply != nullptr) {
        dbus_message_unref(reply);
    }
    dbus_message_unref(hello);
    dbus_connection_close(connection);
    dbus_connection_unref(connection);
    return isAnswered;
}

} // namespace

AtSpiBus::AtSpiBus() {
    m_self->bus = this;
    startConnecting();
}

AtSpiBus::~AtSpiBus() {
    {
        const std::lock_guard guard(m_self->mutex);
        m_self->bus = nullptr;
    }
    dropBus();
}

bool AtSpiBus::isEnabled(const QDeadlineTimer& deadline) {
    if (!m_bus && !m_connecting.valid()) {
        startConnecting();
    }
    if (!m_bus) {
        waitUntilConnected(deadline);
    }
    if (m_bus && !m_bus->isConnected()) {
        onDisconnected();
    }
    return m_bus && m_enabled;
}

void AtSpiBus::enable() {
    if (!m_session) {
        return;
    }
    QDBusMessage set = busCall(kProperties, "Set");
    set << latin1(kStatusInterface) << QStringLiteral("IsEnabled")
        << QVariant::fromValue(QDBusVariant(true));
    m_session->asyncCall(set);
}

QDBusConnection AtSpiBus::session() const {
    // Each name that is looked up waits for a connection that is being made.
    return m_session ? *m_session : QDBusConnection(QStringLiteral("velmorin-none"));
}

QDBusMessage AtSpiBus::call(const QDBusMessage& message, const QDeadlineTimer& deadline) {
    QDBusPendingCall pending = callAsync(message, deadline);
    pending.waitForFinished();
    return pending.reply();
}

QDBusPendingCall AtSpiBus::callAsync(const QDBusMessage& message, const QDeadlineTimer& deadline) {
    if (!m_bus || deadline.hasExpired()) {
        return QDBusPendingCall::fromError(
            QDBusError(QDBusError::NoReply, QStringLiteral("no bus, or no time left")));
    }
    // The greatest number is libdbus's "no limit".
    const int limit = deadline.isForever()
                          ? std::numeric_limits<int>::max()
                          : static_cast<int>(std::max<qint64>(deadline.remainingTime(), 1));
    return m_bus->asyncCall(message, limit);
}

void AtSpiBus::startConnecting() {
    if (m_connecting.valid()) {
        return;
    }
    m_busName = QStringLiteral("velmorin-a11y-%1").arg(++connectionCount);
    std::promise<Connected> promise;
    m_connecting = promise.get_future();
    // Detached, not joined: a bus daemon that hangs must not keep the program from ending.
    std::thread([promise = std::move(promise), session = m_session, name = m_busName,
                 self = m_self]() mutable {
        promise.set_value(connectBuses(std::move(session), name));
        const std::lock_guard guard(self->mutex);
        if (self->bus != nullptr) {
            QMetaObject::invokeMethod(self->bus, &AtSpiBus::adopt, Qt::QueuedConnection);
        }
    }).detach();
}

AtSpiBus::Connected AtSpiBus::connectBuses(std::optional<QDBusConnection> session,
                                           const QString& busName) {
    Connected connected{std::move(session), std::nullopt, false};
    if (!connected.session) {
        QDBusConnection own = QDBusConnection::connectToBus(QDBusConnection::SessionBus,
                                                            QStringLiteral("velmorin-session"));
        if (!own.isConnected()) {
            QDBusConnection::disconnectFromBus(QStringLiteral("velmorin-session"));
            return connected;
        }
        connected.session = std::move(own);
    }
    const QDBusReply<QString> address = connected.session->call(
        busCall(kBusService, "GetAddress"), QDBus::Block, milliseconds(kSetUpTimeout));
    if (!address.isValid() || !answers(address.value())) {
        return connected;
    }
    const QDBusReply<QDBusVariant> enabled =
        connected.session->call(statusQuestion(), QDBus::Block, milliseconds(kSetUpTimeout));
    connected.enabled = enabled.isValid() && enabled.value().variant().toBool();

    QDBusConnection bus = QDBusConnection::connectToBus(address.value(), busName);
    if (!bus.isConnected()) {
        QDBusConnection::disconnectFromBus(busName);
        return connected;
    }
    // Applications send only the events that somebody has asked for.
    QDBusMessage registerEvent = QDBusMessage::createMethodCall(
        QStringLiteral("org.a11y.atspi.Registry"), QStringLiteral("/org/a11y/atspi/registry"),
        QStringLiteral("org.a11y.atspi.Registry"), QStringLiteral("RegisterEvent"));
    registerEvent << QStringLiteral("object:state-changed:focused");
    std::ignore = bus.call(registerEvent, QDBus::Block, milliseconds(kSetUpTimeout));
    connected.bus = std::move(bus);
    return connected;
}

void AtSpiBus::adopt() {
    if (!m_connecting.valid() || m_connecting.wait_for(0s) != std::future_status::ready) {
        return;
    }
    Connected connected = m_connecting.get();
    if (!m_session && connected.session) {
        m_session = connected.session;
        m_session->connect(latin1(kBusService), latin1(kBusPath), latin1(kProperties),
                           QStringLiteral("PropertiesChanged"), this,
                           SLOT(onStatusChanged(QString, QVariantMap, QStringList)));
        m_session->connect(QStringLiteral("org.freedesktop.DBus"),
                           QStringLiteral("/org/freedesktop/DBus"),
                           QStringLiteral("org.freedesktop.DBus"),
                           QStringLiteral("NameOwnerChanged"), {latin1(kBusService)}, QString(),
                           this, SLOT(onBusOwnerChanged(QString, QString, QString)));
        Q_EMIT sessionConnected();
    }
    m_enabled = connected.enabled;
    m_bus = std::move(connected.bus);
    if (m_session) {
        askStatus();
    }
    if (!m_bus) {
        return;
    }
    m_bus->connect(QString(), QString(), QStringLiteral("org.a11y.atspi.Event.Object"),
                   QStringLiteral("StateChanged"), {QStringLiteral("focused")}, QString(), this,
                   SLOT(onStateChanged(QDBusMessage)));
    m_bus->connect(QString(), latin1(kLocalPath), latin1(kLocalInterface),
                   QStringLiteral("Disconnected"), this, SLOT(onDisconnected()));
    Q_EMIT busConnected();
}

/// Asks again: it may have changed while the connection was being made.
void AtSpiBus::askStatus() {
    auto* watcher = new QDBusPendingCallWatcher(m_session->asyncCall(statusQuestion()), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, watcher] {
        watcher->deleteLater();
        const QDBusReply<QDBusVariant> enabled = *watcher;
        if (enabled.isValid()) {
            m_enabled = enabled.value().variant().toBool();
        }
    });
}

void AtSpiBus::waitUntilConnected(const QDeadlineTimer& deadline) {
    if (m_connecting.valid() && m_connecting.wait_for(std::max(deadline.remainingTimeAsDuration(),
                                                               0ns)) == std::future_status::ready) {
        adopt();
    }
}

void AtSpiBus::dropBus() {
    if (m_bus) {
        m_bus.reset();
        QDBusConnection::disconnectFromBus(m_busName);
    }
}

void AtSpiBus::onStateChanged(const QDBusMessage& message) {
    // Arguments: the state's name, 1 for gained or 0 for lost, ...
    const QVariantList arguments = message.arguments();
    if (arguments.size() >= 2 && arguments.at(1).toInt() == 1) {
        Q_EMIT focused(message.service(), message.path());
    }
}

void AtSpiBus::onStatusChanged(const QString& interface, const QVariantMap& changed,
                               const QStringList& /*invalidated*/) {
    const auto enabled = changed.constFind(QStringLiteral("IsEnabled"));
    if (interface == latin1(kStatusInterface) && enabled != changed.constEnd()) {
        m_enabled = enabled->toBool();
    }
}

void AtSpiBus::onDisconnected() {
    dropBus();
    startConnecting();
}

void AtSpiBus::onBusOwnerChanged(const QString& /*name*/, const QString& /*oldOwner*/,
                                 const QString& newOwner) {
    if (!newOwner.isEmpty() && !m_bus) {
        startConnecting();
    }
}

} // namespace velmorin
