// SPDX-License-Identifier: MIT
import QtQuick
import QtQuick.Templates as T

/// A number that is set by a slider: its title, its value as text, and the slider below both. The
/// arrow keys move it by `stepSize`.
Column {
    id: row

    required property string title
    property real from: 0
    property real to: 1
    property real stepSize: (to - from) / 20
    property real value: from
    /// How the value is shown.
    property int decimals: 0
    property string unit: ""

    /// The user moved it.
    signal moved(real value)

    width: 240
    spacing: 4

    Item {
        width: parent.width
        height: Math.max(titleText.height, valueText.height)

        StyledText {
            id: titleText
            text: row.title
        }
        StyledText {
            id: valueText
            anchors.right: parent.right
            text: slider.value.toFixed(row.decimals) + row.unit
            color: Style.secondary
        }
    }
    T.Slider {
        id: slider
        width: parent.width
        implicitHeight: 20
        from: row.from
        to: row.to
        stepSize: row.stepSize
        value: row.value
        focusPolicy: Qt.StrongFocus
        onMoved: row.moved(value)

        Accessible.role: Accessible.Slider
        Accessible.name: row.title
        Accessible.onIncreaseAction: step(increase)
        Accessible.onDecreaseAction: step(decrease)

        function step(move: var) {
            move();
            row.moved(value);
        }

        background: Rectangle {
            y: (slider.height - height) / 2
            width: slider.width
            height: 4
            radius: 2
            color: Style.trackFill
            border.width: 1
            border.color: Style.boxStroke

            Rectangle {
                width: slider.visualPosition * parent.width
                height: parent.height
                radius: 2
                color: Style.accent
            }
        }
        handle: Rectangle {
            x: slider.visualPosition * (slider.width - width)
            y: (slider.height - height) / 2
            width: 16
            height: 16
            radius: 8
            color: slider.pressed ? "#e0e0e0" : "#ffffff"
            border.width: 1
            border.color: Style.controlStroke

            FocusRing {
                visible: slider.visualFocus
                radius: 10
            }
        }
    }
}
