// SPDX-License-Identifier: MIT
#include "Platform/Freedesktop/SingleInstance.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusReply>

namespace velmorin {

namespace {

constexpr int kAnswerLimitMs = 5000;

const QString& busName() {
    static const QString name = QStringLiteral("org.velmorin.Velmorin");
    return name;
}

const QString& objectPath() {
    static const QString path = QStringLiteral("/org/velmorin/Velmorin");
    return path;
}

const QString& interfaceName() {
    static const QString name = QStringLiteral("org.freedesktop.Application");
    return name;
}

/// What the desktop gave this process to prove that its user started it.
QVariantMap platformData() {
    QVariantMap data;
    for (const auto& [key, variable] : {std::pair("desktop-startup-id", "DESKTOP_STARTUP_ID"),
                                        std::pair("activation-token", "XDG_ACTIVATION_TOKEN")}) {
        if (qEnvironmentVariableIsSet(variable)) {
            data.insert(QString::fromLatin1(key), qEnvironmentVariable(variable));
        }
    }
    return data;
}

} // namespace

SingleInstance::SingleInstance(std::function<void()> activate) : m_activate(std::move(activate)) {}

SingleInstance::~SingleInstance() {
    QDBusConnection bus = QDBusConnection::sessionBus();
    bus.unregisterObject(objectPath());
    bus.unregisterService(busName());
}

SingleInstance::Outcome SingleInstance::acquire() {
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected()) {
        return Outcome::first;
    }
    // The object first: who finds the name may ask at once.
    bus.registerVirtualObject(objectPath(), this);
    const QDBusReply<QDBusConnectionInterface::RegisterServiceReply> reply =
        bus.interface()->registerService(busName(), QDBusConnectionInterface::DontQueueService);
    if (!reply.isValid() || reply.value() == QDBusConnectionInterface::ServiceRegistered) {
        return Outcome::first;
    }
    QDBusMessage activate = QDBusMessage::createMethodCall(busName(), objectPath(), interfaceName(),
                                                           QStringLiteral("Activate"));
    activate << platformData();
    const QDBusMessage answer = bus.call(activate, QDBus::Block, kAnswerLimitMs);
    return answer.type() == QDBusMessage::ReplyMessage ? Outcome::handedOver : Outcome::noAnswer;
}

QString SingleInstance::introspect(const QString& /*path*/) const {
    return QStringLiteral(R"(  <interface name="org.freedesktop.Application">
    <method name="Activate">
      <arg type="a{sv}" name="platform_data" direction="in"/>
    </method>
    <method name="Open">
      <arg type="as" name="uris" direction="in"/>
      <arg type="a{sv}" name="platform_data" direction="in"/>
    </method>
    <method name="ActivateAction">
      <arg type="s" name="action_name" direction="in"/>
      <arg type="av" name="parameter" direction="in"/>
      <arg type="a{sv}" name="platform_data" direction="in"/>
    </method>
  </interface>
)");
}

bool SingleInstance::handleMessage(const QDBusMessage& message, const QDBusConnection& connection) {
    const QString member = message.member();
    const QString signature = message.signature();
    if (message.interface() != interfaceName() && !message.interface().isEmpty()) {
        return false;
    }
    const bool isRequest = (member == QStringLiteral("Activate") && signature == u"a{sv}") ||
                           (member == QStringLiteral("Open") && signature == u"asa{sv}") ||
                           (member == QStringLiteral("ActivateAction") && signature == u"sava{sv}");
    if (!isRequest) {
        connection.send(message.createErrorReply(
            QDBusError::UnknownMethod,
            QStringLiteral("No method %1 with signature \"%2\"").arg(member, signature)));
        return true;
    }
    if (message.isReplyRequired()) {
        connection.send(message.createReply());
    }
    m_activate();
    return true;
}

} // namespace velmorin
