// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

#include <memory>
#include <optional>

namespace velmorin {

/// Virtual key codes: positions of the ANSI keyboard.
inline constexpr quint16 kVK_ANSI_A = 0;
inline constexpr quint16 kVK_ANSI_C = 8;
inline constexpr quint16 kVK_ANSI_V = 9;
inline constexpr quint16 kVK_Space = 49;
inline constexpr quint16 kVK_Delete = 51;

inline constexpr quint64 kCGEventFlagMaskCommand = 0x100000;

/// States an event source can mirror.
enum class CGEventSourceStateID : qint32 { combinedSession = 0, hidSystem = 1 };

/// Where an event enters the system's event stream.
enum class CGEventTapLocation : quint32 { hid = 0, session = 1, annotatedSession = 2 };

/// Where synthetic events come from.
class CGEventSource {
public:
    virtual ~CGEventSource() = default;
};
using CGEventSourceRef = std::shared_ptr<CGEventSource>;

/// A synthetic key event, not yet posted.
struct KeyboardEvent {
    CGEventSourceRef source;
    quint16 keyCode = 0;
    bool keyDown = false;
    quint64 flags = 0;
    QString unicodeString; ///< What the key types, in place of what is on it; empty for the latter.
    /// The only window that may get it, as `ActiveWindow::identifier()` names it; none for any.
    std::optional<quint64> window;
};
using CGEventRef = std::shared_ptr<KeyboardEvent>;

/// Synthetic key presses. Main thread, but for `post()`.
class KeyEvents {
public:
    virtual ~KeyEvents() = default;

    /// Null when the system takes no synthetic events.
    [[nodiscard]] virtual CGEventSourceRef createSource(CGEventSourceStateID state) = 0;

    /// Null when the keyboard has no such key.
    [[nodiscard]] virtual CGEventRef createKeyboardEvent(const CGEventSourceRef& source,
                                                         quint16 virtualKey, bool keyDown) = 0;

    /// Sends the event to the window that has the keyboard focus, or to none if that is not the
    /// event's. The event's flags replace the modifiers that the user holds: the receiver sees
    /// exactly the flags, and once the key is up again the modifiers are as the user holds them. It
    /// may wait, less than a second, for a receiver that is busy. Any thread; another one than the
    /// main thread waits for that.
    virtual void post(CGEventTapLocation location, const CGEventRef& event) = 0;
};

} // namespace velmorin
