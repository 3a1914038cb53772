// SPDX-License-Identifier: MIT
import QtQuick
import QtQuick.Templates as T

/// A choice of one among a few, side by side. Tab reaches the chosen segment; the arrow keys choose.
Rectangle {
    id: picker

    /// What the choice is about, for screen readers; shown by whoever places the picker.
    required property string title
    required property list<string> labels
    required property int current

    /// The user chose a segment.
    signal chosen(int index)

    implicitWidth: row.implicitWidth + 4
    implicitHeight: 24
    radius: 6
    color: Style.trackFill

    Accessible.role: Accessible.Grouping
    Accessible.name: title

    function choose(index: int) {
        if (index >= 0 && index < labels.length && index !== current) {
            // Before the choice, which takes the old segment out of the tab order.
            (segments.itemAt(index) as Item).forceActiveFocus(Qt.TabFocusReason);
            chosen(index);
        }
    }

    Row {
        id: row
        x: 2
        y: 2
        height: parent.height - 4
        readonly property real widest: {
            let width = 0;
            for (let i = 0; i < segments.count; ++i) {
                width = Math.max(width, (segments.itemAt(i) as Item)?.implicitWidth ?? 0);
            }
            return width;
        }
        readonly property real segmentWidth: Math.max(widest, (picker.width - 4) / picker.labels.length)

        Repeater {
            id: segments
            model: picker.labels

            // qmllint disable unqualified
            T.RadioButton {
                id: segment

                required property string modelData
                required property int index

                text: modelData
                width: row.segmentWidth
                height: row.height
                implicitWidth: implicitContentWidth + 20
                checked: picker.current === index
                autoExclusive: false
                checkable: false
                activeFocusOnTab: checked
                focusPolicy: Qt.StrongFocus
                font.pixelSize: Style.body

                Accessible.role: Accessible.RadioButton
                Accessible.name: text
                Accessible.checkable: true
                Accessible.checked: checked
                Accessible.onPressAction: picker.choose(index)
                Accessible.onToggleAction: picker.choose(index)

                onClicked: picker.choose(index)
                Keys.onLeftPressed: picker.choose(picker.current - 1)
                Keys.onRightPressed: picker.choose(picker.current + 1)
                Keys.onUpPressed: picker.choose(picker.current - 1)
                Keys.onDownPressed: picker.choose(picker.current + 1)

                contentItem: Text {
                    text: segment.text
                    font: segment.font
                    color: Style.primary
                    horizontalAlignment: Text.AlignHCenter
                    verticalAlignment: Text.AlignVCenter
                    Accessible.ignored: true
                }
                background: Rectangle {
                    radius: 5
                    visible: segment.checked || segment.down
                    color: segment.checked ? Style.chosenFill : Style.controlPressed
                    border.width: segment.checked ? 1 : 0
                    border.color: Style.boxStroke
                }

                FocusRing {
                    visible: segment.visualFocus
                    gap: 0
                }
            }
            // qmllint enable unqualified
        }
    }
}
