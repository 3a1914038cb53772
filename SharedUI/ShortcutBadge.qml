// SPDX-License-Identifier: MIT
import QtQuick

/// The name of a key, drawn as a key.
Rectangle {
    id: badge

    required property string key

    implicitWidth: label.implicitWidth + 20
    implicitHeight: label.implicitHeight + 10
    radius: 6
    color: Style.withOpacity(Style.secondary, 0.12)
    border.width: 1
    border.color: Style.withOpacity(Style.secondary, 0.2)
    activeFocusOnTab: true

    Accessible.role: Accessible.StaticText
    Accessible.name: key
    Accessible.focusable: true

    Text {
        id: label
        anchors.centerIn: parent
        text: badge.key
        color: Style.primary
        font.family: Style.monospaced
        font.pixelSize: Style.caption
        font.weight: Font.DemiBold
        Accessible.ignored: true
    }

    FocusRing {
        radius: 8
    }
}
