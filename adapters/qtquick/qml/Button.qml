import QtQuick
import TLX.MediaPicker

ButtonView {
    id: button
    property color ground: "transparent"
    property real radius: 8
    property string spokenName: shownTitle
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
        anchors { fill: parent; margins: -2 }
        radius: (button.cornerRadius > 0 ? button.cornerRadius : button.radius) + 2
        color: "transparent"
        border { width: 2; color: Theme.focus }
        visible: button.activeFocus
    }
}
