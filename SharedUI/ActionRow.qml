// SPDX-License-Identifier: MIT
import QtQuick
import QtQuick.Templates as T

/// A line that does something: a symbol, a title, and a keyboard shortcut at the right end.
T.AbstractButton {
    id: row

    property string symbol: ""
    property string shortcut: ""
    /// Says that it takes something away.
    property bool destructive: false

    readonly property color tint: destructive ? Style.red : Style.primary

    implicitWidth: 240
    implicitHeight: 28
    leftPadding: 8
    rightPadding: 8
    font.pixelSize: Style.body
    focusPolicy: Qt.StrongFocus
    opacity: enabled ? 1 : 0.5

    Accessible.role: Accessible.Button
    Accessible.name: text
    Accessible.description: shortcut
    Accessible.onPressAction: clicked()
    Keys.onReturnPressed: clicked()
    Keys.onEnterPressed: clicked()

    contentItem: Item {
        Symbol {
            visible: row.symbol !== ""
            name: row.symbol
            color: row.tint
            size: 14
            anchors.verticalCenter: parent.verticalCenter
        }
        Text {
            anchors.verticalCenter: parent.verticalCenter
            x: row.symbol !== "" ? 22 : 0
            text: row.text
            font: row.font
            color: row.tint
            Accessible.ignored: true
        }
        Text {
            anchors.verticalCenter: parent.verticalCenter
            anchors.right: parent.right
            text: row.shortcut
            font.pixelSize: Style.callout
            color: Style.secondary
            Accessible.ignored: true
        }
    }
    background: Rectangle {
        radius: 5
        visible: row.hovered || row.down
        color: row.down ? Style.controlPressed : Style.trackFill
    }

    hoverEnabled: true

    FocusRing {
        visible: row.visualFocus
        gap: 0
    }
}
