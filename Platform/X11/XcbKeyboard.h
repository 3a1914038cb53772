// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/X11/XcbConnection.h"

#include <bitset>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <vector>

#include <xkbcommon/xkbcommon.h>

namespace velmorin {

/// What the X server's keyboard has: where the keys of the ANSI keyboard are, which keys bear
/// which letters, which are modifiers, and what is held down. Follows changes of the keyboard map.
/// Main thread.
class XcbKeyboard {
public:
    explicit XcbKeyboard(std::shared_ptr<XcbConnection> connection);

    /// The key code at the position of a virtual key; none for keys that the program never uses.
    [[nodiscard]] std::optional<xcb_keycode_t> keyCodeAt(quint16 virtualKey) const;

    /// The virtual key at a key code's position; `noVirtualKey` for positions that the ANSI
    /// keyboard does not have.
    [[nodiscard]] quint16 virtualKeyAt(xcb_keycode_t key) const;

    /// What a key means in a core event's `state`: modifiers, and the layout in bits 13 and 14.
    [[nodiscard]] xkb_keysym_t keysymOf(xcb_keycode_t key, uint16_t state) const;

    /// The key that applications take for Control and the virtual key's letter: the one that bears
    /// the letter in the active layout, or else in the first layout that has it. None when no
    /// layout has it. Of a virtual key without a letter, the key at its position.
    ///
    /// Applications look for a shortcut's letter in the active layout first and then in the
    /// others. On a layout that is not QWERTY the position of A may bear another letter (Q on a
    /// French keyboard, where Control+Q quits), so the letter decides and not the position.
    [[nodiscard]] std::optional<xcb_keycode_t> shortcutKeyCode(quint16 virtualKey) const;
    /// The letter on the virtual key; XKB_KEY_NoSymbol when it bears none.
    [[nodiscard]] static xkb_keysym_t letterOn(quint16 virtualKey);

    /// The key that types the character, with or without Shift, and the layout in which it does;
    /// the active layout first. None when no layout has it so. Keys that `isIgnored` are not meant.
    struct KeyStroke {
        xcb_keycode_t key = 0;
        bool isShifted = false;
        std::optional<uint8_t> layout = std::nullopt; ///< None when it is any.
    };
    using KeyFilter = std::function<bool(xcb_keycode_t key)>;
    [[nodiscard]] std::optional<KeyStroke> keyStrokeFor(xkb_keysym_t keysym,
                                                        const KeyFilter& isIgnored) const;

    /// The modifier bit (1 << 0 Shift ... 1 << 7 Mod5) that a key with one of `keysyms` sets; 0
    /// when there is none.
    [[nodiscard]] uint16_t modifierMask(std::span<const xkb_keysym_t> keysyms) const;

    /// The keys that are held of those that set modifiers for as long: not the lock keys. One round
    /// trip.
    [[nodiscard]] std::vector<xcb_keycode_t> heldModifierKeys() const;
    [[nodiscard]] const std::vector<xcb_keycode_t>& shiftKeys() const { return m_modifierKeys[0]; }
    /// Those that set Control, the left one first.
    [[nodiscard]] const std::vector<xcb_keycode_t>& controlKeys() const { return m_controlKeys; }

    /// A key that can be down while the modifiers `held` are pressed and let go, so that none of
    /// them goes up alone: Control, or else Shift. None when each would mean something else
    /// together with them, as where Control and Alt switch the layout.
    [[nodiscard]] std::optional<xcb_keycode_t>
    companionOf(const std::vector<xcb_keycode_t>& held) const;
    /// Whether Control is on and Alt is not. One round trip.
    [[nodiscard]] bool isCommandOn() const;

    /// What stays on when no key is held. The modifiers are bits, without Num Lock, which no letter
    /// minds.
    struct Locks {
        uint8_t modifiers = 0;
        uint8_t layout = 0;
        bool operator==(const Locks&) const = default;
    };
    /// One round trip.
    [[nodiscard]] Locks locks() const;
    /// Changes from the one to the other; what is in neither stays.
    void changeLocks(const Locks& from, const Locks& to) const;

    /// The keys that are down as the core protocol sees them. One round trip.
    using KeySet = std::bitset<256>;
    [[nodiscard]] KeySet pressedKeys() const;

    /// The keys that are down on the keyboards that are not the XTEST extension's own. A key
    /// lifted by XTEST is still down here as long as a finger is on it.
    [[nodiscard]] KeySet keysHeldOnDevices() const;

    /// Calls `listener` after each change of the keyboard map, as long as the returned
    /// subscription is kept.
    using MapListener = std::function<void()>;
    [[nodiscard]] XcbConnection::Subscription addMapListener(MapListener listener);

private:
    struct XkbUnref {
        void operator()(xkb_context* context) const { xkb_context_unref(context); }
        void operator()(xkb_keymap* keymap) const { xkb_keymap_unref(keymap); }
        void operator()(xkb_state* state) const { xkb_state_unref(state); }
    };
    using StatePtr = std::unique_ptr<xkb_state, XkbUnref>;

    void selectMapEvents();
    void loadMap();
    void loadModifiers();
    void handleEvent(const xcb_generic_event_t& event);
    [[nodiscard]] bool bears(xcb_keycode_t key, xkb_layout_index_t layout,
                             std::span<const xkb_keysym_t> keysyms) const;
    [[nodiscard]] std::optional<KeyStroke>
    keyStrokeIn(xkb_layout_index_t layout, xkb_keysym_t keysym, const KeyFilter& isIgnored) const;
    [[nodiscard]] bool bearsInAnyLayout(xcb_keycode_t key,
                                        std::span<const xkb_keysym_t> keysyms) const;
    [[nodiscard]] xkb_layout_index_t activeLayout() const;

    std::shared_ptr<XcbConnection> m_connection;
    std::unique_ptr<xkb_context, XkbUnref> m_context;
    std::unique_ptr<xkb_keymap, XkbUnref> m_keymap;
    std::vector<std::vector<xcb_keycode_t>> m_modifierKeys; // one list for each of the eight bits
    std::vector<xcb_keycode_t> m_holdKeys;
    std::vector<xcb_keycode_t> m_controlKeys;
    std::vector<std::weak_ptr<const MapListener>> m_mapListeners;
    XcbConnection::Subscription m_events;
};

} // namespace velmorin
