// SPDX-License-Identifier: MIT
//
// type_text TEXT: types the text into the window that has the keyboard focus.
#include "Platform/Qt/QtMainQueue.h"
#include "Platform/X11/XTestKeyEvents.h"
#include "SharedCore/EventTapManager.h"

#include <QCoreApplication>
#include <QFile>

#include <cstdio>

using namespace velmorin;

int main(int argc, char** argv) {
    const QCoreApplication application(argc, argv);
    const std::shared_ptr<XcbConnection> connection = XcbConnection::open();
    if (argc != 2 || !connection) {
        std::fputs("usage: type_text TEXT, on an X display\n", stderr);
        return 2;
    }
    const auto keyboard = std::make_shared<XcbKeyboard>(connection);
    Platform platform;
    platform.clock = std::make_shared<QtClock>();
    platform.keyEvents = std::make_shared<XTestKeyEvents>(connection, keyboard);
    Platform::setProcess(platform);
    EventTapManager::typeText(QFile::decodeName(argv[1]));
    Platform::setProcess({});
}
