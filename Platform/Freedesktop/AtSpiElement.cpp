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

/// An application that has not answered a question by then hangs.
constexpr auto kReadLimit = 250ms;
/// An application that is laying out a long text answers late.
constexpr auto kWriteLimit = 2s;

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

void AtSpiElement::askAhead(const Questions& questions) {
    askAhead(questions, readLimit());
}

void AtSpiElement::askAhead(const Questions& questions, std::chrono::nanoseconds limit) {
    m_ahead.clear();
    const auto askOne = [this, limit](const QDBusMessage& question) {
        m_ahead.emplace_back(question, send(question, limit));
    };
    if (questions.states) {
        askOne(message(kAccessible, "GetState"));
    }
    if (questions.interfaces && !m_interfaces) {
        askOne(message(kAccessible, "GetInterfaces"));
    }
    if (questions.selection) {
        askOne(message(kText, "GetNSelections"));
        askOne(message(kText, "GetSelection") << 0);
    }
    if (questions.characterCount) {
        askOne(property(kText, "CharacterCount"));
    }
    if (questions.caretOffset) {
        askOne(property(kText, "CaretOffset"));
    }
    if (questions.toolkit && !m_isQt) {
        askOne(toolkitName());
    }
    if (questions.text) {
        askOne(textMessage(*questions.text));
    }
}

std::optional<AtSpiStates> AtSpiElement::states() {
    const QDBusMessage reply = ask(message(kAccessible, "GetState"));
    return succeeded(reply) ? std::optional(AtSpiStates(reply)) : std::nullopt;
}

bool AtSpiElement::hasInterface(const QString& name) {
    if (!m_interfaces) {
        const QDBusReply<QStringList> reply = ask(message(kAccessible, "GetInterfaces"));
        if (!reply.isValid()) {
            return false;
        }
        m_interfaces = reply.value();
    }
    return m_interfaces->contains(interfaceName(name));
}

std::optional<AtSpiElement::Range> AtSpiElement::selection() {
    const QDBusReply<int> count = ask(message(kText, "GetNSelections"));
    if (!count.isValid()) {
        return std::nullopt;
    }
    if (count.value() < 1) {
        return Range{};
    }
    const QDBusMessage reply = ask(message(kText, "GetSelection") << 0);
    if (!succeeded(reply) || reply.arguments().size() < 2) {
        return std::nullopt;
    }
    const int first = reply.arguments().at(0).toInt();
    const int second = reply.arguments().at(1).toInt();
    return Range{std::min(first, second), std::max(first, second)};
}

std::optional<int> AtSpiElement::characterCount() {
    m_lastCount = askInt(property(kText, "CharacterCount"));
    return m_lastCount;
}

std::optional<int> AtSpiElement::caretOffset() {
    return askInt(property(kText, "CaretOffset"));
}

std::optional<QString> AtSpiElement::text(Range range) {
    const QDBusReply<QString> reply = ask(textMessage(range));
    return reply.isValid() ? std::optional(reply.value()) : std::nullopt;
}

std::optional<QString> AtSpiElement::selectedText(Range range) {
    std::optional<QString> selected =
        range.start == range.end ? std::optional(QString()) : text(range);
    m_lastSelected = selected ? std::optional(Selected{range, *selected}) : std::nullopt;
    return selected;
}

std::optional<AtSpiElement::Range> AtSpiElement::knownSelection() const {
    return m_lastSelected ? std::optional(m_lastSelected->range) : std::nullopt;
}

std::optional<QString> AtSpiElement::value() {
    const std::optional<int> count = characterCount();
    m_lastValue = count ? text({0, *count}) : std::nullopt;
    return m_lastValue;
}

std::optional<AtSpiElement::Range> AtSpiElement::knownExtent() const {
    return m_lastCount ? std::optional(Range{0, *m_lastCount}) : std::nullopt;
}

int AtSpiElement::lengthOf(const QString& text) {
    return static_cast<int>(isQt() ? text.size() : text.toUcs4().size());
}

bool AtSpiElement::setText(const QString& text, const Questions& then) {
    return write(message(kEditableText, "SetTextContents") << text, then);
}

bool AtSpiElement::insertText(int offset, const QString& text, const Questions& then) {
    // GTK and LibreOffice take the length for bytes of UTF-8, Qt for UTF-16 units.
    const qsizetype length = isQt() ? text.size() : text.toUtf8().size();
    return write(message(kEditableText, "InsertText") << offset << text << static_cast<int>(length),
                 then);
}

