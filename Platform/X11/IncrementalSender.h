// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/MainQueue.h"
#include "Platform/X11/XcbConnection.h"

#include <QByteArray>

#include <optional>
#include <vector>

namespace velmorin {

/// Sends selection data that is too large for one request, piece by piece (the INCR protocol): a
/// piece goes each time the requestor has deleted the one before it. Several transfers run at
/// once. One whose requestor takes nothing for a while is dropped. Main thread.
class IncrementalSender : public std::enable_shared_from_this<IncrementalSender> {
public:
    IncrementalSender(std::shared_ptr<XcbConnection> connection, std::shared_ptr<MainQueue> queue);

    /// The most that one request carries.
    [[nodiscard]] qsizetype pieceBytes() const { return m_pieceBytes; }

    /// Announces `bytes` in the requestor's property and sends them as they are taken. False when
    /// the window does not exist or too many transfers are running.
    [[nodiscard]] bool begin(xcb_window_t requestor, xcb_atom_t property, xcb_atom_t type,
                             QByteArray bytes);

    /// Ends the transfer to that property, if there is one.
    void cancel(xcb_window_t requestor, xcb_atom_t property);

    /// Whether the event asks for the next piece.
    [[nodiscard]] bool isAwaited(const xcb_generic_event_t& event) const;

    /// To be called with every event.
    void handleEvent(const xcb_generic_event_t& event);

private:
    struct Transfer {
        xcb_window_t requestor;
        xcb_atom_t property;
        xcb_atom_t type;
        QByteArray bytes;
        uint32_t eventsBefore; // what we had selected on the window for other reasons
        qsizetype sent = 0;
        bool hasMoved = true; // since the last look for stalled transfers
    };

    [[nodiscard]] static bool isForNextPiece(const Transfer& transfer,
                                             const xcb_generic_event_t& event);
    [[nodiscard]] std::optional<uint32_t> selectEvents(xcb_window_t requestor);
    [[nodiscard]] bool sendPiece(Transfer& transfer);
    void watchForStalls();
    void dropStalled();
    template <typename Predicate>
    void dropIf(const Predicate& predicate);

    std::shared_ptr<XcbConnection> m_connection;
    std::shared_ptr<MainQueue> m_queue;
    xcb_atom_t m_incr;
    qsizetype m_pieceBytes;
    std::vector<Transfer> m_transfers;
    bool m_isWatching = false;
};

} // namespace velmorin
