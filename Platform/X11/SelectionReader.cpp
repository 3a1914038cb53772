// SPDX-License-Identifier: MIT
#include "Platform/X11/SelectionReader.h"

#include <algorithm>
#include <chrono>
#include <string>

namespace velmorin {

namespace {

using namespace std::chrono_literals;

constexpr auto kSilenceLimit = 250ms; // without any progress
constexpr auto kTotalLimit = 900ms;
/// Enough for an owner that goes on with a text of that size after we have given up; one that
/// never ends is left alone after it.
constexpr int kMaxLateValues = 4096;

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
        TextTransfer transfer(target, m_incr);
        switch (ask(transfer)) {
        case Outcome::delivered:
            return transfer.text();
        case Outcome::refused:
            break; // perhaps it has the next one
        case Outcome::failed:
            giveUp();
            return std::nullopt;
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

SelectionReader::Outcome SelectionReader::ask(TextTransfer& transfer) {
    const xcb_window_t window = m_connection->window();
    const xcb_atom_t property = m_slots[m_current].property;
    xcb_delete_property(m_connection->get(), window, property);
    xcb_convert_selection(m_connection->get(), window, m_selection, transfer.target(), property,
                          m_requestTime);
    const XcbEvent event = nextEvent([&](const auto& e) { return isAnswer(e, transfer.target()); });
    if (!event) {
        return Outcome::failed;
    }
    if (eventAs<xcb_selection_notify_event_t>(*event).property == XCB_ATOM_NONE) {
        return Outcome::refused;
    }
    // Taking a value deletes the property, which asks for the next piece.
    const auto isPiece = [this](const xcb_generic_event_t& e) {
        return slotOf(e) == &m_slots[m_current] && isNewValue(e);
    };
    TextTransfer::State state = transfer.take(takeValue());
    while (state == TextTransfer::State::receiving && nextEvent(isPiece)) {
        state = transfer.take(takeValue());
    }
    return state == TextTransfer::State::delivered ? Outcome::delivered : Outcome::failed;
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
    return m_connection->property(m_connection->window(), m_slots[m_current].property,
                                  TextTransfer::maxBytes, true);
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
