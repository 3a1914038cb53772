// SPDX-License-Identifier: MIT
#include "Platform/Qt/QtMainQueue.h"

#include <QDeadlineTimer>
#include <QThread>
#include <QTimer>

#include <algorithm>

namespace velmorin {

using namespace std::chrono_literals;

void QtMainQueue::async(Block block) {
    QMetaObject::invokeMethod(this, std::move(block), Qt::QueuedConnection);
}

void QtMainQueue::asyncAfter(std::chrono::nanoseconds delay, Block block) {
    const QDeadlineTimer due(std::max(delay, 0ns), Qt::PreciseTimer);
    auto start = [this, due, block = std::move(block)]() mutable {
        // Rounded up: a timer counts in whole milliseconds and must not fire early.
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(
            std::max(due.remainingTimeAsDuration(), 0ns));
        QTimer::singleShot(left, Qt::PreciseTimer, this, std::move(block));
    };
    if (QThread::currentThread() == thread()) {
        start();
    } else {
        async(std::move(start));
    }
}

} // namespace velmorin
