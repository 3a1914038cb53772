// SPDX-License-Identifier: MIT
//
// heartbeat [BPM]: a heart that beats in the tray, without a taskbar entry, until SIGINT.
#include "Platform/Freedesktop/StatusNotifierWatch.h"
#include "Platform/Qt/QtApplication.h"
#include "Platform/Qt/QtStatusBar.h"
#include "Platform/Qt/QtTimers.h"
#include "Platform/Qt/SvgSymbolImages.h"
#include "Platform/X11/XcbTrayWatch.h"
#include "SharedCore/AnimatedStatusIcon.h"
#include "SharedCore/PermissionsManager.h"

#include <cstdio>

using namespace velmorin;

int main(int argc, char** argv) {
    Platform platform;
    platform.application = std::make_shared<QtApplication>(argc, argv);
    const std::shared_ptr<XcbConnection> connection = XcbConnection::open();
    const double bpm = argc > 1 ? QString::fromLocal8Bit(argv[1]).toDouble() : 60;
    if (!connection || !(bpm > 0)) {
        std::fputs("usage: heartbeat [BPM], on an X display\n", stderr);
        return 2;
    }
    configureAsMenuBarOnlyApp(platform);

    QtStatusBar statusBar(
        {std::make_shared<StatusNotifierWatch>(), std::make_shared<XcbTrayWatch>(connection)});
    SvgSymbolImages symbols;
    const std::shared_ptr<StatusItem> item = statusBar.statusItem(NSVariableStatusItemLength);
    const auto heart = std::make_shared<AnimatedStatusIcon>(std::make_shared<QtTimers>());
    heart->startAnimation(item, generateHeartFrames(10, 18, symbols), bpm);
    const int status = platform.application->run();
    heart->stopAnimation();
    return status;
}
