// SPDX-License-Identifier: MIT
import QtQuick
import SharedUI

/// Edits the general preferences. Every change is saved at once.
Column {
    id: form

    spacing: 16

    SettingsFormModel {
        id: prefs
    }

    StyledText {
        text: qsTr("General")
        font.pixelSize: Style.headline
        font.bold: true
    }
    SwitchRow {
        text: qsTr("Launch at login")
        checked: prefs.launchAtLogin
        onSwitched: on => prefs.launchAtLogin = on
    }
    SwitchRow {
        text: qsTr("Show menu bar icon")
        checked: prefs.showMenuBarIcon
        onSwitched: on => prefs.showMenuBarIcon = on
    }
    Rectangle {
        width: form.width
        height: 1
        color: Style.separator
    }
    StyledText {
        text: qsTr("Appearance")
        font.pixelSize: Style.headline
        font.bold: true
    }
    Row {
        spacing: 8

        StyledText {
            text: qsTr("Theme")
            anchors.verticalCenter: parent.verticalCenter
        }
        SegmentedPicker {
            readonly property list<string> themes: ["system", "light", "dark"]

            title: qsTr("Theme")
            labels: [qsTr("System"), qsTr("Light"), qsTr("Dark")]
            current: themes.indexOf(prefs.theme)
            onChosen: index => prefs.theme = themes[index]
        }
    }
    SwitchRow {
        text: qsTr("Reduce motion")
        checked: prefs.reduceMotion
        onSwitched: on => prefs.reduceMotion = on
    }
    SwitchRow {
        text: qsTr("Reduce transparency")
        checked: prefs.reduceTransparency
        onSwitched: on => prefs.reduceTransparency = on
    }
}
