// SPDX-License-Identifier: MIT
import QtQuick
import QtQuick.Templates as T
import SharedUI

/// The live log. Rows are made as they come into view. Up and Down walk through them.
Rectangle {
    id: log

    required property var lines

    radius: 6
    color: Style.withOpacity(Style.textBackground, 0.3)

    ListView {
        id: list

        anchors.fill: parent
        clip: true
        model: log.lines
        spacing: 2
        topMargin: 6
        bottomMargin: 6
        boundsBehavior: Flickable.StopAtBounds
        activeFocusOnTab: true
        keyNavigationEnabled: true
        currentIndex: -1
        highlightFollowsCurrentItem: false

        Accessible.role: Accessible.List
        Accessible.name: "Live Log"
        Accessible.focusable: true

        T.ScrollBar.vertical: VerticalScrollBar {}

        delegate: Text {
            id: row

            required property string line
            required property int lineColor
            required property int index

            x: 6
            width: ListView.view.width - 12
            text: line
            textFormat: Text.PlainText
            wrapMode: Text.Wrap
            font.family: Style.monospaced
            font.pixelSize: 11
            color: [Style.secondary, Style.red, Style.green, Style.orange][lineColor]

            Accessible.role: Accessible.ListItem
            Accessible.name: line
            Accessible.focusable: true
            Accessible.selectable: true
            Accessible.selected: ListView.isCurrentItem

            Rectangle {
                anchors.fill: parent
                anchors.margins: -1
                z: -1
                radius: 3
                visible: row.activeFocus
                color: Style.withOpacity(Style.accent, 0.25)
                border.width: 1
                border.color: Style.accent
            }
        }

        onActiveFocusChanged: {
            if (activeFocus && currentIndex < 0 && count > 0) {
                currentIndex = count - 1;
            }
        }
        onCurrentIndexChanged: {
            if (currentIndex >= 0) {
                positionViewAtIndex(currentIndex, ListView.Contain);
            }
        }
        Keys.onPressed: event => {
            const end = event.key === Qt.Key_End;
            if (count > 0 && (end || event.key === Qt.Key_Home)) {
                currentIndex = end ? count - 1 : 0;
                event.accepted = true;
            }
        }

        onCountChanged: newest.restart()

        Timer {
            id: newest
            interval: 0 // once for all the lines of a turn
            onTriggered: list.showNewest()
        }

        function showNewest() {
            if (count === 0) {
                return;
            }
            const before = contentY;
            forceLayout();
            positionViewAtIndex(count - 1, ListView.Contain);
            const after = contentY;
            if (after !== before) {
                contentY = before;
                scrolling.to = after;
                scrolling.restart();
            }
        }

        NumberAnimation {
            id: scrolling
            target: list
            property: "contentY"
            duration: 350
            easing.type: Easing.InOutQuad
        }

        FocusRing {
            visible: list.activeFocus && list.count === 0
            gap: -2
        }
    }
}
