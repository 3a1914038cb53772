// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/KeyEvents.h"
#include "Platform/X11/SpareKeys.h"
#include "Platform/X11/XcbKeyboard.h"

#include <vector>

namespace velmorin {

/// Synthetic keys through the XTEST extension. The Command flag is Control.
///
/// A key that is posted with flags replaces the modifiers that the user holds: they are lifted
/// before the key and pressed again after it. Each press and lift is made while Control (or Shift)
/// is down, since applications take a lone press and release of Alt for "open the menu bar".
///
/// The end of a key waits for the receiver to have read it, a bounded time: who counts the time
/// that a copy may take counts from then on.
///
/// A text is typed code point by code point, in whatever layout has it, with all locks off. What no
/// layout has is typed on keys that bear nothing else. That comes second, since each change of the
/// keyboard map costs every application some time (openbox 0.05 s).
class XTestKeyEvents : public QObject, public KeyEvents {
    Q_OBJECT

public:
    XTestKeyEvents(std::shared_ptr<XcbConnection> connection,
                   std::shared_ptr<XcbKeyboard> keyboard);

    [[nodiscard]] CGEventSourceRef createSource(CGEventSourceStateID state) override;
    [[nodiscard]] CGEventRef createKeyboardEvent(const CGEventSourceRef& source, quint16 virtualKey,
                                                 bool keyDown) override;
    void post(CGEventTapLocation location, const CGEventRef& event) override;

private:
    /// What a key that is down with flags must put back when it comes up.
    struct Replaced {
        quint16 virtualKey = 0;
        std::optional<xcb_keycode_t> key = {}; ///< None until it is down.
        bool command = false;
        std::optional<quint64> window = {}; ///< The only one that may get the key; none for any.
        std::optional<xcb_keycode_t> control = {};   ///< That we press, the user holds none.
        std::optional<xcb_keycode_t> companion = {}; ///< Down while others go up or down.
        std::vector<xcb_keycode_t> lifted = {};
        std::optional<xcb_keycode_t> shift = {}; ///< That we press for the key.
        XcbKeyboard::Locks locks = {};           ///< As the user has them.
        XcbKeyboard::Locks changedLocks = {};
        XcbKeyboard::KeySet heldOnDevices = {};
    };

    [[nodiscard]] std::optional<xcb_keycode_t> keyFor(quint16 virtualKey);
    void press(Replaced replaced, const XcbKeyboard::KeyStroke& stroke);
    void release();
    void liftHeld();
    void setUp(const XcbKeyboard::KeyStroke& stroke);
    void type(QString text, std::optional<quint64> window);
    void fake(uint8_t type, xcb_keycode_t key);

    std::shared_ptr<XcbConnection> m_connection;
    std::shared_ptr<XcbKeyboard> m_keyboard;
    SpareKeys m_spareKeys;
    std::optional<Replaced> m_replaced;
    bool m_available = false;
};

} // namespace velmorin
