// SPDX-License-Identifier: MIT
#include "Platform/Platform.h"

#include <utility>
#include <vector>

namespace velmorin {

namespace {
Platform& processPlatform() {
    static auto& platform = *new Platform(); // as shared instances, never destroyed
    return platform;
}

/// How to end the shared instances, in the order in which they were made.
std::vector<std::function<void()>>& sharedInstances() {
    static auto& instances = *new std::vector<std::function<void()>>();
    return instances;
}
} // namespace

const Platform& Platform::process() {
    return processPlatform();
}

void Platform::setProcess(Platform platform) {
    const std::lock_guard lock(instancesMutex());
    auto instances = std::exchange(sharedInstances(), {});
    while (!instances.empty()) {
        instances.back()();
        instances.pop_back();
    }
    processPlatform() = std::move(platform);
}

std::recursive_mutex& Platform::instancesMutex() {
    static std::recursive_mutex mutex;
    return mutex;
}

void Platform::addInstance(std::function<void()> end) {
    sharedInstances().push_back(std::move(end));
}

} // namespace velmorin