bool AtSpiElement::deleteText(Range range, const Questions& then) {
    return write(message(kEditableText, "DeleteText") << range.start << range.end, then);
}

void AtSpiElement::setCaretOffset(int offset) {
    send(message(kText, "SetCaretOffset") << offset, kReadLimit);
}

QDBusMessage AtSpiElement::message(const char* interface, const char* method) const {
    return QDBusMessage::createMethodCall(m_address.service, m_address.path,
                                          interfaceName(QString::fromLatin1(interface)),
                                          QString::fromLatin1(method));
}

QDBusMessage AtSpiElement::property(const char* interface, const char* name) const {
    return QDBusMessage::createMethodCall(m_address.service, m_address.path,
                                          QStringLiteral("org.freedesktop.DBus.Properties"),
                                          QStringLiteral("Get"))
           << interfaceName(QString::fromLatin1(interface)) << QString::fromLatin1(name);
}

QDBusMessage AtSpiElement::toolkitName() const {
    return QDBusMessage::createMethodCall(
               m_address.service, QStringLiteral("/org/a11y/atspi/accessible/root"),
               QStringLiteral("org.freedesktop.DBus.Properties"), QStringLiteral("Get"))
           << interfaceName(QStringLiteral("Application")) << QStringLiteral("ToolkitName");
}

QDBusMessage AtSpiElement::textMessage(Range range) const {
    return message(kText, "GetText") << range.start << range.end;
}

std::chrono::nanoseconds AtSpiElement::readLimit() const {
    return std::min(m_purse, std::chrono::nanoseconds(kReadLimit));
}

QDBusPendingCall AtSpiElement::send(const QDBusMessage& message,
                                    std::chrono::nanoseconds limit) const {
    if (m_hung) {
        return QDBusPendingCall::fromError(QDBusError(QDBusError::NoReply, QStringLiteral("hung")));
    }
    return m_bus.callAsync(message, QDeadlineTimer(limit));
}

QDBusMessage AtSpiElement::ask(const QDBusMessage& question) {
    const auto isSame = [&question](const auto& asked) {
        return asked.first.path() == question.path() &&
               asked.first.interface() == question.interface() &&
               asked.first.member() == question.member() &&
               asked.first.arguments() == question.arguments();
    };
    const auto asked = std::find_if(m_ahead.begin(), m_ahead.end(), isSame);
    if (asked == m_ahead.end()) {
        return await(send(question, readLimit()));
    }
    const QDBusPendingCall pending = asked->second;
    m_ahead.erase(asked);
    return await(pending);
}

bool AtSpiElement::write(const QDBusMessage& message, const Questions& then) {
    const QDBusPendingCall pending = send(message, kWriteLimit);
    m_hasWritten = true;
    askAhead(then, kWriteLimit);
    const bool isAccepted = isTrue(await(pending));
    m_purse = purse;
    return isAccepted;
}

QDBusPendingCall AtSpiElement::whenAllIsHandled() const {
    return m_bus.callAsync(property(kText, "CharacterCount"),
                           QDeadlineTimer(QDeadlineTimer::Forever));
}

QDBusMessage AtSpiElement::await(const QDBusPendingCall& pending) {
    if (m_hung) {
        return QDBusMessage::createError(QDBusError::NoReply, QStringLiteral("hung"));
    }
    QElapsedTimer timer;
    timer.start();
    QDBusPendingCall answer = pending;
    answer.waitForFinished();
    m_purse = std::max<std::chrono::nanoseconds>(
        m_purse - std::chrono::nanoseconds(timer.nsecsElapsed()), 0ns);
    const QDBusError error = answer.error();
    m_hung = error.type() == QDBusError::NoReply || error.type() == QDBusError::Timeout ||
             error.type() == QDBusError::TimedOut;
    return answer.reply();
}

std::optional<int> AtSpiElement::askInt(const QDBusMessage& question) {
    const QDBusReply<QDBusVariant> reply = ask(question);
    bool isInt = false;
    const int value = reply.isValid() ? reply.value().variant().toInt(&isInt) : 0;
    return isInt ? std::optional(value) : std::nullopt;
}

bool AtSpiElement::isQt() {
    if (!m_isQt) {
        const QDBusReply<QDBusVariant> reply = ask(toolkitName());
        m_isQt = reply.isValid() && reply.value().variant().toString() == QStringLiteral("Qt");
    }
    return *m_isQt;
}

} // namespace velmorin
