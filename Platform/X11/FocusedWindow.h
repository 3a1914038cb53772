// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/X11/XcbConnection.h"

#include <optional>

namespace velmorin {

/// The window that the keys go to: the one with the focus or, where the focus follows the pointer
/// (as without a window manager), the topmost one under it. One or two round trips.
[[nodiscard]] std::optional<xcb_window_t> focusedWindow(XcbConnection& connection);

/// The process that the window says it belongs to: `_NET_WM_PID` of Extended Window Manager Hints
/// 1.5. Anything may be written there.
[[nodiscard]] std::optional<qint64> claimedProcess(XcbConnection& connection, xcb_window_t window);

} // namespace velmorin
