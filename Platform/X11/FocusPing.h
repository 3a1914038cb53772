// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/X11/XcbConnection.h"

namespace velmorin {

/// Waits, until the deadline, for the application that has the keyboard focus to have seen all
/// events that were sent to it so far: it answers a _NET_WM_PING (Extended Window Manager Hints
/// 1.5) in their order. False when it did not, or does not take part in the protocol.
[[nodiscard]] bool pingFocus(XcbConnection& connection, const QDeadlineTimer& deadline);

} // namespace velmorin
