// SPDX-License-Identifier: MIT
#include "Velmorin/GlobalHotkey.h"

#include "Velmorin/AppDelegate.h"

#include <array>

namespace velmorin {

std::weak_ptr<AppDelegate> _appDelegateRef;

namespace {

constexpr EventHotKeyID hotkeyID{.signature = fourCharCode("VLMN"), .id = 1};
constexpr std::array hotkeyPressed{
    EventTypeSpec{.eventClass = kEventClassKeyboard, .eventKind = kEventHotKeyPressed}};

void hotkeyWasPressed() {
    if (const auto delegate = _appDelegateRef.lock()) {
        delegate->log->add(QStringLiteral("⌥Space pressed!"));
        delegate->performFlip();
    }
}

} // namespace

OSStatus carbonHotkeyCallback(EventHandlerCallRef /*nextHandler*/, EventRef /*event*/,
                              void* /*userData*/) {
    Platform::process().mainQueue->async(hotkeyWasPressed);
    return noErr;
}

void AppDelegate::registerGlobalHotkey() {
    HotKeys& hotKeys = *m_platform.hotKeys;
    log->add(QStringLiteral("Registering global hotkey ⌥Space via Carbon…"));
    hotKeys.installEventHandler(hotKeys.applicationEventTarget(), carbonHotkeyCallback,
                                hotkeyPressed, nullptr);
    const OSStatus status = hotKeys.registerEventHotKey(
        kVK_Space, optionKey, hotkeyID, hotKeys.applicationEventTarget(), 0, hotKeyRef);
    if (status == noErr) {
        log->add(QStringLiteral(
            "Global hotkey ⌥Space registered — works in ALL apps, NO permissions needed!"));
    } else {
        log->add(QStringLiteral("Hotkey registration failed (status %1)").arg(status));
    }
    m_store->setHotkeyRegistered(status == noErr);
}

} // namespace velmorin
