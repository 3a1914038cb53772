// SPDX-License-Identifier: MIT
import QtQuick

/// What stands in a status bar: a symbol in the colour of its surroundings and, beside it, a short
/// text.
Row {
    id: view

    required property string symbol
    property string text: ""
    /// What a screen reader says; the text when empty.
    property string description: ""

    spacing: 4

    Accessible.role: Accessible.Graphic
    Accessible.name: description !== "" ? description : text

    Symbol {
        name: view.symbol
        size: 18
        anchors.verticalCenter: parent.verticalCenter
    }
    Text {
        visible: view.text !== ""
        text: view.text
        color: Style.primary
        font.pixelSize: Style.callout
        anchors.verticalCenter: parent.verticalCenter
        Accessible.ignored: true
    }
}
