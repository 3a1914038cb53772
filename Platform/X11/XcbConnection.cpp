// SPDX-License-Identifier: MIT
#include "Platform/X11/XcbConnection.h"

#include <QAbstractEventDispatcher>

#include <algorithm>
#include <cerrno>

#include <poll.h>

namespace velmorin {

bool XcbConnection::canOpen() {
    xcb_connection_t* connection = xcb_connect(nullptr, nullptr);
    const bool isOpen = xcb_connection_has_error(connection) == 0;
    xcb_disconnect(connection);
    return isOpen;
}

std::shared_ptr<XcbConnection> XcbConnection::open() {
    int screenNumber = 0;
    xcb_connection_t* connection = xcb_connect(nullptr, &screenNumber);
    if (xcb_connection_has_error(connection) != 0) {
        xcb_disconnect(connection);
        return nullptr;
    }
    xcb_screen_iterator_t screens = xcb_setup_roots_iterator(xcb_get_setup(connection));
    for (int i = 0; i < screenNumber && screens.rem > 1; ++i) {
        xcb_screen_next(&screens);
    }
    return std::shared_ptr<XcbConnection>(
        new XcbConnection(connection, screens.data, screenNumber));
}

XcbConnection::XcbConnection(xcb_connection_t* connection, xcb_screen_t* screen, int screenNumber)
    : m_connection(connection), m_screen(screen), m_screenNumber(screenNumber),
      m_window(xcb_generate_id(connection)),
      m_notifier(xcb_get_file_descriptor(connection), QSocketNotifier::Read) {
    const uint32_t mask = XCB_EVENT_MASK_PROPERTY_CHANGE;
    xcb_create_window(connection, XCB_COPY_FROM_PARENT, m_window, screen->root, -1, -1, 1, 1, 0,
                      XCB_WINDOW_CLASS_INPUT_ONLY, XCB_COPY_FROM_PARENT, XCB_CW_EVENT_MASK, &mask);
    connect(&m_notifier, &QSocketNotifier::activated, this, &XcbConnection::dispatch);
    // Waiting for a reply also reads events, which then leave nothing in the socket to wake us.
    connect(QAbstractEventDispatcher::instance(), &QAbstractEventDispatcher::aboutToBlock, this,
            &XcbConnection::dispatch);
}

XcbConnection::~XcbConnection() {
    m_notifier.setEnabled(false);
    xcb_disconnect(m_connection);
}

xcb_atom_t XcbConnection::atom(const std::string& name) {
    const auto known = m_atoms.find(name);
    if (known != m_atoms.end()) {
        return known->second;
    }
    const XcbPtr<xcb_intern_atom_reply_t> reply(xcb_intern_atom_reply(
        m_connection,
        xcb_intern_atom(m_connection, 0, static_cast<uint16_t>(name.size()), name.c_str()),
        nullptr));
    const xcb_atom_t atom = reply ? reply->atom : static_cast<xcb_atom_t>(XCB_ATOM_NONE);
    if (reply) {
        m_atoms.emplace(name, atom);
    }
    return atom;
}

uint8_t XcbConnection::firstEvent(xcb_extension_t* extension) const {
    const xcb_query_extension_reply_t* data = xcb_get_extension_data(m_connection, extension);
    return data != nullptr && data->present != 0 ? data->first_event : uint8_t{0};
}

XcbConnection::Subscription XcbConnection::addHandler(Handler handler, Matcher isUrgent) {
    auto kept =
        std::make_shared<const Registered>(Registered{std::move(handler), std::move(isUrgent)});
    m_handlers.push_back(kept);
    return kept;
}

XcbEvent XcbConnection::waitFor(const Matcher& matches, const QDeadlineTimer& deadline) {
    size_t seen = 0;
    while (true) {
        readArrived();
        while (seen < m_kept.size()) {
            const bool isMatch = matches(*m_kept[seen]);
            if (!isMatch && !handleUrgent(*m_kept[seen])) {
                ++seen;
                continue;
            }
            XcbEvent event = std::move(m_kept[seen]);
            m_kept.erase(m_kept.begin() + static_cast<std::ptrdiff_t>(seen));
            if (isMatch) {
                return event;
            }
        }
        if (m_lost || deadline.hasExpired()) {
            return nullptr;
        }
        flush();
        pollfd descriptor{xcb_get_file_descriptor(m_connection), POLLIN, 0};
        ::poll(&descriptor, 1, static_cast<int>(deadline.remainingTime()));
    }
}

std::vector<XcbEvent> XcbConnection::takeAll(const Matcher& matches) {
    // Any request with a reply will do: events that happened before it are sent before the reply.
    const XcbPtr<xcb_get_input_focus_reply_t> reply(
        xcb_get_input_focus_reply(m_connection, xcb_get_input_focus(m_connection), nullptr));
    readArrived();
    std::vector<XcbEvent> taken;
    for (XcbEvent& event : m_kept) {
        if (matches(*event)) {
            taken.push_back(std::move(event));
        }
    }
    std::erase(m_kept, nullptr);
    return taken;
}

xcb_timestamp_t XcbConnection::serverTime() {
    const xcb_atom_t stamp = atom("VELMORIN_TIMESTAMP");
    xcb_change_property(m_connection, XCB_PROP_MODE_REPLACE, m_window, stamp, XCB_ATOM_INTEGER, 32,
                        0, nullptr);
    const XcbEvent event = waitFor(
        [&](const xcb_generic_event_t& candidate) {
            const auto& change = eventAs<xcb_property_notify_event_t>(candidate);
            return eventType(candidate) == XCB_PROPERTY_NOTIFY && change.window == m_window &&
                   change.atom == stamp;
        },
        QDeadlineTimer(std::chrono::seconds(1)));
    return event ? eventAs<xcb_property_notify_event_t>(*event).time
                 : static_cast<xcb_timestamp_t>(XCB_CURRENT_TIME);
}

XcbConnection::Property XcbConnection::property(xcb_window_t window, xcb_atom_t name,
                                                uint32_t maxBytes, bool deleteAfter) const {
    const XcbPtr<xcb_get_property_reply_t> reply(
        xcb_get_property_reply(m_connection,
                               xcb_get_property(m_connection, deleteAfter ? 1 : 0, window, name,
                                                XCB_ATOM_ANY, 0, maxBytes / 4 + 1),
                               nullptr));
    if (!reply) {
        return {};
    }
    return {reply->type, reply->format,
            QByteArray(static_cast<const char*>(xcb_get_property_value(reply.get())),
                       xcb_get_property_value_length(reply.get()))};
}

void XcbConnection::readArrived() {
    while (XcbEvent event{xcb_poll_for_event(m_connection)}) {
        if (event->response_type != 0) { // 0 is an error of a request that nobody waits for
            m_kept.push_back(std::move(event));
        }
    }
    if (!m_lost && xcb_connection_has_error(m_connection) != 0) {
        m_lost = true;
        m_notifier.setEnabled(false);
        QMetaObject::invokeMethod(this, &XcbConnection::lost, Qt::QueuedConnection);
    }
}

bool XcbConnection::handleUrgent(const xcb_generic_event_t& event) const {
    for (const std::weak_ptr<const Registered>& weak : m_handlers) {
        const std::shared_ptr<const Registered> handler = weak.lock();
        if (handler && handler->isUrgent && handler->isUrgent(event)) {
            handler->handle(event);
            return true;
        }
    }
    return false;
}

void XcbConnection::dispatch() {
    readArrived();
    while (!m_kept.empty()) {
        const XcbEvent event = std::move(m_kept.front());
        m_kept.pop_front();
        for (const std::weak_ptr<const Registered>& weak : std::vector(m_handlers)) {
            if (const std::shared_ptr<const Registered> handler = weak.lock()) {
                handler->handle(*event);
            }
        }
        std::erase_if(m_handlers, [](const auto& handler) { return handler.expired(); });
        readArrived();
    }
    flush();
}

} // namespace velmorin
