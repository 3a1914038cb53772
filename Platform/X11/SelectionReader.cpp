// SPDX-License-Identifier: MIT
#include "Platform/X11/SelectionReader.h"

#include <QStringDecoder>

#include <algorithm>
#include <chrono>
#include <string>

namespace velmorin {

namespace {

using namespace std::chrono_literals;

constexpr auto kSilenceLimit = 250ms; // without any progress
constexpr auto kTotalLimit = 900ms;
constexpr uint32_t kMaxBytes = 64U << 20U;
/// Enough for an owner that goes on with a text of that size after we have given up; one that
/// never ends is left alone after it.
constexpr int kMaxLateValues = 4096;

std::optional<QString> decodeUtf8(const QByteArray& bytes) {
    // Stateless, so that a character cut off at the end is an error too.
    QStringDecoder decoder(QStringConverter::Utf8, QStringConverter::Flag::Stateless |
                                                       QStringConverter::Flag::ConvertInitialBom);
    QString text = decoder.decode(bytes);
    return decoder.hasError() ? std::nullopt : std::optional(std::move(text));
}

} // namespace

SelectionReader::SelectionReader(std::shared_ptr<XcbConnection> connection, xcb_atom_t selection)
    : m_connection(std::move(connection)), m_selection(selection),
      m_incr(m_connection->atom("INCR")), m_utf8String(m_connection->atom("UTF8_STRING")),
      m_utf8Plain(m_connection->atom("text/plain;charset=utf-8")) {
    for (size_t i = 0; i < m_slots.size(); ++i) {
        m_slots[i].property = m_connection->atom("VELMORIN_SELECTION_" + std::to_string(i));
    }
}

std::optional<QString> SelectionReader::text() {
    m_end = QDeadlineTimer(kTotalLimit);
    m_requestTime = m_connection->serverTime();
    for (const xcb_atom_t target : {m_utf8String, m_utf8Plain, xcb_atom_t{XCB_ATOM_STRING}}) {
        const Answer answer = ask(target);
        if (answer.outcome == Outcome::failed) {
            giveUp();
            return std::nullopt;
        }
        if (answer.outcome == Outcome::delivered) {
            return target == XCB_ATOM_STRING ? QString::fromLatin1(answer.bytes)
                                             : decodeUtf8(answer.bytes);
        }
    }
    return std::nullopt;
}

void SelectionReader::handleEvent(const xcb_generic_event_t& event) {
    Slot* slot = slotOf(event);
    if (slot != nullptr && slot->lateValuesToDelete > 0 && isNewValue(event)) {
        --slot->lateValuesToDelete;
        xcb_delete_property(m_connection->get(), m_connection->window(), slot->property);
    }
}

SelectionReader::Answer SelectionReader::ask(xcb_atom_t target) {
    const xcb_window_t window = m_connection->window();
    const xcb_atom_t property = m_slots[m_current].property;
    xcb_delete_property(m_connection->get(), window, property);
    xcb_convert_selection(m_connection->get(), window, m_selection, target, property,
                          m_requestTime);
    const XcbEvent event = nextEvent([&](const auto& e) { return isAnswer(e, target); });
    if (!event) {
        return {Outcome::failed, {}};
    }
    if (eventAs<xcb_selection_notify_event_t>(*event).property == XCB_ATOM_NONE) {
        return {Outcome::refused, {}};
    }
    const XcbConnection::Property value = takeValue();
    if (value.type == m_incr) {
        return receivePieces(target);
    }
    const bool isText =
        value.type == target && value.format == 8 && value.bytes.size() <= qsizetype{kMaxBytes};
    return {isText ? Outcome::delivered : Outcome::failed, value.bytes};
}

/// The INCR protocol: deleting the property asks for the next piece, an empty one is the end.
SelectionReader::Answer SelectionReader::receivePieces(xcb_atom_t target) {
    const auto isPiece = [this](const xcb_generic_event_t& event) {
        return slotOf(event) == &m_slots[m_current] && isNewValue(event);
    };
    QByteArray bytes;
    while (nextEvent(isPiece)) {
        const XcbConnection::Property piece = takeValue();
        if (piece.type == XCB_ATOM_NONE) {
            continue; // the event of a value that has been read already
        }
        if (piece.bytes.isEmpty()) {
            return {Outcome::delivered, bytes};
        }
        if (piece.type != target || piece.format != 8 ||
            bytes.size() + piece.bytes.size() > qsizetype{kMaxBytes}) {
            break;
        }
        bytes += piece.bytes;
    }
    return {Outcome::failed, {}};
}

/// Null when the owner has been silent for too long or the time is up altogether.
XcbEvent
SelectionReader::nextEvent(const std::function<bool(const xcb_generic_event_t&)>& isExpected) {
    const QDeadlineTimer deadline = std::min(QDeadlineTimer(kSilenceLimit), m_end);
    const auto isOfInterest = [&](const xcb_generic_event_t& event) {
        return isExpected(event) || slotOf(event) != nullptr;
    };
    while (!deadline.hasExpired()) {
        XcbEvent event = m_connection->waitFor(isOfInterest, deadline);
        if (!event || isExpected(*event)) {
            return event;
        }
        handleEvent(*event); // an owner may first have to be rid of a request that we gave up
    }
    return nullptr;
}

XcbConnection::Property SelectionReader::takeValue() const {
    return m_connection->property(m_connection->window(), m_slots[m_current].property, kMaxBytes,
                                  true);
}

/// The time tells an answer from a late one to an earlier request.
bool SelectionReader::isAnswer(const xcb_generic_event_t& event, xcb_atom_t target) const {
    const auto& answer = eventAs<xcb_selection_notify_event_t>(event);
    return eventType(event) == XCB_SELECTION_NOTIFY && answer.requestor == m_connection->window() &&
           answer.selection == m_selection && answer.target == target &&
           answer.time == m_requestTime &&
           (answer.property == m_slots[m_current].property || answer.property == XCB_ATOM_NONE);
}

bool SelectionReader::isNewValue(const xcb_generic_event_t& event) const {
    return eventAs<xcb_property_notify_event_t>(event).state == XCB_PROPERTY_NEW_VALUE;
}

/// The slot whose property an event tells of, or null.
SelectionReader::Slot* SelectionReader::slotOf(const xcb_generic_event_t& event) {
    const auto& change = eventAs<xcb_property_notify_event_t>(event);
    if (eventType(event) != XCB_PROPERTY_NOTIFY || change.window != m_connection->window()) {
        return nullptr;
    }
    const auto found = std::find_if(m_slots.begin(), m_slots.end(),
                                    [&](const Slot& slot) { return slot.property == change.atom; });
    return found == m_slots.end() ? nullptr : &*found;
}

/// Leaves the current slot to the owner, whose data is thrown away as it comes.
void SelectionReader::giveUp() {
    m_slots[m_current].lateValuesToDelete = kMaxLateValues;
    xcb_delete_property(m_connection->get(), m_connection->window(), m_slots[m_current].property);
    m_connection->flush();
    m_current = (m_current + 1) % m_slots.size();
    m_slots[m_current].lateValuesToDelete = 0;
}

} // namespace velmorin
