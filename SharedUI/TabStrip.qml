// SPDX-License-Identifier: MIT
import QtQuick
import QtQuick.Templates as T

/// The tabs of a view, each a symbol and a label. Tab reaches the current one; the arrow keys change
/// it.
Rectangle {
    id: strip

    required property list<string> labels
    required property list<string> symbols
    property int currentIndex: 0

    implicitWidth: row.width + 4
    implicitHeight: 26
    radius: 6
    color: Style.dark ? "#3a3a3c" : "#dcdcdc"

    Accessible.role: Accessible.PageTabList
    Accessible.name: qsTr("Tabs")

    function choose(index: int) {
        if (index >= 0 && index < labels.length && index !== currentIndex) {
            // Before the change, which takes the old tab out of the tab order.
            (buttons.itemAt(index) as Item).forceActiveFocus(Qt.TabFocusReason);
            currentIndex = index;
        }
    }

    Row {
        id: row
        x: 2
        y: 2

        Repeater {
            id: buttons
            model: strip.labels

            // qmllint disable unqualified
            T.TabButton {
                id: button

                required property string modelData
                required property int index
                readonly property bool isCurrent: strip.currentIndex === index

                text: modelData
                width: implicitContentWidth + 12
                height: strip.height - 4
                font.pixelSize: Style.body
                focusPolicy: Qt.StrongFocus
                activeFocusOnTab: isCurrent
                checkable: false

                Accessible.role: Accessible.PageTab
                Accessible.name: text
                Accessible.selectable: true
                Accessible.selected: isCurrent
                Accessible.onPressAction: strip.choose(index)

                onClicked: strip.choose(index)
                Keys.onLeftPressed: strip.choose(index - 1)
                Keys.onRightPressed: strip.choose(index + 1)

                contentItem: Row {
                    spacing: 5
                    leftPadding: 12

                    Symbol {
                        name: strip.symbols[button.index]
                        size: Style.body
                        anchors.verticalCenter: parent.verticalCenter
                    }
                    Text {
                        text: button.text
                        font: button.font
                        color: Style.primary
                        anchors.verticalCenter: parent.verticalCenter
                        Accessible.ignored: true
                    }
                }
                background: Rectangle {
                    radius: 5
                    visible: button.isCurrent
                    color: Style.chosenFill
                    border.width: 1
                    border.color: Style.boxStroke
                }

                FocusRing {
                    visible: button.visualFocus
                    gap: 0
                }
            }
            // qmllint enable unqualified
        }
    }
}
