// SPDX-License-Identifier: MIT
#include "Platform/X11/FocusedWindow.h"

#include <QByteArray>

#include <cstring>

namespace velmorin {

std::optional<xcb_window_t> focusedWindow(XcbConnection& connection) {
    xcb_connection_t* c = connection.get();
    const XcbPtr<xcb_get_input_focus_reply_t> focus(
        xcb_get_input_focus_reply(c, xcb_get_input_focus(c), nullptr));
    xcb_window_t window = focus ? focus->focus : xcb_window_t{XCB_NONE};
    if (window == xcb_window_t{XCB_INPUT_FOCUS_POINTER_ROOT}) {
        const XcbPtr<xcb_query_pointer_reply_t> pointer(
            xcb_query_pointer_reply(c, xcb_query_pointer(c, connection.root()), nullptr));
        window = pointer ? pointer->child : xcb_window_t{XCB_NONE};
    }
    return window == XCB_NONE ? std::nullopt : std::optional(window);
}

std::optional<qint64> claimedProcess(XcbConnection& connection, xcb_window_t window) {
    const XcbConnection::Property value =
        connection.property(window, connection.atom("_NET_WM_PID"), sizeof(uint32_t));
    if (value.format != 32 || value.bytes.size() < qsizetype{sizeof(uint32_t)}) {
        return std::nullopt;
    }
    uint32_t process = 0;
    std::memcpy(&process, value.bytes.constData(), sizeof process);
    return process;
}

} // namespace velmorin
