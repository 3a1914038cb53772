// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/Clock.h"
#include "Platform/MainQueue.h"

#include <QLocale>
#include <QObject>
#include <QStringList>

#include <memory>

namespace velmorin {

/// The newest lines of what the application did, in memory only. Everything but `add()` belongs to
/// the main thread, destruction included.
class LiveLog : public QObject {
    Q_OBJECT
    Q_PROPERTY(QStringList entries READ entries WRITE setEntries NOTIFY entriesChanged)

public:
    LiveLog(std::shared_ptr<MainQueue> mainQueue, std::shared_ptr<Clock> clock);

    /// The process's log, created on first use.
    [[nodiscard]] static std::shared_ptr<LiveLog> shared();

    /// Appends "[HH:mm:ss.zzz] " and `message`, with the time of this call in the user's digits,
    /// on a later turn of the main queue. The oldest line goes when there are more than 300.
    /// Any thread; returns at once.
    void add(const QString& message);

    /// Oldest first.
    [[nodiscard]] const QStringList& entries() const { return m_entries; }
    void setEntries(const QStringList& entries);

Q_SIGNALS:
    /// Before every change of `entries`.
    void objectWillChange();
    void entriesChanged();

private:
    void append(const QString& line);

    std::shared_ptr<MainQueue> m_mainQueue;
    std::shared_ptr<Clock> m_clock;
    const QLocale m_locale = QLocale::system();
    QStringList m_entries;
};

} // namespace velmorin
