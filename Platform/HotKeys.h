// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/Status.h"

#include <memory>
#include <span>

namespace velmorin {

/// Opaque: the receiver of hotkey events inside this process.
using EventTarget = const void*;

/// A delivered event, only valid while its handler runs.
struct HotKeyEvent {
    quint32 eventClass = 0;
    quint32 eventKind = 0;
    quint32 signature = 0;
    quint32 id = 0;
};
using EventRef = const HotKeyEvent*;
using EventHandlerCallRef = void*;

/// A handler of hotkey events. It may be called on any thread, so it does no work of its own; a
/// result of `noErr` means that the event was handled and goes no further.
using EventHandler = OSStatus (*)(EventHandlerCallRef nextHandler, EventRef event, void* userData);

struct EventTypeSpec {
    quint32 eventClass = 0;
    quint32 eventKind = 0;
};

inline constexpr quint32 kEventClassKeyboard = fourCharCode("keyb");
inline constexpr quint32 kEventHotKeyPressed = 5;

/// Modifier masks of a hotkey.
inline constexpr quint32 cmdKey = 0x0100;
inline constexpr quint32 shiftKey = 0x0200;
inline constexpr quint32 optionKey = 0x0800;
inline constexpr quint32 controlKey = 0x1000;

/// Another client owns the combination.
inline constexpr OSStatus eventHotKeyExistsErr = -9878;
/// The combination cannot be registered: unknown key or modifier, or no way to listen.
inline constexpr OSStatus eventHotKeyInvalidErr = -9879;

struct EventHotKeyID {
    quint32 signature = 0;
    quint32 id = 0;
};

/// A registered hotkey; destroying it gives the combination back.
class RegisteredHotKey {
public:
    virtual ~RegisteredHotKey() = default;
};
using EventHotKeyRef = std::shared_ptr<RegisteredHotKey>;

/// System-wide hotkeys. Main thread.
class HotKeys {
public:
    virtual ~HotKeys() = default;

    [[nodiscard]] virtual EventTarget applicationEventTarget() = 0;

    /// Calls `handler` for every event of one of `types` that reaches `target`, until the process
    /// ends.
    virtual OSStatus installEventHandler(EventTarget target, EventHandler handler,
                                         std::span<const EventTypeSpec> types, void* userData) = 0;

    /// Registers virtual key `keyCode` (a position of the ANSI keyboard) with exactly `modifiers`
    /// held, whatever the lock keys say. Holding the combination down is one press.
    ///
    /// On success fills `hotKey` and returns `noErr`; on failure leaves `hotKey` as it was, keeps
    /// no part of the combination, and returns `eventHotKeyExistsErr` or `eventHotKeyInvalidErr`.
    [[nodiscard]] virtual OSStatus registerEventHotKey(quint32 keyCode, quint32 modifiers,
                                                       EventHotKeyID id, EventTarget target,
                                                       quint32 options, EventHotKeyRef& hotKey) = 0;
};

} // namespace velmorin
