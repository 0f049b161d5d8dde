import QtQuick
import TLX.MediaPicker

ButtonView {
    id: button
    property color ground: "transparent"
    property real radius: 8
    property string spokenName: shownTitle
    property color mark: ground === Theme.accent ? Theme.inkOnAccent : Theme.focus
    color: Theme.accentInk
    mirrorsSubviews: Theme.mirrored

    Accessible.role: Accessible.Button
    Accessible.name: spokenName
    Accessible.focusable: true
    Accessible.ignored: !enabled
    Accessible.onPressAction: button.press()

    Rectangle {
        anchors.fill: parent
        z: -1
        radius: button.cornerRadius > 0 ? button.cornerRadius : button.radius
        color: button.ground
        Rectangle {
            anchors.fill: parent
            radius: parent.radius
            color: Theme.pressed
            visible: button.down
        }
    }
    Rectangle {
        // A button that clips its content would cut a mark drawn around it: there the mark is drawn inside.
        readonly property int outside: button.clip ? -3 : 2
        anchors { fill: parent; margins: -outside }
        radius: (button.cornerRadius > 0 ? button.cornerRadius : button.radius) + outside
        color: "transparent"
        border { width: 2; color: button.mark }
        visible: button.activeFocus
    }
}
