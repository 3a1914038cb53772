// SPDX-License-Identifier: MIT
#include "Platform/Freedesktop/AtSpiElement.h"

#include <QDBusArgument>
#include <QDBusReply>
#include <QDBusVariant>
#include <QElapsedTimer>

#include <algorithm>

namespace velmorin {

using namespace std::chrono_literals;

namespace {

constexpr char kAccessible[] = "Accessible";
constexpr char kText[] = "Text";
constexpr char kEditableText[] = "EditableText";

/// An application that has not answered a question by then hangs. Writes may take all of the purse:
/// an application that is laying out a long text answers late.
constexpr auto kReadLimit = 250ms;

QString interfaceName(const QString& name) {
    return QStringLiteral("org.a11y.atspi.") + name;
}

bool succeeded(const QDBusMessage& reply) {
    return reply.type() == QDBusMessage::ReplyMessage;
}

bool isTrue(const QDBusMessage& reply) {
    return succeeded(reply) && !reply.arguments().isEmpty() &&
           reply.arguments().constFirst().toBool();
}

} // namespace

AtSpiStates::AtSpiStates(const QDBusMessage& reply) {
    const QDBusReply<QList<uint>> words = reply;
    for (qsizetype i = 0; i < std::min<qsizetype>(words.value().size(), 2); ++i) {
        m_bits |= quint64{words.value().at(i)} << (32 * i);
    }
}

AtSpiElement::AtSpiElement(AtSpiBus& bus, AtSpiAddress address, std::optional<qint64> processId)
    : m_bus(bus), m_address(std::move(address)), m_processId(processId) {}

std::optional<AtSpiStates> AtSpiElement::states() {
    const QDBusMessage reply = call(message(kAccessible, "GetState"));
    return succeeded(reply) ? std::optional(AtSpiStates(reply)) : std::nullopt;
}

bool AtSpiElement::hasInterface(const QString& name) {
    if (!m_interfaces) {
        const QDBusReply<QStringList> reply = call(message(kAccessible, "GetInterfaces"));
        if (!reply.isValid()) {
            return false;
        }
        m_interfaces = reply.value();
    }
    return m_interfaces->contains(interfaceName(name));
}

std::optional<AtSpiElement::Range> AtSpiElement::selection() {
    const QDBusReply<int> count = call(message(kText, "GetNSelections"));
    if (!count.isValid()) {
        return std::nullopt;
    }
    if (count.value() < 1) {
        return Range{};
    }
    const QDBusMessage reply = call(message(kText, "GetSelection") << 0);
    if (!succeeded(reply) || reply.arguments().size() < 2) {
        return std::nullopt;
    }
    const int first = reply.arguments().at(0).toInt();
    const int second = reply.arguments().at(1).toInt();
    return Range{std::min(first, second), std::max(first, second)};
}

std::optional<int> AtSpiElement::characterCount() {
    return intProperty(kText, "CharacterCount");
}

std::optional<int> AtSpiElement::caretOffset() {
    return intProperty(kText, "CaretOffset");
}

std::optional<QString> AtSpiElement::text(Range range) {
    const QDBusReply<QString> reply = call(message(kText, "GetText") << range.start << range.end);
    return reply.isValid() ? std::optional(reply.value()) : std::nullopt;
}

bool AtSpiElement::setText(const QString& text) {
    return isTrue(call(message(kEditableText, "SetTextContents") << text));
}

bool AtSpiElement::insertText(int offset, const QString& text) {
    // GTK and LibreOffice take the length for bytes of UTF-8, Qt for UTF-16 units.
    const qsizetype length = isQt() ? text.size() : text.toUtf8().size();
    return isTrue(
        call(message(kEditableText, "InsertText") << offset << text << static_cast<int>(length)));
}

bool AtSpiElement::deleteText(Range range) {
    return isTrue(call(message(kEditableText, "DeleteText") << range.start << range.end));
}

void AtSpiElement::setCaretOffset(int offset) {
    m_bus.callAsync(message(kText, "SetCaretOffset") << offset, QDeadlineTimer(kReadLimit));
}

QDBusMessage AtSpiElement::message(const char* interface, const char* method) const {
    return QDBusMessage::createMethodCall(m_address.service, m_address.path,
                                          interfaceName(QString::fromLatin1(interface)),
                                          QString::fromLatin1(method));
}

QDBusMessage AtSpiElement::call(const QDBusMessage& message) {
    const bool writes = message.interface() == interfaceName(QString::fromLatin1(kEditableText));
    const std::chrono::nanoseconds limit = writes ? m_purse : std::min(m_purse, {kReadLimit});
    if (m_hung) {
        return message.createErrorReply(QDBusError::NoReply, QStringLiteral("hung"));
    }
    QElapsedTimer timer;
    timer.start();
    QDBusMessage reply = m_bus.call(message, QDeadlineTimer(limit));
    m_purse = std::max<std::chrono::nanoseconds>(
        m_purse - std::chrono::nanoseconds(timer.nsecsElapsed()), 0ns);
    const QDBusError error(reply);
    m_hung = error.type() == QDBusError::NoReply || error.type() == QDBusError::Timeout ||
             error.type() == QDBusError::TimedOut;
    return reply;
}

std::optional<int> AtSpiElement::intProperty(const char* interface, const char* name) {
    QDBusMessage get = QDBusMessage::createMethodCall(
        m_address.service, m_address.path, QStringLiteral("org.freedesktop.DBus.Properties"),
        QStringLiteral("Get"));
    get << interfaceName(QString::fromLatin1(interface)) << QString::fromLatin1(name);
    const QDBusReply<QDBusVariant> reply = call(get);
    bool isInt = false;
    const int value = reply.isValid() ? reply.value().variant().toInt(&isInt) : 0;
    return isInt ? std::optional(value) : std::nullopt;
}

bool AtSpiElement::isQt() {
    QDBusMessage get = QDBusMessage::createMethodCall(
        m_address.service, QStringLiteral("/org/a11y/atspi/accessible/root"),
        QStringLiteral("org.freedesktop.DBus.Properties"), QStringLiteral("Get"));
    get << interfaceName(QStringLiteral("Application")) << QStringLiteral("ToolkitName");
    const QDBusReply<QDBusVariant> reply = call(get);
    return reply.isValid() && reply.value().variant().toString() == QStringLiteral("Qt");
}

} // namespace velmorin
