// SPDX-License-Identifier: MIT
import QtQuick
import QtQuick.Templates as T

/// Contents that are as wide as the view and may be higher; what gets the keyboard focus is scrolled
/// into view.
Flickable {
    id: scroll

    default property alias contents: content.data

    implicitWidth: content.implicitWidth
    implicitHeight: content.childrenRect.height
    contentWidth: width
    contentHeight: content.childrenRect.height
    boundsBehavior: Flickable.StopAtBounds
    clip: true

    Item {
        id: content
        width: scroll.width
    }

    T.ScrollBar.vertical: VerticalScrollBar {}

    function show(item: Item) {
        const margin = 8;
        const top = item.mapToItem(content, 0, 0).y - margin;
        const bottom = top + item.height + 2 * margin;
        if (top < contentY) {
            contentY = Math.max(0, top);
        } else if (bottom > contentY + height) {
            contentY = Math.max(0, Math.min(bottom - height, contentHeight - height));
        }
    }

    function contains_(item: Item): bool {
        for (let above = item; above; above = above.parent) {
            if (above === content) {
                return true;
            }
        }
        return false;
    }

    readonly property Item focusItem: Window.activeFocusItem
    onFocusItemChanged: {
        if (focusItem && contains_(focusItem)) {
            show(focusItem);
        }
    }
}
