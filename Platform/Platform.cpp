// SPDX-License-Identifier: MIT
#include "Platform/Platform.h"

namespace velmorin {

namespace {
Platform& processPlatform() {
    static Platform platform;
    return platform;
}
} // namespace

const Platform& Platform::process() {
    return processPlatform();
}

void Platform::setProcess(Platform platform) {
    processPlatform() = std::move(platform);
}

} // namespace velmorin
