// SPDX-License-Identifier: MIT
import QtQuick
import QtQuick.Templates as T

/// A button. `flat` leaves its frame away, `large` makes it a size bigger.
T.Button {
    id: button

    property bool large: false

    implicitWidth: implicitContentWidth + leftPadding + rightPadding
    implicitHeight: implicitContentHeight + topPadding + bottomPadding
    horizontalPadding: flat ? 2 : large ? 14 : 10
    verticalPadding: flat ? 1 : large ? 6 : 3
    font.pixelSize: flat ? Style.caption : Style.body
    focusPolicy: Qt.StrongFocus

    contentItem: Text {
        text: button.text
        font: button.font
        color: button.flat && button.down ? Style.secondary : Style.primary
        horizontalAlignment: Text.AlignHCenter
        verticalAlignment: Text.AlignVCenter
        Accessible.ignored: true
    }

    background: Rectangle {
        visible: !button.flat
        radius: button.large ? 6 : 5
        color: button.down ? Style.controlPressed : Style.controlFill
        border.width: 1
        border.color: Style.controlStroke
    }

    Accessible.onPressAction: clicked()
    Keys.onReturnPressed: clicked()
    Keys.onEnterPressed: clicked()

    FocusRing {
        visible: button.visualFocus
    }
}
