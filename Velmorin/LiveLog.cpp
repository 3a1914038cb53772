// SPDX-License-Identifier: MIT
#include "Velmorin/LiveLog.h"

#include "Platform/Platform.h"

#include <QPointer>

#include <utility>

namespace velmorin {

namespace {
constexpr qsizetype maximumEntries = 300;
}

LiveLog::LiveLog(std::shared_ptr<MainQueue> mainQueue, std::shared_ptr<Clock> clock)
    : m_mainQueue(std::move(mainQueue)), m_clock(std::move(clock)) {}

std::shared_ptr<LiveLog> LiveLog::shared() {
    return Platform::sharedInstance<LiveLog>([](const Platform& platform) {
        return std::make_shared<LiveLog>(platform.mainQueue, platform.clock);
    });
}

void LiveLog::add(const QString& message) {
    const QString time = m_locale.toString(m_clock->now(), u"HH:mm:ss.zzz");
    m_mainQueue->async([log = QPointer(this), time, message] {
        if (log) {
            log->append(QStringLiteral("[%1] %2").arg(time, message));
        }
    });
}

void LiveLog::setEntries(const QStringList& entries) {
    Q_EMIT objectWillChange();
    m_entries = entries;
    Q_EMIT entriesChanged();
}

void LiveLog::append(const QString& line) {
    Q_EMIT objectWillChange();
    m_entries.append(line);
    if (m_entries.size() > maximumEntries) {
        m_entries.removeFirst();
    }
    Q_EMIT entriesChanged();
}

} // namespace velmorin
