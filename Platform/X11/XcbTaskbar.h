// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/X11/XcbConnection.h"

namespace velmorin {

/// Asks the window manager to show, or not to show, a mapped window in taskbars and pagers
/// (Extended Window Manager Hints, _NET_WM_STATE).
void setInTaskbar(XcbConnection& connection, xcb_window_t window, bool isInTaskbar);

} // namespace velmorin
