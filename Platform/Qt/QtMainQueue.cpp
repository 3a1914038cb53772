// SPDX-License-Identifier: MIT
#include "Platform/Qt/QtMainQueue.h"

#include <QCoreApplication>
#include <QThread>

#include <algorithm>
#include <cerrno>
#include <utility>

#include <sys/timerfd.h>
#include <unistd.h>

namespace velmorin {

using namespace std::chrono_literals;

namespace {

constexpr auto kLongestDelay = 24h * 365 * 100; // no overflow

} // namespace

QtMainQueue::QtMainQueue(std::chrono::milliseconds restingTime)
    : m_timer(::timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC | TFD_NONBLOCK)) {
    if (m_timer < 0) {
        qFatal("No timer for the main queue: %s", qUtf8Printable(qt_error_string(errno)));
    }
    connect(&m_notifier, &QSocketNotifier::activated, this, &QtMainQueue::runDue);
    // What waits may own what owns this.
    connect(qApp, &QCoreApplication::aboutToQuit, this, [this] {
        const auto dropped = std::exchange(m_delayed, {});
        setTimer();
    });
    m_rest.setSingleShot(true);
    m_rest.setInterval(restingTime);
    connect(&m_rest, &QTimer::timeout, this, &QtMainQueue::rested);
}

QtMainQueue::~QtMainQueue() {
    m_notifier.setEnabled(false);
    ::close(m_timer);
}

void QtMainQueue::async(Block block) {
    auto start = [this, block = std::move(block)] {
        runDue(); // is older
        run(block);
    };
    QMetaObject::invokeMethod(this, std::move(start), Qt::QueuedConnection);
}

void QtMainQueue::asyncAfter(std::chrono::nanoseconds delay, Block block) {
    if (delay <= 0ns) {
        async(std::move(block));
        return;
    }
    const Time due =
        std::chrono::steady_clock::now() + std::min<std::chrono::nanoseconds>(delay, kLongestDelay);
    auto add = [this, due, block = std::move(block)]() mutable {
        const auto added = m_delayed.emplace(due, std::move(block));
        if (added == m_delayed.begin()) {
            setTimer();
        }
    };
    if (QThread::currentThread() == thread()) {
        add();
    } else {
        QMetaObject::invokeMethod(this, std::move(add), Qt::QueuedConnection);
    }
}

void QtMainQueue::run(const Block& block) {
    block();
    m_rest.start();
}

/// Runs what is due by now. What that queues without a delay comes on the next turn.
void QtMainQueue::runDue() {
    const Time now = std::chrono::steady_clock::now();
    while (!m_delayed.empty() && m_delayed.begin()->first <= now) {
        const auto next = m_delayed.extract(m_delayed.begin());
        setTimer(); // before the block: it may turn the event loop itself
        run(next.mapped());
    }
}

/// To the first delayed block, or off.
void QtMainQueue::setTimer() {
    itimerspec setting{};
    if (!m_delayed.empty()) {
        const auto due = m_delayed.begin()->first.time_since_epoch();
        const auto seconds = std::chrono::floor<std::chrono::seconds>(due);
        setting.it_value = {.tv_sec = seconds.count(), .tv_nsec = (due - seconds).count()};
    }
    ::timerfd_settime(m_timer, TFD_TIMER_ABSTIME, &setting, nullptr); // also if it has gone off
}

} // namespace velmorin
