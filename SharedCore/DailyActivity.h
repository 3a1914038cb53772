// SPDX-License-Identifier: MIT
#pragma once

#include "SharedCore/PersistentModel.h"

#include <QDateTime>

namespace velmorin {

/// The input activity of one day. Main thread.
class DailyActivity final : public PersistentModel {
    Q_OBJECT
    Q_PROPERTY(QDateTime date READ date WRITE setDate NOTIFY dateChanged)
    Q_PROPERTY(
        double mouseDistance READ mouseDistance WRITE setMouseDistance NOTIFY mouseDistanceChanged)
    Q_PROPERTY(qint64 keystrokes READ keystrokes WRITE setKeystrokes NOTIFY keystrokesChanged)
    Q_PROPERTY(double activeTime READ activeTime WRITE setActiveTime NOTIFY activeTimeChanged)

public:
    /// A day without activity. `date` is kept as it is, with its time of day: pass the day's start
    /// for one object a calendar day.
    explicit DailyActivity(const QDateTime& date);
    /// The object of a record of this entity.
    explicit DailyActivity(BackingRecord record);

    [[nodiscard]] static const EntitySchema& schema();

    /// In UTC once it was read from a store. An invalid one cannot be stored.
    [[nodiscard]] QDateTime date() const;
    void setDate(const QDateTime& date);
    /// How far the pointer travelled, in the unit of whoever adds it up. NaN cannot be stored.
    [[nodiscard]] double mouseDistance() const;
    void setMouseDistance(double mouseDistance);
    /// Keys pressed.
    [[nodiscard]] qint64 keystrokes() const;
    void setKeystrokes(qint64 keystrokes);
    /// How long the user was active, in seconds. NaN cannot be stored.
    [[nodiscard]] double activeTime() const;
    void setActiveTime(double activeTime);

Q_SIGNALS:
    void dateChanged();
    void mouseDistanceChanged();
    void keystrokesChanged();
    void activeTimeChanged();
};

} // namespace velmorin
