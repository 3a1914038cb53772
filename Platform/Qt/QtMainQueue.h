// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/Clock.h"
#include "Platform/MainQueue.h"

#include <QObject>
#include <QSocketNotifier>
#include <QTimer>

#include <chrono>
#include <map>
#include <thread>

namespace velmorin {

/// The event loop of the thread that made this object, which must be the main thread. Delays are
/// kept by a timer of the kernel's, timerfd_create(2): Qt's count in whole milliseconds. What is
/// still delayed when the application quits is dropped.
class QtMainQueue : public QObject, public MainQueue {
    Q_OBJECT

public:
    explicit QtMainQueue(std::chrono::milliseconds restingTime = std::chrono::seconds(2));
    ~QtMainQueue() override;

    void async(Block block) override;
    void asyncAfter(std::chrono::nanoseconds delay, Block block) override;

Q_SIGNALS:
    /// Something was run, and nothing else for the resting time after it.
    void rested();

private:
    using Time = std::chrono::steady_clock::time_point; // of CLOCK_MONOTONIC

    void run(const Block& block);
    void runDue();
    void setTimer();

    std::multimap<Time, Block> m_delayed; // keeps the order of insertion among equal times
    int m_timer;
    QSocketNotifier m_notifier{m_timer, QSocketNotifier::Read};
    QTimer m_rest;
};

class QtClock : public Clock {
public:
    [[nodiscard]] QDateTime now() const override { return QDateTime::currentDateTime(); }
    [[nodiscard]] std::chrono::nanoseconds uptime() const override {
        return std::chrono::steady_clock::now().time_since_epoch();
    }
    void sleep(std::chrono::microseconds time) const override { std::this_thread::sleep_for(time); }
};

} // namespace velmorin
