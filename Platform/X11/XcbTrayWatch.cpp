// SPDX-License-Identifier: MIT
#include "Platform/X11/XcbTrayWatch.h"

#include <string>

#include <xcb/xfixes.h>

namespace velmorin {

XcbTrayWatch::XcbTrayWatch(std::shared_ptr<XcbConnection> connection)
    : m_connection(std::move(connection)),
      m_selection(m_connection->atom("_NET_SYSTEM_TRAY_S" +
                                     std::to_string(m_connection->screenNumber()))) {}

bool XcbTrayWatch::isThere() const {
    xcb_connection_t* c = m_connection->get();
    const XcbPtr<xcb_get_selection_owner_reply_t> reply(
        xcb_get_selection_owner_reply(c, xcb_get_selection_owner(c, m_selection), nullptr));
    return reply && reply->owner != XCB_NONE;
}

void XcbTrayWatch::onAppear(std::function<void()> handler) {
    const uint8_t firstEvent = m_connection->firstEvent(&xcb_xfixes_id);
    if (firstEvent == 0) {
        return;
    }
    xcb_connection_t* c = m_connection->get();
    const XcbPtr<xcb_xfixes_query_version_reply_t> version(
        xcb_xfixes_query_version_reply(c, xcb_xfixes_query_version(c, 1, 0), nullptr));
    xcb_xfixes_select_selection_input(c, m_connection->window(), m_selection,
                                      XCB_XFIXES_SELECTION_EVENT_MASK_SET_SELECTION_OWNER);
    xcb_flush(c);
    m_subscription = m_connection->addHandler(
        [this, handler = std::move(handler), firstEvent](const xcb_generic_event_t& event) {
            if (eventType(event) != firstEvent + XCB_XFIXES_SELECTION_NOTIFY) {
                return;
            }
            const auto& change = eventAs<xcb_xfixes_selection_notify_event_t>(event);
            if (change.selection == m_selection && change.owner != XCB_NONE) {
                handler();
            }
        });
}

} // namespace velmorin
