// SPDX-License-Identifier: MIT
import QtQuick

/// Surrounds its parent while that has the keyboard focus.
Rectangle {
    property int gap: 2

    anchors.fill: parent
    anchors.margins: -gap - border.width
    visible: parent.activeFocus
    color: "transparent"
    radius: 5
    border.width: 2
    border.color: Style.accent
    z: 1
}
