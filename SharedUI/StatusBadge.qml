// SPDX-License-Identifier: MIT
import QtQuick

/// A capsule that says whether something is as it should be.
Rectangle {
    id: badge

    required property string title
    required property bool ok

    implicitWidth: contents.width + 16
    implicitHeight: contents.height + 6
    radius: height / 2
    color: Style.withOpacity(Style.secondary, 0.1)
    activeFocusOnTab: true

    Accessible.role: Accessible.StaticText
    Accessible.name: title
    Accessible.description: ok ? qsTr("on") : qsTr("off")
    Accessible.focusable: true

    Row {
        id: contents
        anchors.centerIn: parent
        spacing: 4

        Symbol {
            name: badge.ok ? "checkmark.circle.fill" : "xmark.circle.fill"
            color: badge.ok ? Style.green : Style.red
            size: Style.caption
            anchors.verticalCenter: parent.verticalCenter
        }
        Text {
            text: badge.title
            color: Style.secondary
            font.pixelSize: Style.caption2
            font.weight: Font.Medium
            anchors.verticalCenter: parent.verticalCenter
            Accessible.ignored: true
        }
    }

    FocusRing {
        radius: height / 2
    }
}
