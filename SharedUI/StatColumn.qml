// SPDX-License-Identifier: MIT
import QtQuick

/// A number and, below it, what it counts.
Column {
    id: stat

    required property string label
    required property string value
    property color valueColor: Style.primary

    spacing: 2

    StyledText {
        anchors.horizontalCenter: parent.horizontalCenter
        text: stat.value
        color: stat.valueColor
        font.pixelSize: 22
        font.weight: Font.DemiBold
        Accessible.description: stat.label
    }
    StyledText {
        anchors.horizontalCenter: parent.horizontalCenter
        text: stat.label
        color: Style.secondary
        font.pixelSize: Style.caption
    }
}
