// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/X11/TextTransfer.h"
#include "Platform/X11/XcbConnection.h"

#include <QDeadlineTimer>
#include <QString>

#include <array>
#include <optional>

namespace velmorin {

/// Fetches the text of a selection that another client owns. Believes nothing that the owner says:
/// neither that it will answer, nor the type, the size or the encoding of what it sends. Main
/// thread.
class SelectionReader {
public:
    SelectionReader(std::shared_ptr<XcbConnection> connection, xcb_atom_t selection);

    /// The selection's text; none when the owner has no text, sends something else, or stops
    /// answering. Waits within the bounds that stand in the source.
    [[nodiscard]] std::optional<QString> text();

    /// To be called with every event.
    void handleEvent(const xcb_generic_event_t& event);

private:
    enum class Outcome { delivered, refused, failed };
    /// A property of our window that an owner writes to. One whose request was given up may still
    /// be written to, so the next request uses another.
    struct Slot {
        xcb_atom_t property;
        int lateValuesToDelete = 0;
    };

    [[nodiscard]] Outcome ask(TextTransfer& transfer);
    [[nodiscard]] XcbEvent
    nextEvent(const std::function<bool(const xcb_generic_event_t&)>& isExpected);
    [[nodiscard]] XcbConnection::Property takeValue() const;
    [[nodiscard]] bool isAnswer(const xcb_generic_event_t& event, xcb_atom_t target) const;
    [[nodiscard]] bool isNewValue(const xcb_generic_event_t& event) const;
    [[nodiscard]] Slot* slotOf(const xcb_generic_event_t& event);
    void giveUp();

    std::shared_ptr<XcbConnection> m_connection;
    xcb_atom_t m_selection;
    xcb_atom_t m_incr;
    xcb_atom_t m_utf8String;
    xcb_atom_t m_utf8Plain;
    std::array<Slot, 16> m_slots{};
    size_t m_current = 0;
    xcb_timestamp_t m_requestTime = XCB_CURRENT_TIME;
    QDeadlineTimer m_end;
};

} // namespace velmorin
