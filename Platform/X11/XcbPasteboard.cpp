// SPDX-License-Identifier: MIT
#include "Platform/X11/XcbPasteboard.h"

#include <QCoreApplication>

#include <chrono>

#include <xcb/xfixes.h>

namespace velmorin {

namespace {

constexpr auto kHandOverLimit = std::chrono::seconds(1);

} // namespace

XcbPasteboard::XcbPasteboard(std::shared_ptr<XcbConnection> connection,
                             std::shared_ptr<MainQueue> queue)
    : m_connection(std::move(connection)), m_clipboard(m_connection->atom("CLIPBOARD")),
      m_server(m_connection, std::move(queue), m_clipboard), m_reader(m_connection, m_clipboard) {
    selectOwnerChanges();
    m_events = m_connection->addHandler(
        [this](const xcb_generic_event_t& event) { handleEvent(event); },
        [this](const xcb_generic_event_t& event) { return m_server.isAwaited(event); });
    m_quit = QObject::connect(QCoreApplication::instance(), &QCoreApplication::aboutToQuit,
                              [this] { m_server.handOver(QDeadlineTimer(kHandOverLimit)); });
}

XcbPasteboard::~XcbPasteboard() {
    QObject::disconnect(m_quit);
}

std::optional<QString> XcbPasteboard::string(const QString& type) {
    if (type != QLatin1String(NSPasteboardTypeString)) {
        return std::nullopt;
    }
    const xcb_window_t owner = m_server.currentOwner();
    if (owner == m_connection->window()) {
        return m_server.text();
    }
    m_server.drop();
    return owner == XCB_WINDOW_NONE ? std::nullopt : m_reader.text();
}

qint64 XcbPasteboard::clearContents() {
    std::ignore = m_server.own(std::nullopt);
    return changeCount();
}

bool XcbPasteboard::setString(const QString& text, const QString& type) {
    return type == QLatin1String(NSPasteboardTypeString) && m_server.own(text);
}

qint64 XcbPasteboard::changeCount() {
    const auto changes = m_connection->takeAll(
        [this](const xcb_generic_event_t& event) { return isOwnerChange(event); });
    m_changeCount += static_cast<qint64>(changes.size());
    return m_changeCount;
}

void XcbPasteboard::selectOwnerChanges() {
    xcb_connection_t* c = m_connection->get();
    const uint8_t firstEvent = m_connection->firstEvent(&xcb_xfixes_id);
    if (firstEvent == 0) {
        return;
    }
    // The server refuses the extension's requests until it was told a version.
    const XcbPtr<xcb_xfixes_query_version_reply_t> version(
        xcb_xfixes_query_version_reply(c, xcb_xfixes_query_version(c, 1, 0), nullptr));
    xcb_xfixes_select_selection_input(c, m_connection->window(), m_clipboard,
                                      XCB_XFIXES_SELECTION_EVENT_MASK_SET_SELECTION_OWNER |
                                          XCB_XFIXES_SELECTION_EVENT_MASK_SELECTION_WINDOW_DESTROY |
                                          XCB_XFIXES_SELECTION_EVENT_MASK_SELECTION_CLIENT_CLOSE);
    m_connection->flush();
    m_ownerChangeEvent = static_cast<uint8_t>(firstEvent + XCB_XFIXES_SELECTION_NOTIFY);
}

bool XcbPasteboard::isOwnerChange(const xcb_generic_event_t& event) const {
    return m_ownerChangeEvent == eventType(event) &&
           eventAs<xcb_xfixes_selection_notify_event_t>(event).selection == m_clipboard;
}

void XcbPasteboard::handleEvent(const xcb_generic_event_t& event) {
    if (isOwnerChange(event)) {
        ++m_changeCount;
    }
    m_server.handleEvent(event);
    m_reader.handleEvent(event);
}

} // namespace velmorin
