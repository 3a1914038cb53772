// SPDX-License-Identifier: MIT
#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCall>
#include <QDeadlineTimer>
#include <QObject>
#include <QString>

#include <future>
#include <memory>
#include <mutex>
#include <optional>

namespace velmorin {

/// The connection to the accessibility bus, which the session bus name `org.a11y.Bus` hands out.
///
/// Buses come and go: a lost one is connected to again as soon as it is back. Connecting happens on
/// a thread of its own, since it waits for the bus daemon as long as that likes; nothing else waits
/// longer than its caller says. Main thread.
class AtSpiBus : public QObject {
    Q_OBJECT

public:
    AtSpiBus();
    ~AtSpiBus() override;

    /// Whether the bus is there and the session has accessibility switched on
    /// (`org.a11y.Status.IsEnabled`). Waits for a connection that is being made until `deadline`.
    [[nodiscard]] bool isEnabled(const QDeadlineTimer& deadline);

    /// Whether the bus is connected, as far as is known without asking.
    [[nodiscard]] bool isConnected() const { return m_bus.has_value(); }

    /// Switches accessibility on for the session; lasts as long as the desktop keeps its settings.
    void enable();

    /// The session bus; disconnected when there is none (yet).
    [[nodiscard]] QDBusConnection session() const;

    /// Calls a method on the accessibility bus and returns its reply, which is an error message
    /// when it did not arrive by `deadline`.
    [[nodiscard]] QDBusMessage call(const QDBusMessage& message, const QDeadlineTimer& deadline);

    /// The same without waiting; the reply is an error message after `deadline`.
    QDBusPendingCall callAsync(const QDBusMessage& message, const QDeadlineTimer& deadline);

Q_SIGNALS:
    /// An element of the application `service` got the keyboard focus.
    void focused(const QString& service, const QString& path);
    /// The session bus is connected.
    void sessionConnected();
    /// The accessibility bus is connected, perhaps another one than before: nothing that was learnt
    /// of services and objects on it holds any more.
    void busConnected();

private Q_SLOTS:
    void onStateChanged(const QDBusMessage& message);
    void onStatusChanged(const QString& interface, const QVariantMap& changed,
                         const QStringList& invalidated);
    void onDisconnected();
    void onBusOwnerChanged(const QString& name, const QString& oldOwner, const QString& newOwner);

private:
    struct Connected {
        std::optional<QDBusConnection> session;
        std::optional<QDBusConnection> bus;
        bool enabled = false;
    };

    /// For the connecting thread, which may end after the bus.
    struct Self {
        std::mutex mutex;
        AtSpiBus* bus;
    };

    static Connected connectBuses(std::optional<QDBusConnection> session, const QString& busName);
    void startConnecting();
    void adopt();
    void askStatus();
    void waitUntilConnected(const QDeadlineTimer& deadline);
    void dropBus();

    std::shared_ptr<Self> m_self = std::make_shared<Self>();
    std::optional<QDBusConnection> m_session;
    std::optional<QDBusConnection> m_bus;
    std::future<Connected> m_connecting;
    bool m_enabled = false;
    static inline int connectionCount = 0; ///< QtDBus knows each by a name of its own.
    QString m_busName;
};

} // namespace velmorin
