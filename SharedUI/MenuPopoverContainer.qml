// SPDX-License-Identifier: MIT
import QtQuick

/// What opens below an icon of the status bar: a title line with a symbol, the contents, and a
/// footer with actions.
Rectangle {
    id: popover

    required property string title
    property string symbol: ""
    default property alias contents: content.data
    property alias footer: footerArea.data
    property bool reduceTransparency: false

    implicitWidth: 280
    implicitHeight: layout.height + 24
    radius: 10
    color: reduceTransparency ? Style.windowBackground : Style.withOpacity(Style.windowBackground, 0.96)
    border.width: 1
    border.color: Style.separator

    Accessible.role: Accessible.Pane
    Accessible.name: title

    Column {
        id: layout
        x: 12
        y: 12
        width: parent.width - 24
        spacing: 10

        Row {
            spacing: 6

            Symbol {
                visible: popover.symbol !== ""
                name: popover.symbol
                color: Style.teal
                size: 16
                anchors.verticalCenter: parent.verticalCenter
            }
            StyledText {
                text: popover.title
                font.pixelSize: Style.headline
                font.bold: true
                anchors.verticalCenter: parent.verticalCenter
            }
        }
        Column {
            id: content
            width: parent.width
            spacing: 8
        }
        Rectangle {
            visible: footerArea.children.length > 0
            width: parent.width
            height: 1
            color: Style.separator
        }
        Column {
            id: footerArea
            visible: children.length > 0
            width: parent.width
        }
    }
}
