// SPDX-License-Identifier: MIT
import QtQuick
import SharedUI
import Velmorin

/// The application's own contents of the main window.
VerticalScroll {
    id: view

    required property MainViewModel main

    Rectangle {
        parent: view
        anchors.fill: parent
        z: -1
        color: Style.windowBackground
    }

    Item {
        width: view.width
        height: sections.height + 32

        Column {
            id: sections
            x: 16
            y: 16
            width: parent.width - 32
            spacing: 16

            Column {
                id: heroBlock
                width: parent.width
                topPadding: 4
                bottomPadding: 4
                spacing: 8

                Symbol {
                    name: "arrow.left.arrow.right.circle.fill"
                    hierarchical: true
                    color: Style.teal
                    size: 40
                    anchors.horizontalCenter: parent.horizontalCenter
                }
                StyledText {
                    text: "Velmorin"
                    font.pixelSize: Style.title
                    font.bold: true
                    anchors.horizontalCenter: parent.horizontalCenter
                }
            }

            Rectangle {
                id: statusBlock

                readonly property color statusColor: view.main.hotkeyRegistered ? Style.green : Style.red

                width: parent.width
                height: statusRows.height + 24
                radius: 10
                color: Style.withOpacity(statusColor, 0.07)

                Column {
                    id: statusRows
                    x: 12
                    y: 12
                    width: parent.width - 24
                    spacing: 8

                    Row {
                        spacing: 8

                        StatusDot {
                            color: statusBlock.statusColor
                            anchors.verticalCenter: parent.verticalCenter
                        }
                        StyledText {
                            text: view.main.hotkeyRegistered ? "Hotkey active — press ⌥Space anywhere to flip" : "Hotkey not registered"
                            font.pixelSize: Style.callout
                            font.weight: Font.Medium
                        }
                    }
                    Row {
                        spacing: 12

                        StatusBadge {
                            title: "Hotkey"
                            ok: view.main.hotkeyRegistered
                        }
                        StatusBadge {
                            title: "Accessibility"
                            ok: view.main.processTrusted
                        }
                    }
                }
            }

            SectionBox {
                id: shortcutBlock
                width: parent.width
                title: "Shortcut"
                symbol: "keyboard"
                contentSpacing: 10

                Row {
                    spacing: 8

                    ShortcutBadge {
                        key: "⌥ Option"
                        anchors.verticalCenter: parent.verticalCenter
                    }
                    StyledText {
                        text: "+"
                        color: Style.secondary
                        anchors.verticalCenter: parent.verticalCenter
                    }
                    ShortcutBadge {
                        key: "Space"
                        anchors.verticalCenter: parent.verticalCenter
                    }
                    Symbol {
                        name: "arrow.right"
                        color: Style.teal
                        anchors.verticalCenter: parent.verticalCenter
                    }
                    StyledText {
                        text: "Flip!"
                        color: Style.teal
                        font.pixelSize: Style.callout
                        font.bold: true
                        anchors.verticalCenter: parent.verticalCenter
                    }
                }
                StyledText {
                    width: parent.width
                    text: "Press Option+Space in any app to flip the text. The hotkey is registered globally via Carbon — no special permissions needed for detection."
                    color: Style.secondary
                    font.pixelSize: Style.caption
                    wrapMode: Text.WordWrap
                }
            }

            SectionBox {
                id: directionBlock
                width: parent.width
                title: "Direction"
                symbol: "arrow.left.arrow.right"

                SegmentedPicker {
                    width: parent.width
                    title: "Direction"
                    labels: ["Auto", "→ English", "→ Arabic"]
                    current: view.main.flipMode
                    onChosen: index => view.main.flipMode = index
                }
            }

            SectionBox {
                id: testBlock
                width: parent.width
                title: "Test & Stats"
                symbol: "play.circle"
                contentSpacing: 10

                StyledText {
                    width: parent.width
                    text: "Click below → switch to a text field in another app within 3s → flip runs."
                    color: Style.secondary
                    font.pixelSize: Style.caption
                    wrapMode: Text.WordWrap
                }
                Item {
                    width: parent.width
                    height: Math.max(testButton.height, stats.height)

                    PushButton {
                        id: testButton
                        text: "Test Flip (3s)"
                        large: true
                        anchors.verticalCenter: parent.verticalCenter
                        onClicked: view.main.testFlip()
                    }
                    Column {
                        id: stats
                        spacing: 8
                        anchors.right: parent.right
                        anchors.verticalCenter: parent.verticalCenter

                        StyledText {
                            text: "Flips"
                            color: Style.secondary
                            font.pixelSize: Style.caption
                            anchors.right: parent.right
                        }
                        StyledText {
                            text: view.main.count
                            font.pixelSize: 22
                            font.weight: Font.DemiBold
                            anchors.right: parent.right
                            Accessible.description: "Flips"
                        }
                    }
                }
            }

            SectionBox {
                id: logBlock
                width: parent.width
                title: "Live Log"
                symbol: "text.alignleft"

                accessory: PushButton {
                    text: "Clear"
                    flat: true
                    onClicked: view.main.clearLog()
                }

                LogView {
                    width: parent.width
                    height: 170
                    lines: view.main.logLines
                }
            }

            SectionBox {
                id: permBlock
                width: parent.width
                title: "Permissions"
                symbol: "lock.shield.fill"
                contentSpacing: 8

                StyledText {
                    readonly property string explanation: "The **⌥Space hotkey** works without any permission. Accessibility is only needed so Velmorin can send ⌘A/⌘C/⌘V to other apps."

                    width: parent.width
                    text: explanation.replace(/\*\*(.*?)\*\*/, "<b>$1</b>")
                    textFormat: Text.StyledText // Markdown would take a whole document
                    font.pixelSize: Style.caption
                    wrapMode: Text.WordWrap
                    Accessible.name: explanation.replace(/\*\*/g, "")
                }
                PushButton {
                    text: "Open Accessibility Settings"
                    onClicked: view.main.openAccessibilitySettings()
                }
            }
        }
    }
}
