// SPDX-License-Identifier: MIT
#include "Platform/X11/XcbTaskbar.h"

namespace velmorin {

void setInTaskbar(XcbConnection& connection, xcb_window_t window, bool isInTaskbar) {
    constexpr uint32_t remove = 0;
    constexpr uint32_t add = 1;
    constexpr uint32_t fromApplication = 1;
    xcb_client_message_event_t message = {};
    message.response_type = XCB_CLIENT_MESSAGE;
    message.format = 32;
    message.window = window;
    message.type = connection.atom("_NET_WM_STATE");
    message.data.data32[0] = isInTaskbar ? remove : add;
    message.data.data32[1] = connection.atom("_NET_WM_STATE_SKIP_TASKBAR");
    message.data.data32[2] = connection.atom("_NET_WM_STATE_SKIP_PAGER");
    message.data.data32[3] = fromApplication;
    xcb_send_event(connection.get(), 0, connection.root(),
                   XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY | XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT,
                   reinterpret_cast<const char*>(&message));
    connection.flush();
}

} // namespace velmorin
