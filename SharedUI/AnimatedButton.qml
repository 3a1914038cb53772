// SPDX-License-Identifier: MIT
import QtQuick

/// A button that gives way under the press; without movement when motion is reduced.
PushButton {
    id: button

    property bool reduceMotion: false

    scale: down && !reduceMotion ? 0.95 : 1

    Behavior on scale {
        enabled: !button.reduceMotion

        NumberAnimation {
            duration: 120
            easing.type: Easing.OutCubic
        }
    }
}
