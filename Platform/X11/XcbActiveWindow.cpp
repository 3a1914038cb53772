// SPDX-License-Identifier: MIT
#include "Platform/X11/XcbActiveWindow.h"

#include "Platform/X11/FocusPing.h"
#include "Platform/X11/FocusedWindow.h"

#include <tuple>

#include <xcb/res.h>

namespace velmorin {

XcbActiveWindow::XcbActiveWindow(std::shared_ptr<XcbConnection> connection)
    : m_connection(std::move(connection)) {}

std::optional<qint64> XcbActiveWindow::processId() {
    const std::optional<xcb_window_t> window = focusedWindow(*m_connection);
    if (!window) {
        return std::nullopt;
    }
    const std::optional<qint64> process = clientProcess(*window);
    return process ? process : claimedProcess(*m_connection, *window);
}

std::optional<quint64> XcbActiveWindow::identifier() {
    return focusedWindow(*m_connection);
}

void XcbActiveWindow::awaitInputHandled(std::chrono::milliseconds limit) {
    std::ignore = pingFocus(*m_connection, QDeadlineTimer(limit));
}

std::optional<qint64> XcbActiveWindow::clientProcess(xcb_window_t window) const {
    xcb_connection_t* c = m_connection->get();
    const xcb_query_extension_reply_t* extension = xcb_get_extension_data(c, &xcb_res_id);
    if (extension == nullptr || extension->present == 0) {
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

} // namespace velmorin
