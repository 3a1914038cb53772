// SPDX-License-Identifier: MIT
import QtQuick

/// What is counted at the left, the number at the right end.
Item {
    id: stat

    required property string label
    required property string value
    property string symbol: ""

    implicitWidth: 240
    implicitHeight: Math.max(labelText.height, valueText.height)

    Symbol {
        id: picture
        visible: stat.symbol !== ""
        name: stat.symbol
        color: Style.secondary
        size: 13
        anchors.verticalCenter: parent.verticalCenter
    }
    StyledText {
        id: labelText
        x: picture.visible ? picture.width + 6 : 0
        text: stat.label
        color: Style.secondary
        anchors.verticalCenter: parent.verticalCenter
    }
    StyledText {
        id: valueText
        anchors.right: parent.right
        anchors.verticalCenter: parent.verticalCenter
        text: stat.value
        font.weight: Font.Medium
        Accessible.description: stat.label
    }
}
