// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/KeyEvents.h"
#include "Platform/X11/XcbKeyboard.h"

#include <vector>

namespace velmorin {

/// Synthetic keys through the XTEST extension. The Command flag is Control.
///
/// A key that is posted with flags replaces the modifiers that the user holds: they are lifted
/// before the key and pressed again after it. Each press and lift is made while Control is down,
/// since applications take a lone press and release of Alt for "open the menu bar".
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
        xcb_keycode_t key = 0;
        std::optional<xcb_keycode_t> control;
        std::vector<xcb_keycode_t> lifted;
        XcbKeyboard::KeySet heldOnDevices;
    };

    void press(quint16 virtualKey, bool command);
    void release();
    void fake(uint8_t type, xcb_keycode_t key);

    std::shared_ptr<XcbConnection> m_connection;
    std::shared_ptr<XcbKeyboard> m_keyboard;
    std::optional<Replaced> m_replaced;
    bool m_available = false;
};

} // namespace velmorin
