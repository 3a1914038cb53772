// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/MainQueue.h"
#include "Platform/X11/IncrementalSender.h"
#include "Platform/X11/XcbConnection.h"

#include <QByteArray>
#include <QString>

#include <optional>
#include <vector>

namespace velmorin {

/// Owns a selection and gives its text to the clients that ask for it. Main thread.
class SelectionServer {
public:
    SelectionServer(std::shared_ptr<XcbConnection> connection, std::shared_ptr<MainQueue> queue,
                    xcb_atom_t selection);

    /// Becomes the selection's owner, anew if it is that already, with `text` or with no contents
    /// at all. False when the server did not let us.
    [[nodiscard]] bool own(std::optional<QString> text);

    /// Forgets the text and answers no more requests.
    void drop();

    /// The text that is being served.
    [[nodiscard]] const std::optional<QString>& text() const { return m_text; }

    /// The window that owns the selection now. One round trip.
    [[nodiscard]] xcb_window_t currentOwner() const;

    /// To be called with every event.
    void handleEvent(const xcb_generic_event_t& event);

private:
    struct Value {
        xcb_atom_t type;
        uint8_t format;
        QByteArray bytes;
    };

    void answer(const xcb_selection_request_event_t& request);
    [[nodiscard]] bool isForUs(const xcb_selection_request_event_t& request) const;
    [[nodiscard]] bool deliver(xcb_window_t requestor, xcb_atom_t property, xcb_atom_t target);
    [[nodiscard]] bool deliverMultiple(xcb_window_t requestor, xcb_atom_t property);
    [[nodiscard]] std::optional<Value> valueAs(xcb_atom_t target) const;
    [[nodiscard]] std::vector<xcb_atom_t> targets() const;

    std::shared_ptr<XcbConnection> m_connection;
    std::shared_ptr<IncrementalSender> m_sender;
    xcb_atom_t m_selection;
    struct {
        xcb_atom_t targets, timestamp, multiple, atomPair, utf8String, utf8Plain, plain, text, hint;
    } m_atoms;

    bool m_isOwner = false;
    xcb_timestamp_t m_ownedSince = XCB_CURRENT_TIME;
    uint32_t m_ownedSinceRequest = 0; // the sequence number of the request that made us the owner
    std::optional<QString> m_text;
};

} // namespace velmorin
