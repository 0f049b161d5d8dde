pragma Singleton
import QtQuick

// Colours and sizes that the scenes share; light or dark as the system's palette is.
QtObject {
    id: theme

    property SystemPalette palette: SystemPalette {}
    readonly property bool dark: palette.window.hslLightness < 0.5
    readonly property bool mirrored: Qt.application.layoutDirection === Qt.RightToLeft

    readonly property color accent: Qt.rgba(62 / 255, 193 / 255, 199 / 255, 1)
    readonly property color accentInk: dark ? "#5fd4d9" : "#16868c"
    readonly property color ground: dark ? "#16191b" : "#ffffff"
    readonly property color bar: dark ? "#f21c2023" : "#f5ffffff"
    readonly property color tile: dark ? "#24292c" : "#eceff1"
    readonly property color surface: dark ? "#262b2e" : "#ffffff"
    readonly property color line: dark ? "#22ffffff" : "#18000000"
    readonly property color text: dark ? "#eef2f3" : "#20292d"
    readonly property color secondaryText: dark ? "#9aa7ad" : "#64747c"
    readonly property color scrim: dark ? "#99000000" : "#59101820"
    readonly property color pressed: dark ? "#20ffffff" : "#12000000"
    readonly property color focus: accent
}
