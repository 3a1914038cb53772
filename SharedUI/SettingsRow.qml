// SPDX-License-Identifier: MIT
import QtQuick

/// A setting: a symbol and a title, with a line of explanation below it, and a control at the right
/// end.
Item {
    id: row

    required property string title
    property string subtitle: ""
    /// Empty for none.
    property string symbol: ""
    property color symbolColor: Style.primary
    /// What stands at the right end.
    default property alias control: controlArea.data

    implicitWidth: 240
    implicitHeight: Math.max(texts.height, controlArea.height) + 12

    Accessible.role: Accessible.Grouping
    Accessible.name: title

    Symbol {
        id: picture
        visible: row.symbol !== ""
        name: row.symbol
        color: row.symbolColor
        size: 16
        anchors.verticalCenter: parent.verticalCenter
    }
    Column {
        id: texts
        anchors.verticalCenter: parent.verticalCenter
        anchors.left: parent.left
        anchors.leftMargin: picture.visible ? picture.width + 10 : 0
        anchors.right: controlArea.left
        anchors.rightMargin: 10
        spacing: 2

        StyledText {
            width: parent.width
            text: row.title
            elide: Text.ElideRight
        }
        StyledText {
            visible: text !== ""
            width: parent.width
            text: row.subtitle
            color: Style.secondary
            font.pixelSize: Style.caption
            wrapMode: Text.WordWrap
        }
    }
    Item {
        id: controlArea
        width: childrenRect.width
        height: childrenRect.height
        anchors.right: parent.right
        anchors.verticalCenter: parent.verticalCenter
    }
}
