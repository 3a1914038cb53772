// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/Platform.h"

#include <QPointF>
#include <QString>

#include <functional>
#include <memory>

namespace velmorin {

/// Watches the pointer and the keys of the whole session, listening only. Main thread: a tap's
/// events come on the run loop of the thread that started it.
///
/// A start makes a new tap and leaves an older one as it is, running; `stopAll()` and the end of
/// the manager disable the newest ones. What an older tap sees still goes to the callback, until
/// the manager is gone.
class EventTapManager {
public:
    /// The pointer's place in pixels of the whole desktop.
    using MouseCallback = std::function<void(const QPointF& location)>;
    /// What a key types, at most four UTF-16 units of it, and its virtual key code. The Delete key
    /// (backspace) types nothing and says so.
    using KeyCallback = std::function<void(const QString& text, quint16 keyCode, bool isDelete)>;

    explicit EventTapManager(const Platform& platform = Platform::process())
        : m_platform(platform) {}
    ~EventTapManager();
    Q_DISABLE_COPY_MOVE(EventTapManager)

    /// Reports each movement of the pointer, also with the left or the right button held. False
    /// without the permission for accessibility, or, with a line on standard output, when the
    /// system refuses; the callback is replaced in the latter case, too.
    [[nodiscard]] bool startMouseTracking(MouseCallback callback);

    /// Reports each press of a key, repeats among them. Returns as `startMouseTracking()`.
    [[nodiscard]] bool startKeyTracking(KeyCallback callback);

    /// Disables the newest taps. Does nothing when there are none.
    void stopAll();

    /// Whether the permission for accessibility is there. Does not ask the user.
    [[nodiscard]] bool checkAccessibility() const;

    static void requestAccessibility();
    static void openAccessibilitySettings();
    static void openInputMonitoringSettings();

    /// Types the text into whatever has the keyboard focus, as key presses without modifiers, and
    /// waits 10 ms after each user-perceived character (extended grapheme cluster, UAX #29). Any
    /// thread; the main thread turns no event loop meanwhile, so that long texts belong on another
    /// one. Ends the process where the system takes no synthetic keys.
    static void typeText(const QString& text);

private:
    struct Callbacks {
        MouseCallback mouse;
        KeyCallback key;
    };
    struct Texts {
        const char* started;
        const char* failed;
    };

    [[nodiscard]] bool start(std::shared_ptr<EventTap>& tap, CGEventMask mask,
                             EventTaps::Callback callback, const Texts& texts);

    const Platform m_platform;
    std::shared_ptr<Callbacks> m_callbacks = std::make_shared<Callbacks>();
    std::shared_ptr<EventTap> m_mouseTap;
    std::shared_ptr<EventTap> m_keyTap;
};

} // namespace velmorin
