// SPDX-License-Identifier: MIT
#include "SharedUI/LaunchWindowController.h"

#include <utility>

namespace velmorin {

namespace {
constexpr QSize minimumSize(380, 520);
}

LaunchWindowController::LaunchWindowController(const Platform& platform) : m_platform(platform) {}

std::shared_ptr<LaunchWindowController> LaunchWindowController::shared() {
    return Platform::sharedInstance<LaunchWindowController>([](const Platform& platform) {
        return std::make_shared<LaunchWindowController>(platform);
    });
}

void LaunchWindowController::present(const QString& appName, const QSize& idealSize,
                                     const RootBuilder& root) {
    m_platform.application->setActivationPolicy(ActivationPolicy::regular);
    m_platform.application->activateIgnoringOtherApps();
    if (m_window) {
        m_window->makeKeyAndOrderFront();
        return;
    }
    const View contents = root();
    const std::shared_ptr<Window> window = m_platform.windows->window(idealSize);
    window->setTitle(appName);
    window->setContentView(contents);
    window->setMinSize(minimumSize);
    window->center();
    // After centring, which a frame that the user left replaces.
    window->setFrameAutosaveName(appName + QStringLiteral(".mainWindow"));
    window->setDelegate(this);
    m_window = window;
    window->makeKeyAndOrderFront();
}

void LaunchWindowController::presentDeferred(const QString& appName, const QSize& idealSize,
                                             RootBuilder root) {
    m_platform.mainQueue->async(
        [weakSelf = weak_from_this(), appName, idealSize, root = std::move(root)] {
            if (const auto self = weakSelf.lock()) {
                self->present(appName, idealSize, root);
            }
        });
}

void LaunchWindowController::bringToFront() {
    m_platform.application->activateIgnoringOtherApps();
    if (m_window) {
        m_window->makeKeyAndOrderFront();
    }
}

} // namespace velmorin
