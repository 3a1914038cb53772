// SPDX-License-Identifier: MIT
import QtQuick

/// A dot with a glow of its colour. Decoration.
Rectangle {
    id: dot

    width: 10
    height: 10
    radius: 5

    // A Gaussian shadow of radius 4, as rings: the software renderer knows no blur.
    Repeater {
        model: 6

        // qmllint disable unqualified
        Rectangle {
            required property int index

            anchors.centerIn: parent
            width: dot.width + 2 + 2 * index
            height: width
            radius: width / 2
            z: -1
            color: dot.color
            opacity: 0.5 * 0.22 * Math.exp(-index * index / 12)
        }
        // qmllint enable unqualified
    }
}
