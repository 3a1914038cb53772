// SPDX-License-Identifier: MIT
#include "SharedCore/UsageStats.h"

#include <limits>

namespace velmorin {

namespace {
void increment(qint64& counter) {
    if (counter == std::numeric_limits<qint64>::max()) {
        qFatal("A usage counter overflowed");
    }
    ++counter;
}
} // namespace

void UsageStats::recordLaunch(const Clock& clock) {
    increment(launchCount);
    lastLaunchDate = clock.now();
    if (!firstLaunchDate) {
        firstLaunchDate = clock.now();
    }
}

void UsageStats::recordFeature(const QString& name) {
    increment(featureUsage[name]);
}

} // namespace velmorin
