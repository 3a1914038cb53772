// SPDX-License-Identifier: MIT
// The one place that knows which back ends make up an X11 desktop.
#include "Platform/Freedesktop/AtSpiAccessibility.h"
#include "Platform/Freedesktop/SecretServiceKeychain.h"
#include "Platform/Freedesktop/SqliteUserDefaults.h"
#include "Platform/MakePlatform.h"
#include "Platform/Qt/QtMainQueue.h"
#include "Platform/X11/XTestKeyEvents.h"
#include "Platform/X11/XcbActiveWindow.h"
#include "Platform/X11/XcbHotKeys.h"
#include "Platform/X11/XcbPasteboard.h"

#include <QCoreApplication>

#include <cstdio>

namespace velmorin {

std::optional<Platform> makePlatform(QString& error) {
    const std::shared_ptr<XcbConnection> connection = XcbConnection::open();
    if (!connection) {
        const QString display = qEnvironmentVariable("DISPLAY");
        error = display.isEmpty() ? QStringLiteral("no X display: DISPLAY is not set")
                                  : QStringLiteral("cannot connect to X display ") + display;
        return std::nullopt;
    }
    QObject::connect(connection.get(), &XcbConnection::lost, qApp, [] {
        std::fputs("velmorin: the X server has gone\n", stderr);
        QCoreApplication::exit(1);
    });
    const auto keyboard = std::make_shared<XcbKeyboard>(connection);
    Platform platform;
    platform.mainQueue = std::make_shared<QtMainQueue>();
    platform.clock = std::make_shared<QtClock>();
    platform.hotKeys = std::make_shared<XcbHotKeys>(connection, keyboard);
    platform.accessibility =
        std::make_shared<AtSpiAccessibility>(std::make_shared<XcbActiveWindow>(connection));
    platform.pasteboard = std::make_shared<XcbPasteboard>(connection, platform.mainQueue);
    platform.keyEvents = std::make_shared<XTestKeyEvents>(connection, keyboard);
    platform.standardUserDefaults = std::make_shared<SqliteUserDefaults>(
        SqliteUserDefaults::domainPath(QStringLiteral("standard")));
    platform.userDefaultsSuite = [](const QString& suite) {
        return std::make_shared<SqliteUserDefaults>(SqliteUserDefaults::domainPath(suite));
    };
    platform.keychain = std::make_shared<SecretServiceKeychain>();
    return platform;
}

} // namespace velmorin
