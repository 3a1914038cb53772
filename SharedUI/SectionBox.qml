// SPDX-License-Identifier: MIT
import QtQuick

/// A box of contents below a label with a symbol.
Column {
    id: section

    required property string title
    required property string symbol
    /// Stands at the right end of the label's line.
    property alias accessory: accessoryArea.data
    default property alias contents: contentColumn.data
    property alias contentSpacing: contentColumn.spacing

    spacing: 6

    Accessible.role: Accessible.Grouping
    Accessible.name: title

    Item {
        width: section.width
        height: Math.max(label.height, accessoryArea.height)

        Row {
            id: label
            spacing: 6
            anchors.verticalCenter: parent.verticalCenter

            Symbol {
                name: section.symbol
                size: Style.headline + 2
                anchors.verticalCenter: parent.verticalCenter
            }
            StyledText {
                text: section.title
                font.pixelSize: Style.headline
                font.bold: true
                anchors.verticalCenter: parent.verticalCenter
            }
        }
        Item {
            id: accessoryArea
            width: childrenRect.width
            height: childrenRect.height
            anchors.right: parent.right
            anchors.verticalCenter: parent.verticalCenter
        }
    }

    Rectangle {
        width: section.width
        height: contentColumn.height + 20
        radius: 6
        color: Style.boxFill
        border.width: 1
        border.color: Style.boxStroke

        Column {
            id: contentColumn
            x: 10
            y: 10
            width: parent.width - 20
        }
    }
}
