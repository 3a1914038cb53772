// SPDX-License-Identifier: MIT
//
// watch_input SECONDS: counts key presses and how far the pointer travels in the whole session.
// What is typed is counted and nothing else.
#include "Platform/Freedesktop/AtSpiAccessibility.h"
#include "Platform/Qt/QtMainQueue.h"
#include "Platform/X11/XcbActiveWindow.h"
#include "Platform/X11/XcbEventTaps.h"
#include "SharedCore/EventTapManager.h"

#include <QCoreApplication>
#include <QLineF>

#include <chrono>
#include <cstdio>
#include <optional>

using namespace velmorin;

int main(int argc, char** argv) {
    const QCoreApplication application(argc, argv);
    const std::shared_ptr<XcbConnection> connection = XcbConnection::open();
    const int seconds = argc == 2 ? QString::fromLocal8Bit(argv[1]).toInt() : 0;
    if (!connection || seconds <= 0) {
        std::fputs("usage: watch_input SECONDS, on an X display\n", stderr);
        return 2;
    }
    Platform platform;
    platform.accessibility =
        std::make_shared<AtSpiAccessibility>(std::make_shared<XcbActiveWindow>(connection));
    platform.eventTaps =
        std::make_shared<XcbEventTaps>(connection, std::make_shared<XcbKeyboard>(connection));

    EventTapManager taps(platform);
    int keys = 0;
    double distance = 0;
    std::optional<QPointF> last;
    const bool isWatching = taps.startKeyTracking([&](const QString&, quint16, bool) { ++keys; }) &&
                            taps.startMouseTracking([&](const QPointF& location) {
                                distance += QLineF(last.value_or(location), location).length();
                                last = location;
                            });
    if (!isWatching) {
        std::fputs("watch_input: accessibility is off in this session\n", stderr);
        return 1;
    }
    QtMainQueue queue;
    queue.asyncAfter(std::chrono::seconds(seconds), [] { QCoreApplication::quit(); });
    QCoreApplication::exec();
    taps.stopAll();
    std::printf("%d keys, %.0f pixels\n", keys, distance);
}
