// SPDX-License-Identifier: MIT
//
// permissions: prints what this application may use, and asks for the microphone.
// permissions open: opens the desktop's page for accessibility.
#include "Platform/Freedesktop/AtSpiAccessibility.h"
#include "Platform/Freedesktop/FreedesktopWorkspace.h"
#include "Platform/Freedesktop/PortalAuthorization.h"
#include "Platform/Qt/QtMainQueue.h"
#include "Platform/X11/XcbActiveWindow.h"
#include "SharedCore/PermissionsManager.h"

#include <QCoreApplication>

#include <cstdio>
#include <cstring>

using namespace velmorin;

int main(int argc, char** argv) {
    const QCoreApplication application(argc, argv);
    const std::shared_ptr<XcbConnection> connection = XcbConnection::open();
    if (!connection) {
        std::fputs("permissions: no X display\n", stderr);
        return 1;
    }
    Platform platform;
    platform.mainQueue = std::make_shared<QtMainQueue>();
    platform.accessibility =
        std::make_shared<AtSpiAccessibility>(std::make_shared<XcbActiveWindow>(connection));
    platform.authorization = std::make_shared<PortalAuthorization>();
    platform.workspace = std::make_shared<FreedesktopWorkspace>();

    PermissionsManager permissions(platform);
    if (argc == 2 && std::strcmp(argv[1], "open") == 0) {
        permissions.openAccessibilitySettings();
        return 0;
    }
    std::printf("accessibility: %s\n", permissions.isAccessibilityGranted() ? "yes" : "no");
    std::fflush(stdout);
    permissions.requestMicrophone([](bool isGranted) {
        std::printf("microphone: %s\n", isGranted ? "yes" : "no");
        QCoreApplication::quit();
    });
    return QCoreApplication::exec();
}
