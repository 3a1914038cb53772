// SPDX-License-Identifier: MIT
#include "Platform/Memory/MemoryPlatform.h"

namespace velmorin {

MemoryPlatform::MemoryPlatform() = default;
MemoryPlatform::~MemoryPlatform() = default;

Platform MemoryPlatform::platform() const {
    return {.application = application,
            .mainQueue = mainQueue,
            .clock = clock,
            .hotKeys = hotKeys,
            .activeWindow = activeWindow,
            .accessibility = accessibility,
            .pasteboard = pasteboard,
            .keyEvents = keyEvents,
            .eventTaps = eventTaps,
            .standardUserDefaults = standardUserDefaults,
            .userDefaultsSuite = [suite = suiteUserDefaults](const QString&) { return suite; },
            .keychain = keychain,
            .kernelServices = kernelServices,
            .authorization = authorization,
            .statusBar = statusBar,
            .symbolImages = symbolImages,
            .timers = timers,
            .windows = windows,
            .workspace = workspace};
}

} // namespace velmorin
