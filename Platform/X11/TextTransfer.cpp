// SPDX-License-Identifier: MIT
#include "Platform/X11/TextTransfer.h"

#include <QStringDecoder>

namespace velmorin {

TextTransfer::State TextTransfer::take(const XcbConnection::Property& value) {
    if (m_state == State::receiving) {
        m_state = m_isInPieces ? takePiece(value) : takeFirst(value);
    }
    return m_state;
}

std::optional<QString> TextTransfer::text() const {
    if (m_state != State::delivered) {
        return std::nullopt;
    }
    if (m_target == XCB_ATOM_STRING) {
        return QString::fromLatin1(m_bytes);
    }
    // Stateless, so that a character cut off at the end is an error too.
    QStringDecoder decoder(QStringConverter::Utf8, QStringConverter::Flag::Stateless |
                                                       QStringConverter::Flag::ConvertInitialBom);
    QString text = decoder.decode(m_bytes);
    return decoder.hasError() ? std::nullopt : std::optional(std::move(text));
}

TextTransfer::State TextTransfer::takeFirst(const XcbConnection::Property& value) {
    if (value.type == m_incr) {
        m_isInPieces = true;
        return State::receiving;
    }
    if (!isAcceptable(value)) {
        return State::failed;
    }
    m_bytes = value.bytes;
    return State::delivered;
}

TextTransfer::State TextTransfer::takePiece(const XcbConnection::Property& value) {
    if (value.type == XCB_ATOM_NONE) {
        return State::receiving; // the property's change that told of a value taken before
    }
    if (value.bytes.isEmpty()) {
        return State::delivered;
    }
    if (!isAcceptable(value)) {
        return State::failed;
    }
    m_bytes += value.bytes;
    return State::receiving;
}

bool TextTransfer::isAcceptable(const XcbConnection::Property& value) const {
    return value.type == m_target && value.format == 8 &&
           m_bytes.size() + value.bytes.size() <= qsizetype{maxBytes};
}

} // namespace velmorin
