// SPDX-License-Identifier: MIT
#include "Platform/Freedesktop/AtSpiFocus.h"

#include <QCoreApplication>
#include <QDBusArgument>
#include <QDBusObjectPath>
#include <QDBusReply>

#include <algorithm>
#include <chrono>

namespace velmorin {

using namespace std::chrono_literals;

namespace {

constexpr size_t kRecentLimit = 8;
constexpr auto kSearchLimit = 300ms;
constexpr auto kSettleLimit = 250ms;

QDBusMessage accessibleCall(const AtSpiAddress& address, const char* method) {
    return QDBusMessage::createMethodCall(address.service, address.path,
                                          QStringLiteral("org.a11y.atspi.Accessible"),
                                          QString::fromLatin1(method));
}

/// The objects of a reply of type a(so).
std::vector<AtSpiAddress> addressesOf(const QDBusMessage& reply) {
    std::vector<AtSpiAddress> addresses;
    if (reply.signature() != QStringLiteral("a(so)")) {
        return addresses;
    }
    const auto array = reply.arguments().constFirst().value<QDBusArgument>();
    array.beginArray();
    while (!array.atEnd()) {
        AtSpiAddress address;
        QDBusObjectPath path;
        array.beginStructure();
        array >> address.service >> path;
        array.endStructure();
        address.path = path.path();
        addresses.push_back(std::move(address));
    }
    array.endArray();
    return addresses;
}

} // namespace

AtSpiFocus::AtSpiFocus(AtSpiBus& bus) : m_bus(bus) {
    connect(&m_bus, &AtSpiBus::focused, this, [this](const QString& service, const QString& path) {
        remember({service, path});
    });
    connect(&m_bus, &AtSpiBus::busConnected, this, [this] {
        m_recent.clear();
        m_processes.clear();
    });
}

std::shared_ptr<AtSpiElement> AtSpiFocus::find(qint64 processId) {
    const QDeadlineTimer deadline(kSearchLimit);
    // The press of the hotkey has just taken the focus away and given it back, and the application
    // may not have noticed yet: its answers are waited for until they make sense.
    const QDeadlineTimer settled(kSettleLimit);
    do {
        const Found known = findAmongRecent(processId, deadline);
        if (known.element || known.isHung) {
            return known.element;
        }
        if (known.isSettled) {
            break;
        }
        // What the applications have told since then waits for the event loop.
        QCoreApplication::sendPostedEvents(&m_bus, QEvent::MetaCall);
    } while (!settled.hasExpired());

    std::shared_ptr<AtSpiElement> focused;
    const std::vector<AtSpiAddress> applications = applicationsOf(processId, deadline);
    while (!applications.empty() && !focused && !deadline.hasExpired()) {
        focused = search(applications, processId, deadline);
    }
    return focused;
}

AtSpiFocus::Found AtSpiFocus::findAmongRecent(qint64 processId, const QDeadlineTimer& deadline) {
    Found found;
    bool anyFocused = false;
    bool anyUnfocused = false;
    for (const AtSpiAddress& address : m_recent) {
        if (deadline.hasExpired()) {
            break;
        }
        if (processOf(address.service, deadline) != processId) {
            continue;
        }
        auto element = std::make_shared<AtSpiElement>(m_bus, address, processId);
        element->askAhead(
            {.states = true, .interfaces = true},
            std::min<std::chrono::nanoseconds>(kSettleLimit, deadline.remainingTimeAsDuration()));
        const std::optional<AtSpiStates> states = element->states();
        found.isHung = element->isHung();
        if (found.isHung) {
            return found;
        }
        if (!states) {
            continue; // the object is no more
        }
        if (states->has(AtSpiStates::focused)) {
            if (element->hasInterface(QStringLiteral("Text"))) {
                found.element = element;
                return found;
            }
            anyFocused = true;
        } else {
            anyUnfocused = true;
        }
    }
    found.isSettled = anyFocused || !anyUnfocused;
    return found;
}

void AtSpiFocus::remember(const AtSpiAddress& address) {
    std::erase(m_recent, address);
    m_recent.push_front(address);
    if (m_recent.size() > kRecentLimit) {
        m_recent.pop_back();
    }
}

std::optional<qint64> AtSpiFocus::processOf(const QString& service,
                                            const QDeadlineTimer& deadline) {
    // A bus never gives out a unique name twice, so what was learnt stays true as long as it is
    // there.
    const auto known = m_processes.constFind(service);
    if (known != m_processes.constEnd()) {
        return *known;
    }
    const QDBusReply<uint> reply =
        m_bus.call(QDBusMessage::createMethodCall(QStringLiteral("org.freedesktop.DBus"),
                                                  QStringLiteral("/org/freedesktop/DBus"),
                                                  QStringLiteral("org.freedesktop.DBus"),
                                                  QStringLiteral("GetConnectionUnixProcessID"))
                       << service,
                   deadline);
    if (!reply.isValid()) {
        return std::nullopt;
    }
    m_processes.insert(service, reply.value());
    return reply.value();
}

std::vector<AtSpiAddress> AtSpiFocus::applicationsOf(qint64 processId,
                                                     const QDeadlineTimer& deadline) {
    const AtSpiAddress desktop{QStringLiteral("org.a11y.atspi.Registry"),
                               QStringLiteral("/org/a11y/atspi/accessible/root")};
    std::vector<AtSpiAddress> applications =
        addressesOf(m_bus.call(accessibleCall(desktop, "GetChildren"), deadline));
    std::erase_if(applications, [&](const AtSpiAddress& application) {
        return processOf(application.service, deadline) != processId;
    });
    return applications;
}

std::shared_ptr<AtSpiElement> AtSpiFocus::search(std::vector<AtSpiAddress> level, qint64 processId,
                                                 const QDeadlineTimer& deadline) {
    std::shared_ptr<AtSpiElement> focusedWithoutText;
    // Level by level, all questions of a level under way at once: the time goes into round trips.
    while (!level.empty() && !deadline.hasExpired()) {
        std::vector<std::pair<QDBusPendingCall, QDBusPendingCall>> answers;
        answers.reserve(level.size());
        for (const AtSpiAddress& address : level) {
            answers.emplace_back(m_bus.callAsync(accessibleCall(address, "GetState"), deadline),
                                 m_bus.callAsync(accessibleCall(address, "GetChildren"), deadline));
        }
        std::vector<AtSpiAddress> next;
        for (size_t i = 0; i < level.size(); ++i) {
            answers[i].first.waitForFinished();
            const AtSpiStates states(answers[i].first.reply());
            if (states.has(AtSpiStates::focused)) {
                auto element = std::make_shared<AtSpiElement>(m_bus, level[i], processId);
                if (element->hasInterface(QStringLiteral("Text"))) {
                    remember(level[i]);
                    return element;
                }
                focusedWithoutText = element;
            }
            if (!states.has(AtSpiStates::managesDescendants)) {
                answers[i].second.waitForFinished();
                std::ranges::move(addressesOf(answers[i].second.reply()), std::back_inserter(next));
            }
        }
        level = std::move(next);
    }
    return focusedWithoutText;
}

} // namespace velmorin
