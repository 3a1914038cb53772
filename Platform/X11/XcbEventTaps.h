// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/EventTaps.h"
#include "Platform/X11/XcbKeyboard.h"

namespace velmorin {

/// Taps through the RECORD extension, which sees every device event, also while a keyboard is
/// grabbed. The pointer with a button other than the left or the right one held is not reported.
/// The server sends what it has recorded along with whatever else it sends to anyone, so an event
/// that concerns no client comes when something else happens.
///
/// Making a tap and enabling it wait for the server, so neither may be done between a posted key's
/// going down and its coming up, when the server is grabbed.
class XcbEventTaps : public EventTaps {
public:
    XcbEventTaps(std::shared_ptr<XcbConnection> connection, std::shared_ptr<XcbKeyboard> keyboard);
    ~XcbEventTaps() override;

    [[nodiscard]] std::shared_ptr<EventTap> createTap(CGEventTapLocation location,
                                                      CGEventTapPlacement placement,
                                                      CGEventTapOptions options, CGEventMask mask,
                                                      Callback callback) override;

private:
    class Tap;

    std::shared_ptr<XcbConnection> m_connection;
    std::shared_ptr<XcbKeyboard> m_keyboard;
    /// The taps of the run loop.
    std::shared_ptr<std::vector<std::shared_ptr<Tap>>> m_running;
};

} // namespace velmorin
