// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/X11/XcbConnection.h"

#include <QByteArray>
#include <QString>

#include <optional>

namespace velmorin {

/// The text that the owner of a selection sends: one value of a property, or pieces one after the
/// other (ICCCM 2.7.2, INCR). Believes neither the type, nor the size, nor the encoding of what it
/// is given. Needs no X server. One thread at a time.
class TextTransfer {
public:
    enum class State { receiving, delivered, failed };

    static constexpr uint32_t maxBytes = 64U << 20U;

    /// `target` is the type that was asked for: STRING, or a name of UTF-8 text.
    TextTransfer(xcb_atom_t target, xcb_atom_t incr) : m_target(target), m_incr(incr) {}

    [[nodiscard]] xcb_atom_t target() const { return m_target; }

    /// The property's value, taken after each of its changes. There are no more to be given once
    /// the state is another one than `receiving`.
    State take(const XcbConnection::Property& value);

    /// What was delivered; none when that is no text in the target's encoding.
    [[nodiscard]] std::optional<QString> text() const;

private:
    [[nodiscard]] State takeFirst(const XcbConnection::Property& value);
    [[nodiscard]] State takePiece(const XcbConnection::Property& value);
    [[nodiscard]] bool isAcceptable(const XcbConnection::Property& value) const;

    xcb_atom_t m_target;
    xcb_atom_t m_incr;
    State m_state = State::receiving;
    bool m_isInPieces = false;
    QByteArray m_bytes;
};

} // namespace velmorin
