// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/MainQueue.h"
#include "Platform/Pasteboard.h"
#include "Platform/X11/SelectionReader.h"
#include "Platform/X11/SelectionServer.h"
#include "Platform/X11/XcbConnection.h"

namespace velmorin {

/// The general pasteboard is the CLIPBOARD selection. Reading waits at most 0.9 s, and 0.25 s for
/// an owner that does nothing.
///
/// Emptied, it has an owner (us) but no contents: without an owner clipboard managers would put
/// back what they remember. A text that is there when the application quits is given to the
/// clipboard manager, if there is one. On a server without the XFixes extension the change count
/// stays 0.
class XcbPasteboard : public Pasteboard {
public:
    XcbPasteboard(std::shared_ptr<XcbConnection> connection, std::shared_ptr<MainQueue> queue);
    ~XcbPasteboard() override;
    Q_DISABLE_COPY_MOVE(XcbPasteboard)

    [[nodiscard]] std::optional<QString> string(const QString& type) override;
    qint64 clearContents() override;
    bool setString(const QString& text, const QString& type) override;
    [[nodiscard]] qint64 changeCount() override;

private:
    void selectOwnerChanges();
    [[nodiscard]] bool isOwnerChange(const xcb_generic_event_t& event) const;
    void handleEvent(const xcb_generic_event_t& event);

    std::shared_ptr<XcbConnection> m_connection;
    xcb_atom_t m_clipboard;
    SelectionServer m_server;
    SelectionReader m_reader;
    std::optional<uint8_t> m_ownerChangeEvent;
    qint64 m_changeCount = 0;
    XcbConnection::Subscription m_events;
    QMetaObject::Connection m_quit;
};

} // namespace velmorin
