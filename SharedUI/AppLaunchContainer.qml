// SPDX-License-Identifier: MIT
import QtQuick
import QtQuick.Templates as T

/// Fills an application's window: its title above the tabs "Control" and "Settings".
Rectangle {
    id: container

    required property string appTitle
    /// Views: what the tabs show of the application itself.
    required property var mainContent
    required property var settingsExtra

    implicitWidth: 420
    implicitHeight: 560
    color: Style.windowBackground

    component Hosted: Loader {
        required property var view

        width: parent ? parent.width : 0
        Component.onCompleted: {
            if (view.source.toString() !== "") {
                setSource(view.source, view.properties);
            }
        }
    }

    Item {
        // Never smaller than what it is laid out for; a smaller window shows its middle.
        width: Math.max(container.width, container.implicitWidth)
        height: Math.max(container.height, container.implicitHeight)
        anchors.centerIn: parent

        StyledText {
            id: titleLine
            x: 16
            y: 10
            width: parent.width - 32
            text: container.appTitle
            font.pixelSize: Style.title2
            font.weight: Font.DemiBold
            elide: Text.ElideRight
        }

        TabStrip {
            id: tabs
            anchors.horizontalCenter: parent.horizontalCenter
            y: titleLine.y + titleLine.height + 6
            labels: [qsTr("Control"), qsTr("Settings")]
            symbols: ["slider.horizontal.3", "gearshape"]
        }

        Rectangle {
            x: 8
            y: tabs.y + tabs.height / 2
            width: parent.width - 16
            height: parent.height - y - 8
            z: -1
            radius: 6
            color: Style.boxFill
            border.width: 1
            border.color: Style.boxStroke
        }

        Item {
            id: pages
            x: 9
            y: tabs.y + tabs.height + 4
            width: parent.width - 18
            height: parent.height - y - 9

            VerticalScroll {
                id: controlTab
                anchors.fill: parent
                visible: tabs.currentIndex === 0

                Hosted {
                    height: Math.max(implicitHeight, controlTab.height)
                    view: container.mainContent
                }
            }

            // Made when it is first looked at.
            Loader {
                anchors.fill: parent
                active: false
                visible: tabs.currentIndex === 1
                onVisibleChanged: active = active || visible

                sourceComponent: VerticalScroll {
                    Item {
                        width: parent.width
                        height: settings.height + 24

                        Column {
                            id: settings
                            x: 8
                            y: 12
                            width: parent.width - 16
                            spacing: 20

                            SharedAppSettingsFormView {
                                width: parent.width
                            }
                            Hosted {
                                view: container.settingsExtra // qmllint disable unqualified
                            }
                        }
                    }
                }
            }
        }
    }
}
