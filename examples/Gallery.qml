// SPDX-License-Identifier: MIT
import QtQuick
import SharedUI

/// All components of the library, on one page.
Rectangle {
    id: gallery

    property int presses: 0

    implicitWidth: 640
    implicitHeight: 560
    color: Style.windowBackground

    MeshGradientBackground {
        objectName: "mesh"
        anchors.fill: parent
        reduceMotion: true
    }

    Row {
        x: 20
        y: 20
        spacing: 20

        MenuPopoverContainer {
            objectName: "popover"
            title: "A popover"
            symbol: "keyboard"

            SettingsRow {
                width: parent.width
                title: "A setting"
                subtitle: "What it is good for."
                symbol: "gearshape"

                SwitchRow {
                    text: "On"
                    checked: true
                }
            }
            SliderRow {
                objectName: "slider"
                width: parent.width
                title: "Speed"
                from: 0
                to: 100
                value: 40
                unit: " %"
            }
            StatRow {
                width: parent.width
                label: "Flips today"
                value: "12"
                symbol: "arrow.left.arrow.right"
            }

            footer: [
                ActionRow {
                    objectName: "action"
                    width: parent.width
                    text: "Start"
                    symbol: "play.circle"
                    shortcut: "⌥Space"
                    onClicked: gallery.presses += 1
                },
                ActionRow {
                    width: parent.width
                    text: "Delete everything"
                    symbol: "xmark.circle.fill"
                    destructive: true
                }
            ]
        }

        Column {
            spacing: 20

            ModernCardView {
                objectName: "card"
                width: 300

                StyledText {
                    text: "A card"
                    font.bold: true
                }
                Row {
                    spacing: 24

                    StatColumn {
                        label: "Presses"
                        value: gallery.presses
                    }
                    StatColumn {
                        label: "Keys"
                        value: "1204"
                        valueColor: Style.teal
                    }
                }
                AnimatedButton {
                    text: "Press"
                    large: true
                    reduceMotion: true
                    onClicked: gallery.presses += 1
                }
            }
            Row {
                spacing: 8

                StatusBadge {
                    objectName: "ready"
                    title: "Ready"
                    ok: true
                }
                StatusBadge {
                    objectName: "connected"
                    title: "Connected"
                    ok: false
                }
            }
            Row {
                spacing: 8

                ShortcutBadge {
                    key: "⌥ Option"
                }
                ShortcutBadge {
                    key: "Space"
                }
            }
            MenuBarIconView {
                symbol: "heart.fill"
                text: "72"
                description: "72 beats per minute"
            }
            SegmentedPicker {
                title: "A choice"
                labels: ["One", "Two", "Three"]
                current: 1
            }
        }
    }
}
