// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/Clock.h"

#include <QDateTime>
#include <QMap>
#include <QString>

#include <optional>

namespace velmorin {

/// How often the application and its features were used. Where it is stored is the owner's affair.
struct UsageStats {
    qint64 launchCount = 0;
    std::optional<QDateTime> firstLaunchDate;
    std::optional<QDateTime> lastLaunchDate;
    double totalUsageTime = 0; ///< Seconds; kept up by the owner.
    QMap<QString, qint64> featureUsage;

    /// Ends the process when the counter is full. Reads the clock twice on the first launch, so
    /// that the first date may lie just after the last.
    void recordLaunch(const Clock& clock);

    /// Ends the process when the counter is full.
    void recordFeature(const QString& name);

    bool operator==(const UsageStats&) const = default;

    template <typename Record, typename Visitor>
    static void visitMembers(Record& record, Visitor&& visit) {
        visit("launchCount", record.launchCount);
        visit("firstLaunchDate", record.firstLaunchDate);
        visit("lastLaunchDate", record.lastLaunchDate);
        visit("totalUsageTime", record.totalUsageTime);
        visit("featureUsage", record.featureUsage);
    }
};

} // namespace velmorin
