// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/HotKeys.h"
#include "Platform/X11/XcbKeyboard.h"

#include <vector>

namespace velmorin {

/// Hotkeys as passive key grabs on the root window. A grab names exact modifiers, so each hotkey
/// is grabbed once for every combination of the lock modifiers.
///
/// The grab that a press activates is given up at once, so that the application that had the focus
/// has it again when the handler runs. The key's release then goes to that application; it is
/// watched through raw XInput2 events, which ignore grabs, for just as long as the key is down, to
/// tell auto-repeat from a new press.
class XcbHotKeys : public HotKeys {
public:
    XcbHotKeys(std::shared_ptr<XcbConnection> connection, std::shared_ptr<XcbKeyboard> keyboard);
    ~XcbHotKeys() override;

    [[nodiscard]] EventTarget applicationEventTarget() override { return this; }
    OSStatus installEventHandler(EventTarget target, EventHandler handler,
                                 std::span<const EventTypeSpec> types, void* userData) override;
    [[nodiscard]] OSStatus registerEventHotKey(quint32 keyCode, quint32 modifiers, EventHotKeyID id,
                                               EventTarget target, quint32 options,
                                               EventHotKeyRef& hotKey) override;

private:
    class Grab;
    struct Handler {
        EventHandler handler;
        std::vector<EventTypeSpec> types;
        void* userData;
    };

    void handleEvent(const xcb_generic_event_t& event);
    void pressed(Grab& grab);
    /// Taps Control, or Shift, while Alt is still held. The application saw Alt go down and will
    /// see it come up with nothing in between, which to Qt and Firefox means "open the menu bar".
    void maskModifiers(quint32 modifiers);
    void released(xcb_keycode_t key);
    void watchRelease(bool watch);
    void regrab();
    [[nodiscard]] std::optional<uint16_t> modifierState(quint32 modifiers) const;
    /// The core states in which the modifiers are down: with every combination of the lock keys.
    /// None when the keyboard does not have them all.
    [[nodiscard]] std::vector<uint16_t> statesWith(quint32 modifiers) const;

    std::shared_ptr<XcbConnection> m_connection;
    std::shared_ptr<XcbKeyboard> m_keyboard;
    std::vector<Handler> m_handlers;
    std::vector<std::weak_ptr<Grab>> m_grabs;
    uint8_t m_xinputOpcode = 0;
    XcbConnection::Subscription m_events;
    XcbConnection::Subscription m_mapChanges;
};

} // namespace velmorin
