// SPDX-License-Identifier: MIT
import QtQuick
import QtQuick.Templates as T

/// A switch and what it switches.
T.Switch {
    id: control

    /// The user switched it.
    signal switched(bool on)

    implicitWidth: indicator.width + spacing + implicitContentWidth
    implicitHeight: Math.max(indicator.height, implicitContentHeight)
    spacing: 8
    font.pixelSize: Style.body
    focusPolicy: Qt.StrongFocus

    Accessible.role: Accessible.CheckBox
    Accessible.name: text
    Accessible.checkable: true
    Accessible.checked: checked
    Accessible.onPressAction: flip()
    Accessible.onToggleAction: flip()

    onToggled: switched(checked)
    Keys.onReturnPressed: flip()
    Keys.onEnterPressed: flip()

    function flip() {
        toggle();
        switched(checked);
    }

    indicator: Rectangle {
        width: 32
        height: 18
        y: (control.height - height) / 2
        radius: height / 2
        color: control.checked ? Style.accent : Style.trackFill
        border.width: control.checked ? 0 : 1
        border.color: Style.controlStroke

        Rectangle {
            width: 14
            height: 14
            x: control.checked ? parent.width - width - 2 : 2
            y: 2
            radius: 7
            color: "#ffffff"
            border.width: control.checked ? 0 : 1
            border.color: Style.controlStroke
        }

        FocusRing {
            visible: control.visualFocus
            radius: height / 2
        }
    }

    contentItem: Text {
        leftPadding: control.indicator.width + control.spacing
        text: control.text
        font: control.font
        color: Style.primary
        verticalAlignment: Text.AlignVCenter
        Accessible.ignored: true
    }
}
