// SPDX-License-Identifier: MIT
import QtQuick

/// A raised card around its contents, which are laid out below each other.
Rectangle {
    id: card

    default property alias contents: content.data
    property int padding: 16
    property alias spacing: content.spacing
    /// With less transparency the card is opaque.
    property bool reduceTransparency: false

    implicitWidth: 240
    implicitHeight: content.height + 2 * padding
    radius: 12
    color: reduceTransparency ? Style.windowBackground : Style.withOpacity(Style.textBackground, 0.6)
    border.width: 1
    border.color: Style.boxStroke

    Column {
        id: content
        x: card.padding
        y: card.padding
        width: card.width - 2 * card.padding
        spacing: 8
    }
}
