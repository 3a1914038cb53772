// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/Clock.h"
#include "Platform/MainQueue.h"

#include <QObject>

#include <thread>

namespace velmorin {

/// The event loop of the thread that made this object, which must be the main thread.
class QtMainQueue : public QObject, public MainQueue {
    Q_OBJECT

public:
    void async(Block block) override;
    void asyncAfter(std::chrono::nanoseconds delay, Block block) override;
};

class QtClock : public Clock {
public:
    [[nodiscard]] QDateTime now() const override { return QDateTime::currentDateTime(); }
    void sleep(std::chrono::microseconds time) const override { std::this_thread::sleep_for(time); }
};

} // namespace velmorin
