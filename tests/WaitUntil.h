// SPDX-License-Identifier: MIT
#pragma once

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QTimer>

#include <chrono>
#include <functional>

namespace velmorin::test {

/// Turns the event loop until `condition` holds; false when it does not within `limit`, which is
/// generous, for slow machines. Unlike QTest::qWaitFor() it lets the loop block: what has been read
/// from the X server by then is handled just before that.
inline bool waitUntil(const std::function<bool()>& condition,
                      std::chrono::milliseconds limit = std::chrono::seconds(30)) {
    const QDeadlineTimer deadline(limit);
    QTimer again; // for conditions that become true without an event in this process
    again.start(10);
    while (!condition()) {
        if (deadline.hasExpired()) {
            return false;
        }
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
    return true;
}

} // namespace velmorin::test
