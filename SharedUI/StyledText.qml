// SPDX-License-Identifier: MIT
import QtQuick

/// A text that the keyboard can reach, so that a screen reader's user finds it too.
Text {
    id: label

    color: Style.primary
    font.pixelSize: Style.body
    activeFocusOnTab: true

    Accessible.role: Accessible.StaticText
    Accessible.name: text
    Accessible.focusable: true

    FocusRing {}
}
