// SPDX-License-Identifier: MIT
#include "Platform/Qt/QtMainQueue.h"

#include <QThread>

#include <algorithm>

#include <sys/timerfd.h>
#include <unistd.h>

namespace velmorin {

using namespace std::chrono_literals;

namespace {

constexpr auto kLongestDelay = 24h * 365 * 100; // no overflow

} // namespace

QtMainQueue::QtMainQueue(std::chrono::milliseconds restingTime)
    : m_timer(::timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC | TFD_NONBLOCK)) {
    if (m_timer >= 0) {
        m_notifier = std::make_unique<QSocketNotifier>(m_timer, QSocketNotifier::Read);
        connect(m_notifier.get(), &QSocketNotifier::activated, this, &QtMainQueue::runDue);
    }
    m_rest.setSingleShot(true);
    m_rest.setInterval(restingTime);
    connect(&m_rest, &QTimer::timeout, this, &QtMainQueue::rested);
}

QtMainQueue::~QtMainQueue() {
    m_notifier.reset();
    if (m_timer >= 0) {
        ::close(m_timer);
    }
}

void QtMainQueue::async(Block block) {
    QMetaObject::invokeMethod(
        this, [this, block = std::move(block)] { run(block); }, Qt::QueuedConnection);
}

void QtMainQueue::asyncAfter(std::chrono::nanoseconds delay, Block block) {
    const Time due = std::chrono::steady_clock::now() +
                     std::clamp<std::chrono::nanoseconds>(delay, 0ns, kLongestDelay);
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
    // Also takes back that it has gone off.
    if (::timerfd_settime(m_timer, TFD_TIMER_ABSTIME, &setting, nullptr) == 0 ||
        m_delayed.empty()) {
        return;
    }
    // Out of file descriptors when it was made.
    const auto left = m_delayed.begin()->first - std::chrono::steady_clock::now();
    QTimer::singleShot(
        std::chrono::ceil<std::chrono::milliseconds>(std::max<std::chrono::nanoseconds>(left, 0ns)),
        Qt::PreciseTimer, this, &QtMainQueue::runDue);
}

} // namespace velmorin
