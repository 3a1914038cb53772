// SPDX-License-Identifier: MIT
pragma Singleton

import QtQuick

/// The colours and text styles of the application's windows: one palette for light desktops, one
/// for dark ones. Sizes are in device-independent pixels.
QtObject {
    id: style

    readonly property SystemPalette desktop: SystemPalette {}
    readonly property bool dark: desktop.window.hslLightness < 0.5

    readonly property color windowBackground: dark ? "#1e1e1e" : "#ececec"
    readonly property color textBackground: dark ? "#161616" : "#ffffff"
    readonly property color primary: dark ? "#e6ffffff" : "#d9000000"
    readonly property color secondary: dark ? "#a6ffffff" : "#99000000"
    readonly property color separator: withOpacity(primary, 0.15)
    readonly property color boxFill: withOpacity(primary, 0.045)
    readonly property color boxStroke: withOpacity(primary, 0.08)
    readonly property color controlFill: dark ? "#1affffff" : "#ffffff"
    readonly property color controlStroke: withOpacity(primary, 0.18)
    readonly property color controlPressed: withOpacity(primary, 0.16)
    readonly property color trackFill: withOpacity(primary, dark ? 0.1 : 0.07)
    readonly property color chosenFill: dark ? "#636366" : "#ffffff"
    readonly property color accent: dark ? "#0a84ff" : "#0064d2"
    readonly property color green: dark ? "#32d74b" : "#00802b"
    readonly property color red: dark ? "#ff6961" : "#d70015"
    readonly property color orange: dark ? "#ffa93d" : "#b25000"
    readonly property color teal: dark ? "#6ac4dc" : "#008299"

    readonly property int title: 22
    readonly property int title2: 17
    readonly property int headline: 13
    readonly property int body: 13
    readonly property int callout: 12
    readonly property int caption: 10
    readonly property int caption2: 10

    readonly property string monospaced: "monospace"

    function withOpacity(base: color, opacity: real): color {
        return Qt.rgba(base.r, base.g, base.b, base.a * opacity);
    }
}
