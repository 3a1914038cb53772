// SPDX-License-Identifier: MIT
#include "Platform/X11/XcbActiveWindow.h"

#include "Platform/X11/FocusPing.h"

#include <cstring>
#include <tuple>

#include <xcb/res.h>

namespace velmorin {

XcbActiveWindow::XcbActiveWindow(std::shared_ptr<XcbConnection> connection)
    : m_connection(std::move(connection)) {}

std::optional<qint64> XcbActiveWindow::processId() {
    const std::optional<xcb_window_t> window = focusedWindow();
    if (!window) {
        return std::nullopt;
    }
    const std::optional<qint64> process = clientProcess(*window);
    return process ? process : claimedProcess(*window);
}

std::optional<quint64> XcbActiveWindow::identifier() {
    return focusedWindow();
}

void XcbActiveWindow::awaitInputHandled(std::chrono::milliseconds limit) {
    std::ignore = pingFocus(*m_connection, QDeadlineTimer(limit));
}

std::optional<xcb_window_t> XcbActiveWindow::focusedWindow() const {
    xcb_connection_t* c = m_connection->get();
    const XcbPtr<xcb_get_input_focus_reply_t> reply(
        xcb_get_input_focus_reply(c, xcb_get_input_focus(c), nullptr));
    const bool isWindow = reply && reply->focus != XCB_NONE &&
                          reply->focus != xcb_window_t{XCB_INPUT_FOCUS_POINTER_ROOT};
    return isWindow ? std::optional(reply->focus) : std::nullopt;
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
