// SPDX-License-Identifier: MIT
#include "Platform/X11/IncrementalSender.h"

#include <algorithm>
#include <chrono>

namespace velmorin {

namespace {

constexpr auto kStallLimit = std::chrono::seconds(5);
constexpr size_t kMaxTransfers = 32;
constexpr qsizetype kPieceBytes = qsizetype{256} * 1024;
constexpr qsizetype kRequestHeaderBytes = 64;

void setSelectedEvents(xcb_connection_t* connection, xcb_window_t window, uint32_t events) {
    xcb_change_window_attributes(connection, window, XCB_CW_EVENT_MASK, &events);
}

} // namespace

IncrementalSender::IncrementalSender(std::shared_ptr<XcbConnection> connection,
                                     std::shared_ptr<MainQueue> queue)
    : m_connection(std::move(connection)), m_queue(std::move(queue)),
      m_incr(m_connection->atom("INCR")),
      m_pieceBytes(
          std::min(kPieceBytes, qsizetype{4} * xcb_get_maximum_request_length(m_connection->get()) -
                                    kRequestHeaderBytes)) {}

bool IncrementalSender::begin(xcb_window_t requestor, xcb_atom_t property, xcb_atom_t type,
                              QByteArray bytes) {
    cancel(requestor, property);
    if (m_transfers.size() >= kMaxTransfers) {
        return false;
    }
    const std::optional<uint32_t> eventsBefore = selectEvents(requestor);
    if (!eventsBefore) {
        return false;
    }
    const auto size = static_cast<uint32_t>(bytes.size());
    xcb_change_property(m_connection->get(), XCB_PROP_MODE_REPLACE, requestor, property, m_incr, 32,
                        1, &size);
    m_transfers.push_back({requestor, property, type, std::move(bytes), *eventsBefore});
    watchForStalls();
    return true;
}

void IncrementalSender::cancel(xcb_window_t requestor, xcb_atom_t property) {
    dropIf([&](const Transfer& transfer) {
        return transfer.requestor == requestor && transfer.property == property;
    });
}

void IncrementalSender::handleEvent(const xcb_generic_event_t& event) {
    if (eventType(event) == XCB_DESTROY_NOTIFY) {
        const xcb_window_t gone = eventAs<xcb_destroy_notify_event_t>(event).window;
        dropIf([&](const Transfer& transfer) { return transfer.requestor == gone; });
    }
    const auto transfer =
        std::find_if(m_transfers.begin(), m_transfers.end(),
                     [&](const Transfer& candidate) { return isForNextPiece(candidate, event); });
    if (transfer != m_transfers.end() && !sendPiece(*transfer)) {
        cancel(transfer->requestor, transfer->property);
    }
}

bool IncrementalSender::isAwaited(const xcb_generic_event_t& event) const {
    return std::any_of(m_transfers.begin(), m_transfers.end(),
                       [&](const Transfer& transfer) { return isForNextPiece(transfer, event); });
}

bool IncrementalSender::isForNextPiece(const Transfer& transfer, const xcb_generic_event_t& event) {
    const auto& change = eventAs<xcb_property_notify_event_t>(event);
    return eventType(event) == XCB_PROPERTY_NOTIFY && change.state == XCB_PROPERTY_DELETE &&
           change.window == transfer.requestor && change.atom == transfer.property;
}

/// Has the window's property changes and its end reported. Returns what was reported before; none
/// when there is no such window.
std::optional<uint32_t> IncrementalSender::selectEvents(xcb_window_t requestor) {
    const auto running =
        std::find_if(m_transfers.begin(), m_transfers.end(),
                     [&](const Transfer& transfer) { return transfer.requestor == requestor; });
    if (running != m_transfers.end()) {
        return running->eventsBefore;
    }
    xcb_connection_t* c = m_connection->get();
    const XcbPtr<xcb_get_window_attributes_reply_t> attributes(
        xcb_get_window_attributes_reply(c, xcb_get_window_attributes(c, requestor), nullptr));
    if (!attributes) {
        return std::nullopt;
    }
    setSelectedEvents(c, requestor,
                      attributes->your_event_mask | XCB_EVENT_MASK_PROPERTY_CHANGE |
                          XCB_EVENT_MASK_STRUCTURE_NOTIFY);
    return attributes->your_event_mask;
}

/// False after the empty piece, which is the end.
bool IncrementalSender::sendPiece(Transfer& transfer) {
    const qsizetype size = std::min(m_pieceBytes, transfer.bytes.size() - transfer.sent);
    xcb_change_property(m_connection->get(), XCB_PROP_MODE_REPLACE, transfer.requestor,
                        transfer.property, transfer.type, 8, static_cast<uint32_t>(size),
                        transfer.bytes.constData() + transfer.sent);
    transfer.sent += size;
    transfer.hasMoved = true;
    return size > 0;
}

void IncrementalSender::watchForStalls() {
    if (m_isWatching || m_transfers.empty()) {
        return;
    }
    m_isWatching = true;
    m_queue->asyncAfter(kStallLimit, [weak = weak_from_this()] {
        if (const auto self = weak.lock()) {
            self->dropStalled();
        }
    });
}

void IncrementalSender::dropStalled() {
    m_isWatching = false;
    dropIf([](const Transfer& transfer) { return !transfer.hasMoved; });
    for (Transfer& transfer : m_transfers) {
        transfer.hasMoved = false;
    }
    watchForStalls();
}

template <typename Predicate>
void IncrementalSender::dropIf(const Predicate& predicate) {
    const auto firstDropped =
        std::stable_partition(m_transfers.begin(), m_transfers.end(),
                              [&](const Transfer& transfer) { return !predicate(transfer); });
    for (auto dropped = firstDropped; dropped != m_transfers.end(); ++dropped) {
        const bool isInUse =
            std::any_of(m_transfers.begin(), firstDropped, [&](const Transfer& transfer) {
                return transfer.requestor == dropped->requestor;
            });
        if (!isInUse) {
            setSelectedEvents(m_connection->get(), dropped->requestor, dropped->eventsBefore);
        }
    }
    m_transfers.erase(firstDropped, m_transfers.end());
    m_connection->flush();
}

} // namespace velmorin
