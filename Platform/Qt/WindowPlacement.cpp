// SPDX-License-Identifier: MIT
#include "Platform/Qt/WindowPlacement.h"

#include <QStringList>

#include <algorithm>

namespace velmorin {

namespace {

/// As much of the window's top must be on a screen as a pointer can comfortably take.
constexpr QSize kHandle(64, 24);

/// More than window managers draw above a window, as a rule.
constexpr int kTitleBarHeight = 40;

/// X11's coordinates have 16 bits.
constexpr int kLargest = 32767;

/// The square of the distance between two centres; as a double, since frames can be far away.
double distance(const QRect& a, const QRect& b) {
    const QPointF way = QPointF(a.center()) - QPointF(b.center());
    return QPointF::dotProduct(way, way);
}

bool isReachable(const QRect& frame, const QList<QRect>& screens) {
    return std::ranges::any_of(screens, [&](const QRect& screen) {
        const QRect handle = QRect(frame.topLeft(), QSize(frame.width(), kHandle.height()));
        const QRect seen = handle.intersected(screen);
        return seen.width() >= std::min(kHandle.width(), frame.width()) &&
               seen.height() == handle.height();
    });
}

} // namespace

QString frameToString(const QRect& frame) {
    return QStringLiteral("%1 %2 %3 %4")
        .arg(frame.x())
        .arg(frame.y())
        .arg(frame.width())
        .arg(frame.height());
}

std::optional<QRect> frameFromString(const QString& text) {
    const QStringList parts = text.split(u' ');
    if (parts.size() != 4) {
        return std::nullopt;
    }
    int numbers[4] = {};
    for (qsizetype i = 0; i < parts.size(); ++i) {
        bool isNumber = false;
        numbers[i] = parts[i].toInt(&isNumber);
        if (!isNumber || numbers[i] < -kLargest || numbers[i] > kLargest) {
            return std::nullopt;
        }
    }
    const QRect frame(numbers[0], numbers[1], numbers[2], numbers[3]);
    return frame.isEmpty() ? std::nullopt : std::optional(frame);
}

QRect centeredFrame(const QSize& size, const QRect& screen) {
    const QSize fitting = size.boundedTo({screen.width(), screen.height() - kTitleBarHeight});
    const bool isCut = fitting.height() < size.height();
    const int left = screen.x() + (screen.width() - fitting.width()) / 2;
    const int top = isCut ? screen.y() : screen.y() + (screen.height() - fitting.height()) / 2;
    return {QPoint(left, top), fitting};
}

QRect reachableFrame(const QRect& frame, const QList<QRect>& screens) {
    if (screens.isEmpty() || isReachable(frame, screens)) {
        return frame;
    }
    const QRect screen = *std::ranges::min_element(
        screens, {}, [&](const QRect& candidate) { return distance(candidate, frame); });
    QRect moved(frame.topLeft(), frame.size().boundedTo(screen.size()));
    moved.moveLeft(std::clamp(moved.x(), screen.x(), screen.x() + screen.width() - moved.width()));
    moved.moveTop(std::clamp(moved.y(), screen.y(), screen.y() + screen.height() - moved.height()));
    return moved;
}

} // namespace velmorin
