// SPDX-License-Identifier: MIT
#include "Platform/Qt/QtTimers.h"

#include <QCoreApplication>
#include <QPointer>
#include <QTimer>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <limits>

namespace velmorin {

namespace {

class LoopTimer : public Timer {
public:
    explicit LoopTimer(QTimer* timer) : m_timer(timer) {}

    void invalidate() override {
        if (m_timer) {
            m_timer->stop();
            m_timer->deleteLater(); // it may be firing
            m_timer.clear();
        }
    }

private:
    QPointer<QTimer> m_timer;
};

/// None for an interval that never ends.
std::optional<std::chrono::milliseconds> milliseconds(double seconds) {
    constexpr double longest = std::numeric_limits<int>::max(); // Qt's limit, 24 days
    if (std::isnan(seconds) || seconds == std::numeric_limits<double>::infinity()) {
        return std::nullopt;
    }
    return std::chrono::milliseconds(
        static_cast<qint64>(std::clamp(std::round(seconds * 1000), 1.0, longest)));
}

} // namespace

std::shared_ptr<Timer> QtTimers::scheduledRepeatingTimer(double interval,
                                                         std::function<void()> block) {
    auto* timer = new QTimer(QCoreApplication::instance()); // the run loop's, until invalidated
    timer->setTimerType(Qt::PreciseTimer);
    QObject::connect(timer, &QTimer::timeout, timer, [block = std::move(block)] { block(); });
    if (const auto period = milliseconds(interval)) {
        timer->start(*period);
    }
    return std::make_shared<LoopTimer>(timer);
}

} // namespace velmorin
