pragma Singleton
import QtQuick
import TLX.MediaPicker

// Colours and sizes that the scenes share; light or dark as the person's desktop is.
QtObject {
    id: theme

    readonly property bool dark: Appearance.dark
    readonly property bool mirrored: Appearance.mirrored

    readonly property color accent: Qt.rgba(62 / 255, 193 / 255, 199 / 255, 1)
    readonly property color accentInk: dark ? "#5fd4d9" : "#127b81"
    readonly property color ground: dark ? "#16191b" : "#ffffff"
    readonly property color bar: dark ? "#f21c2023" : "#f5ffffff"
    readonly property color tile: dark ? "#24292c" : "#eceff1"
    readonly property color surface: dark ? "#262b2e" : "#ffffff"
    readonly property color line: dark ? "#22ffffff" : "#18000000"
    readonly property color text: dark ? "#eef2f3" : "#20292d"
    readonly property color secondaryText: dark ? "#9aa7ad" : "#5c6b73"
    readonly property color scrim: dark ? "#99000000" : "#59101820"
    readonly property color page: dark ? "#16191b" : "#f3f5f6"
    readonly property color pressed: dark ? "#20ffffff" : "#12000000"
    readonly property color focus: accentInk
    readonly property color inkOnAccent: "#06282a"

    readonly property int barHeight: 61
    readonly property int headerHeight: 62 // of the grid

    /// `ink`'s hue, made light enough to be as readable on a dark ground as `ink` is on a light one.
    function onGround(ink: color): color {
        if (!dark || ink.hslLightness >= 0.5) return ink
        return Qt.hsla(ink.hslHue, ink.hslSaturation * 0.7, 1.1 - ink.hslLightness, ink.a)
    }
}
