// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/X11/XcbConnection.h"

namespace velmorin {

/// Waits, until the deadline, for the application that has the keyboard focus to have seen all
/// events that were sent to it so far: it answers a _NET_WM_PING (Extended Window Manager Hints
/// 1.5) in their order. False when it did not, when it does not take part in the protocol, and when
/// it is this process, which cannot answer while it waits.
[[nodiscard]] bool pingFocus(XcbConnection& connection, const QDeadlineTimer& deadline);

} // namespace velmorin
