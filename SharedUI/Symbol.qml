// SPDX-License-Identifier: MIT
import QtQuick
import QtQuick.Window

/// A symbol image in one colour. Decoration: the texts beside it say what it means.
Image {
    id: symbol

    required property string name
    property color color: Style.primary
    /// Its width and height.
    property int size: Style.body
    /// Drawn in two strengths of the colour.
    property bool hierarchical: false

    width: size
    height: size
    sourceSize.width: size * Screen.devicePixelRatio
    sourceSize.height: size * Screen.devicePixelRatio
    source: "image://symbol/" + name + (hierarchical ? ".hierarchical" : "") + "/" + argb(color)

    function argb(value: color): string {
        const channel = part => Math.round(part * 255).toString(16).padStart(2, "0");
        return channel(value.a) + channel(value.r) + channel(value.g) + channel(value.b);
    }
}
