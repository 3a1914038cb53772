// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/X11/KeymapGuard.h"
#include "Platform/X11/XcbConnection.h"

#include <optional>
#include <vector>

#include <xkbcommon/xkbcommon.h>

namespace velmorin {

/// The key codes that a keyboard map has, both included.
struct KeyRange {
    xcb_keycode_t first = 0;
    xcb_keycode_t last = 0;
};

/// Keys that the keyboard map has no use for, borrowed for a moment to bear what no key bears.
///
/// They go back about two seconds after the last one was asked for, also when this process is
/// killed. Main thread.
class SpareKeys {
public:
    explicit SpareKeys(std::shared_ptr<XcbConnection> connection);
    ~SpareKeys();
    Q_DISABLE_COPY_MOVE(SpareKeys)

    /// A key that bears `keysym` in each layout and with any modifiers. It does so for what is
    /// posted next on the same connection, and until the receiver has seen that, as far as that can
    /// be known: applications look a key up in the map of the moment at which they read its press.
    /// So before a key is used for something else, the application that has the focus is waited
    /// for, a bounded time.
    ///
    /// None when the map has no room, or the server does not let it be changed.
    [[nodiscard]] std::optional<xcb_keycode_t> keyFor(xkb_keysym_t keysym);

    /// Whether the key may bear something that is not the user's.
    [[nodiscard]] bool isBorrowed(xcb_keycode_t key) const;

private:
    struct Key {
        xcb_keycode_t code = 0;
        xkb_keysym_t keysym = XKB_KEY_NoSymbol; ///< What it bears now.
        bool isSettled = true;                  ///< The receiver has seen the last press.
    };

    [[nodiscard]] std::vector<Key>::iterator find(xkb_keysym_t keysym);
    [[nodiscard]] bool borrow();
    void settle();
    /// Has the last key bear the keysym.
    [[nodiscard]] bool bear(xkb_keysym_t keysym);

    std::shared_ptr<XcbConnection> m_connection;
    KeymapGuard m_guard;
    KeyRange m_range;
    std::vector<Key> m_keys; ///< The least recently used one first.
};

} // namespace velmorin
