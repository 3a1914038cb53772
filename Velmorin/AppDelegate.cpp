// SPDX-License-Identifier: MIT
#include "Velmorin/AppDelegate.h"

#include "SharedUI/AppLaunchContainer.h"
#include "Velmorin/GlobalHotkey.h"

#include <utility>

namespace velmorin {

using namespace std::chrono_literals;

namespace {
/// Keeps a second press that follows on the heels of a flip from flipping the text back.
constexpr auto coolDown = 300ms;

constexpr auto flashTime = 1s;
constexpr QSize idealSize(480, 680);

const QString& appName() {
    static const QString name = QStringLiteral("Velmorin");
    return name;
}

void showAsTemplate(StatusBarButton& button, const ImageRef& image) {
    button.setImage(image);
    if (image) {
        image->setTemplate(true);
    }
}
} // namespace

AppDelegate::AppDelegate(const Platform& platform, std::shared_ptr<VelmorinStore> store,
                         std::shared_ptr<LiveLog> liveLog,
                         std::shared_ptr<LaunchWindowController> windowController)
    : log(std::move(liveLog)), m_platform(platform), m_store(std::move(store)),
      m_windowController(std::move(windowController)), m_mainView(m_platform, m_store, log) {}

void AppDelegate::applicationDidFinishLaunching() {
    _appDelegateRef = weak_from_this();
    log->add(QStringLiteral("Velmorin launched"));
    setupMenuBar();
    openMainWindow();
    registerGlobalHotkey();
    promptAccessibilityIfNeeded();
}

bool AppDelegate::applicationShouldHandleReopen(bool hasVisibleWindows) {
    if (!hasVisibleWindows) {
        m_windowController->bringToFront();
    }
    return true;
}

void AppDelegate::setupMenuBar() {
    statusItem = m_platform.statusBar->statusItem(NSVariableStatusItemLength);
    StatusBarButton* button = statusItem->button();
    if (button == nullptr) {
        return;
    }
    showAsTemplate(*button, m_platform.symbolImages->imageWithSystemSymbolName(
                                QStringLiteral("arrow.left.arrow.right.circle.fill"), appName()));
    button->setAction([weakSelf = weak_from_this()] {
        if (const auto self = weakSelf.lock()) {
            self->showWindow();
        }
    });
}

void AppDelegate::openMainWindow() {
    m_windowController->present(appName(), idealSize, [this] {
        return AppLaunchContainer(appName(), [this] { return m_mainView.body(); }).body();
    });
}

void AppDelegate::showWindow() {
    m_windowController->bringToFront();
    m_platform.application->activateIgnoringOtherApps();
}

void AppDelegate::promptAccessibilityIfNeeded() {
    if (m_platform.accessibility->isProcessTrusted()) {
        log->add(QStringLiteral("Accessibility: GRANTED"));
        return;
    }
    log->add(QStringLiteral("Accessibility: not yet granted (needed for ⌘A/⌘C/⌘V in other apps)"));
    m_platform.accessibility->isProcessTrustedWithOptions({{kAXTrustedCheckOptionPrompt, true}});
}

void AppDelegate::performFlip() {
    if (flipInProgress) {
        log->add(QStringLiteral("Flip already in progress"));
        return;
    }
    flipInProgress = true;
    log->add(QStringLiteral("── FLIP START ──"));
    flashIcon();
    const FlipMode mode = m_store->flipMode();
    log->add(QStringLiteral("Trying AX direct text access…"));
    if (tryAXFlip(mode)) {
        m_store->recordConversion();
        log->add(QStringLiteral("── FLIP DONE (AX) — total: %1 ──").arg(m_store->count()));
        endFlip();
    } else {
        log->add(QStringLiteral("AX unavailable, using clipboard method…"));
        clipboardFlip(mode);
    }
}

void AppDelegate::flashIcon() {
    StatusBarButton* button = statusItem ? statusItem->button() : nullptr;
    if (button == nullptr) {
        return;
    }
    const ImageRef shown = button->image();
    showAsTemplate(*button, m_platform.symbolImages->imageWithSystemSymbolName(
                                QStringLiteral("checkmark.circle.fill"), QStringLiteral("Done")));
    m_platform.mainQueue->asyncAfter(
        flashTime, [item = statusItem, button, shown] { showAsTemplate(*button, shown); });
}

void AppDelegate::endFlip() {
    m_platform.mainQueue->asyncAfter(coolDown, [weakSelf = weak_from_this()] {
        if (const auto self = weakSelf.lock()) {
            self->flipInProgress = false;
        }
    });
}

} // namespace velmorin
