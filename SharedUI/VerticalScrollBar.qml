// SPDX-License-Identifier: MIT
import QtQuick
import QtQuick.Templates as T

/// Shows which part of a view is seen, whenever there is more of it.
T.ScrollBar {
    id: bar

    implicitWidth: 10
    visible: size < 1
    padding: 2
    minimumSize: 0.08

    Accessible.ignored: true

    contentItem: Rectangle {
        implicitWidth: 6
        radius: 3
        color: Style.secondary
        opacity: bar.pressed || bar.hovered ? 0.9 : 0.5
    }
}
