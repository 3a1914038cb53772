// SPDX-License-Identifier: MIT
import QtQuick

/// A quiet, slowly moving background of colours that run into each other. It stands still with
/// reduced motion, and is one plain colour with reduced transparency. Decoration.
Item {
    id: mesh

    property list<color> colors: [Style.teal, Style.accent, Style.green]
    property bool reduceMotion: false
    property bool reduceTransparency: false
    /// Where the movement is, from 0 to 1.
    property real phase

    clip: true
    Accessible.ignored: true

    Rectangle {
        anchors.fill: parent
        color: Style.windowBackground
    }
    Repeater {
        model: mesh.reduceTransparency ? 0 : mesh.colors.length

        // qmllint disable unqualified
        Rectangle {
            required property int index
            readonly property real angle: 2 * Math.PI * (mesh.phase + index / mesh.colors.length)

            // So large that its edges are never seen.
            width: 2 * mesh.width
            height: 2 * mesh.height
            x: (Math.cos(angle) / 2 - 1) * mesh.width / 2
            y: (Math.sin(angle) / 2 - 1) * mesh.height / 2
            gradient: Gradient {
                orientation: index % 2 === 0 ? Gradient.Vertical : Gradient.Horizontal

                GradientStop {
                    position: 0
                    color: "transparent"
                }
                GradientStop {
                    position: 0.5
                    color: Style.withOpacity(mesh.colors[index], 0.22)
                }
                GradientStop {
                    position: 1
                    color: "transparent"
                }
            }
        }
        // qmllint enable unqualified
    }
    NumberAnimation on phase {
        running: mesh.visible && !mesh.reduceMotion && !mesh.reduceTransparency
        from: 0
        to: 1
        duration: 30000
        loops: Animation.Infinite
    }
}
