// SPDX-License-Identifier: MIT
#include "Velmorin/AppDelegate.h"

#include "Velmorin/GlobalHotkey.h"

#include <utility>

namespace velmorin {

using namespace std::chrono_literals;

namespace {
/// Keeps a second press that follows on the heels of a flip from flipping the text back.
constexpr auto coolDown = 300ms;
} // namespace

AppDelegate::AppDelegate(const Platform& platform, std::shared_ptr<VelmorinStore> store,
                         std::shared_ptr<LiveLog> liveLog)
    : log(std::move(liveLog)), m_platform(platform), m_store(std::move(store)) {}

void AppDelegate::applicationDidFinishLaunching() {
    _appDelegateRef = weak_from_this();
    log->add(QStringLiteral("Velmorin launched"));
    registerGlobalHotkey();
    promptAccessibilityIfNeeded();
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

void AppDelegate::endFlip() {
    m_platform.mainQueue->asyncAfter(coolDown, [weakSelf = weak_from_this()] {
        if (const auto self = weakSelf.lock()) {
            self->flipInProgress = false;
        }
    });
}

} // namespace velmorin
