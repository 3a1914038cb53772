// SPDX-License-Identifier: MIT
#include "Platform/X11/XcbActiveWindow.h"

#include <cstring>

#include <xcb/res.h>

namespace velmorin {

XcbActiveWindow::XcbActiveWindow(std::shared_ptr<XcbConnection> connection)
    : m_connection(std::move(connection)) {}

std::optional<qint64> XcbActiveWindow::processId() {
    xcb_connection_t* c = m_connection->get();
    const XcbPtr<xcb_get_input_focus_reply_t> focus(
        xcb_get_input_focus_reply(c, xcb_get_input_focus(c), nullptr));
    if (!focus || focus->focus == XCB_NONE || focus->focus == XCB_INPUT_FOCUS_POINTER_ROOT) {
        return std::nullopt;
    }
    const std::optional<qint64> process = clientProcess(focus->focus);
    return process ? process : claimedProcess(focus->focus);
}

std::optional<qint64> XcbActiveWindow::clientProcess(xcb_window_t window) const {
    xcb_connection_t* c = m_connection->get();
    if (xcb_get_extension_data(c, &xcb_res_id)->present == 0) {
        return std::nullopt;
    }
    const xcb_res_client_id_spec_t query{window, XCB_RES_CLIENT_ID_MASK_LOCAL_CLIENT_PID};
    const XcbPtr<xcb_res_query_client_ids_reply_t> reply(
        xcb_res_query_client_ids_reply(c, xcb_res_query_client_ids(c, 1, &query), nullptr));
    if (!reply) {
        return std::nullopt;
    }
    for (auto id = xcb_res_query_client_ids_ids_iterator(reply.get()); id.rem > 0;
         xcb_res_client_id_value_next(&id)) {
        // Only the kind of identifier that was asked for is answered.
        if (xcb_res_client_id_value_value_length(id.data) > 0) {
            return xcb_res_client_id_value_value(id.data)[0];
        }
    }
    return std::nullopt;
}

std::optional<qint64> XcbActiveWindow::claimedProcess(xcb_window_t window) {
    const XcbConnection::Property value =
        m_connection->property(window, m_connection->atom("_NET_WM_PID"), sizeof(uint32_t));
    if (value.format != 32 || value.bytes.size() < qsizetype{sizeof(uint32_t)}) {
        return std::nullopt;
    }
    uint32_t process = 0;
    std::memcpy(&process, value.bytes.constData(), sizeof process);
    return process;
}

} // namespace velmorin
