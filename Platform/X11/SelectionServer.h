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

/// Owns a selection and gives its text to the clients that ask for it. A client that is late, and
/// asks in the name of an earlier time, gets the text of that time for ten seconds more: a busy
/// application that pastes after its user's text was put back still pastes the right one. Main
/// thread.
class SelectionServer {
public:
    SelectionServer(std::shared_ptr<XcbConnection> connection, std::shared_ptr<MainQueue> queue,
                    xcb_atom_t selection);

    /// Becomes the selection's owner, anew if it is that already, with `text` or with no contents
    /// at all. False when the server did not let us.
    [[nodiscard]] bool own(std::optional<QString> text);

    /// Forgets all texts and answers no more requests.
    void drop();

    /// Gives the text to the session's clipboard manager (freedesktop.org's ClipboardManager,
    /// `SAVE_TARGETS`), so that it outlives this process. Returns when the manager has it, at once
    /// without a manager or a text, and at `deadline` at the latest.
    void handOver(const QDeadlineTimer& deadline);

    /// The text that is being served.
    [[nodiscard]] std::optional<QString> text() const;

    /// The window that owns the selection now. One round trip.
    [[nodiscard]] xcb_window_t currentOwner() const;

    /// Whether another client stands still until the event is handled.
    [[nodiscard]] bool isAwaited(const xcb_generic_event_t& event) const;

    /// To be called with every event.
    void handleEvent(const xcb_generic_event_t& event);

private:
    /// No text when the selection is owned, but empty.
    struct Contents {
        std::optional<QString> text;
        xcb_timestamp_t since;
    };
    struct Value {
        xcb_atom_t type;
        uint8_t format;
        QByteArray bytes;
    };

    void answer(const xcb_selection_request_event_t& request);
    [[nodiscard]] const Contents* contentsAt(xcb_timestamp_t time) const;
    [[nodiscard]] bool deliver(const Contents& contents, xcb_window_t requestor,
                               xcb_atom_t property, xcb_atom_t target);
    [[nodiscard]] bool deliverMultiple(const Contents& contents, xcb_window_t requestor,
                                       xcb_atom_t property);
    [[nodiscard]] std::optional<Value> valueAs(const Contents& contents, xcb_atom_t target) const;
    [[nodiscard]] std::vector<xcb_atom_t> targets(const Contents& contents) const;
    [[nodiscard]] xcb_window_t ownerOf(xcb_atom_t selection) const;
    void forgetLater(xcb_timestamp_t replaced);

    std::shared_ptr<XcbConnection> m_connection;
    std::shared_ptr<MainQueue> m_queue;
    std::shared_ptr<IncrementalSender> m_sender;
    xcb_atom_t m_selection;
    struct {
        xcb_atom_t targets, timestamp, multiple, atomPair, utf8String, utf8Plain, plain, text, hint;
    } m_atoms;

    bool m_isForHistories = false;
    uint32_t m_ownedSinceRequest = 0; // the sequence number of the request that made us the owner
    /// In their order in time; none while somebody else owns the selection.
    std::shared_ptr<std::vector<Contents>> m_contents = std::make_shared<std::vector<Contents>>();
};

} // namespace velmorin
