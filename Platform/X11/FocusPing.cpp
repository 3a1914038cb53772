// SPDX-License-Identifier: MIT
#include "Platform/X11/FocusPing.h"
#include "Platform/X11/FocusedWindow.h"

#include <QByteArray>

#include <algorithm>
#include <cstring>
#include <vector>

#include <unistd.h>

namespace velmorin {
namespace {

bool takesPings(XcbConnection& connection, xcb_window_t window) {
    constexpr uint32_t maximum = 1024;
    const XcbConnection::Property protocols =
        connection.property(window, connection.atom("WM_PROTOCOLS"), maximum);
    if (protocols.format != 32 || protocols.bytes.isEmpty()) {
        return false;
    }
    std::vector<xcb_atom_t> atoms(static_cast<size_t>(protocols.bytes.size()) / sizeof(xcb_atom_t));
    std::memcpy(atoms.data(), protocols.bytes.constData(), atoms.size() * sizeof(xcb_atom_t));
    return std::find(atoms.begin(), atoms.end(), connection.atom("_NET_WM_PING")) != atoms.end();
}

/// The window that has the focus, or the one around it that takes pings; XCB_NONE without such.
xcb_window_t pingedWindow(XcbConnection& connection) {
    xcb_connection_t* c = connection.get();
    xcb_window_t window = focusedWindow(connection).value_or(xcb_window_t{XCB_NONE});
    while (window != XCB_NONE && window != connection.root()) {
        const xcb_query_tree_cookie_t asked = xcb_query_tree(c, window); // for the next turn
        if (takesPings(connection, window)) {
            xcb_discard_reply(c, asked.sequence);
            return claimedProcess(connection, window) == ::getpid() ? xcb_window_t{XCB_NONE}
                                                                    : window;
        }
        const XcbPtr<xcb_query_tree_reply_t> tree(xcb_query_tree_reply(c, asked, nullptr));
        window = tree ? tree->parent : xcb_window_t{XCB_NONE};
    }
    return XCB_NONE;
}

/// Has the answers, which go to the root window, reported as long as it lives.
class AnswersSelected {
public:
    /// `asked` is for the attributes of the root window.
    AnswersSelected(XcbConnection& connection, xcb_get_window_attributes_cookie_t asked)
        : m_connection(connection) {
        const XcbPtr<xcb_get_window_attributes_reply_t> attributes(
            xcb_get_window_attributes_reply(connection.get(), asked, nullptr));
        m_before = attributes ? attributes->your_event_mask : 0;
        // GTK sends it to those who select the one, Qt to those who select the other.
        select(m_before | XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY | XCB_EVENT_MASK_STRUCTURE_NOTIFY);
    }
    ~AnswersSelected() { select(m_before); }
    Q_DISABLE_COPY_MOVE(AnswersSelected)

private:
    void select(uint32_t mask) {
        xcb_change_window_attributes(m_connection.get(), m_connection.root(), XCB_CW_EVENT_MASK,
                                     &mask);
    }

    XcbConnection& m_connection;
    uint32_t m_before = 0;
};

} // namespace

bool pingFocus(XcbConnection& connection, const QDeadlineTimer& deadline) {
    // Answered together with the first of the other questions.
    const xcb_get_window_attributes_cookie_t asked =
        xcb_get_window_attributes(connection.get(), connection.root());
    const xcb_window_t window = pingedWindow(connection);
    if (window == XCB_NONE) {
        xcb_discard_reply(connection.get(), asked.sequence);
        return false;
    }
    const AnswersSelected selected(connection, asked);
    xcb_client_message_event_t ping{};
    ping.response_type = XCB_CLIENT_MESSAGE;
    ping.format = 32;
    ping.window = window;
    ping.type = connection.atom("WM_PROTOCOLS");
    ping.data.data32[0] = connection.atom("_NET_WM_PING");
    ping.data.data32[1] = connection.serverTime();
    ping.data.data32[2] = window;
    xcb_send_event(connection.get(), 0, window, XCB_EVENT_MASK_NO_EVENT,
                   reinterpret_cast<const char*>(&ping));
    const auto isAnswer = [&](const xcb_generic_event_t& event) {
        return eventType(event) == XCB_CLIENT_MESSAGE &&
               std::equal(std::begin(ping.data.data32), std::begin(ping.data.data32) + 3,
                          std::begin(eventAs<xcb_client_message_event_t>(event).data.data32));
    };
    return connection.waitFor(isAnswer, deadline) != nullptr;
}

} // namespace velmorin
