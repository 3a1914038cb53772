// SPDX-License-Identifier: MIT
// The one place that knows which back ends make up an X11 desktop.
#include "Platform/Freedesktop/AtSpiAccessibility.h"
#include "Platform/Freedesktop/FilePages.h"
#include "Platform/Freedesktop/FreedMemory.h"
#include "Platform/Freedesktop/FreedesktopWorkspace.h"
#include "Platform/Freedesktop/PortalAuthorization.h"
#include "Platform/Freedesktop/PortalColorScheme.h"
#include "Platform/Freedesktop/SecretServiceKeychain.h"
#include "Platform/Freedesktop/SingleInstance.h"
#include "Platform/Freedesktop/SqliteUserDefaults.h"
#include "Platform/Freedesktop/StatusNotifierWatch.h"
#include "Platform/Freedesktop/SysfsKernelServices.h"
#include "Platform/MakePlatform.h"
#include "Platform/Qt/QtApplication.h"
#include "Platform/Qt/QtMainQueue.h"
#include "Platform/Qt/QtStatusBar.h"
#include "Platform/Qt/QtTimers.h"
#include "Platform/Qt/QtWindows.h"
#include "Platform/Qt/SvgSymbolImages.h"
#include "Platform/X11/XTestKeyEvents.h"
#include "Platform/X11/XcbActiveWindow.h"
#include "Platform/X11/XcbEventTaps.h"
#include "Platform/X11/XcbHotKeys.h"
#include "Platform/X11/XcbPasteboard.h"
#include "Platform/X11/XcbTaskbar.h"
#include "Platform/X11/XcbTrayWatch.h"

#include <QIcon>
#include <QPixmap>
#include <QTimer>

#include <chrono>
#include <cstdio>
#include <cstdlib>

#include <sys/resource.h>

namespace velmorin {

using namespace std::chrono_literals;

namespace {

constexpr auto closingTime = 1s;

/// The application, and what lives as long as it and serves it alone.
class X11Application : public QtApplication {
public:
    using QtApplication::QtApplication;

    SingleInstance instance{[this] { reopen(); }};
    PortalColorScheme colorScheme{[this](bool prefersDark) { setPrefersDark(prefersDark); }};
};

/// A core file would hold what the user has last flipped or copied.
void forbidCoreFiles() {
    rlimit limit{};
    if (::getrlimit(RLIMIT_CORE, &limit) == 0) {
        limit.rlim_cur = 0;
        ::setrlimit(RLIMIT_CORE, &limit);
    }
}

/// When a bus is lost while Qt asks who owns a name on it, Qt waits for a call that was never sent.
/// libdbus complains of that to standard error and ends the process, the latter only unless told
/// not to; Qt then goes on, with an error for its answer.
void outliveLostBus() {
    qputenv("DBUS_FATAL_WARNINGS", "0");
}

} // namespace

std::variant<Platform, EarlyEnd> makePlatform(int& argc, char** argv) {
    forbidCoreFiles();
    outliveLostBus();
    keepFreedMemory();
    // Qt ends the process when there is no display.
    if (!XcbConnection::canOpen()) {
        const QString display = qEnvironmentVariable("DISPLAY");
        return EarlyEnd{1, display.isEmpty()
                               ? QStringLiteral("no X display: DISPLAY is not set")
                               : QStringLiteral("cannot connect to X display ") + display};
    }
    qputenv("QT_QPA_PLATFORM", "xcb"); // X11 under a Wayland session, too
    const auto application = std::make_shared<X11Application>(argc, argv);
    switch (application->instance.acquire()) {
    case SingleInstance::Outcome::first:
        break;
    case SingleInstance::Outcome::handedOver:
        return EarlyEnd{};
    case SingleInstance::Outcome::noAnswer:
        return EarlyEnd{1, QStringLiteral("it runs already, but does not answer")};
    }
    application->colorScheme.follow();
    QObject::connect(qApp, &QGuiApplication::lastWindowClosed, application.get(), [] {
        // Closing uses some itself.
        QTimer::singleShot(closingTime, qApp, releaseFilePages);
    });
    QGuiApplication::setDesktopFileName(QStringLiteral("org.velmorin.Velmorin"));
    QGuiApplication::setWindowIcon(QPixmap::fromImage(SvgSymbolImages::render(
        QStringLiteral("arrow.left.arrow.right.circle.fill"), {128, 128}, QColor(0x008299))));

    const std::shared_ptr<XcbConnection> connection = XcbConnection::open();
    if (!connection) {
        return EarlyEnd{1, QStringLiteral("the X server has gone")};
    }
    QObject::connect(connection.get(), &XcbConnection::lost, qApp, [] {
        std::fputs("velmorin: the X server has gone\n", stderr);
        std::_Exit(1); // nothing is unsaved, and no window can be taken down
    });
    application->setTaskbarSetter([connection](WId window, bool isInTaskbar) {
        setInTaskbar(*connection, static_cast<xcb_window_t>(window), isInTaskbar);
    });
    const auto keyboard = std::make_shared<XcbKeyboard>(connection);
    const auto mainQueue = std::make_shared<QtMainQueue>();
    QObject::connect(mainQueue.get(), &QtMainQueue::rested, releaseFreedMemory);
    Platform platform;
    platform.application = application;
    platform.mainQueue = mainQueue;
    platform.clock = std::make_shared<QtClock>();
    platform.hotKeys = std::make_shared<XcbHotKeys>(connection, keyboard);
    platform.activeWindow = std::make_shared<XcbActiveWindow>(connection);
    platform.accessibility = std::make_shared<AtSpiAccessibility>(platform.activeWindow);
    platform.pasteboard = std::make_shared<XcbPasteboard>(connection, mainQueue);
    platform.keyEvents = std::make_shared<XTestKeyEvents>(connection, keyboard);
    platform.eventTaps = std::make_shared<XcbEventTaps>(connection, keyboard);
    platform.standardUserDefaults = std::make_shared<SqliteUserDefaults>(
        SqliteUserDefaults::domainPath(QStringLiteral("standard")));
    platform.userDefaultsSuite = [](const QString& suite) {
        return std::make_shared<SqliteUserDefaults>(SqliteUserDefaults::domainPath(suite));
    };
    platform.authorization = std::make_shared<PortalAuthorization>();
    platform.keychain = std::make_shared<SecretServiceKeychain>();
    platform.kernelServices = std::make_shared<SysfsKernelServices>();
    platform.statusBar = std::make_shared<QtStatusBar>(std::vector<std::shared_ptr<TrayWatch>>{
        std::make_shared<StatusNotifierWatch>(), std::make_shared<XcbTrayWatch>(connection)});
    platform.symbolImages = std::make_shared<SvgSymbolImages>();
    platform.timers = std::make_shared<QtTimers>();
    platform.windows = std::make_shared<QtWindows>(mainQueue, platform.standardUserDefaults);
    platform.workspace = std::make_shared<FreedesktopWorkspace>();
    return platform;
}

} // namespace velmorin
