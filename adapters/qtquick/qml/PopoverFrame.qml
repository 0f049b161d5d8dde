import QtQuick
import TLX.MediaPicker

// What surrounds a popover's content: the rounded ground, the arrow, and the rest of the window, a press on which asks to close.
Item {
    id: frame
    property rect content: Qt.rect(0, 0, 0, 0)
    property real arrowX: 0
    readonly property int padding: 8
    signal pressedOutside

    MouseArea {
        anchors.fill: parent
        acceptedButtons: Qt.AllButtons
        onPressed: frame.pressedOutside()
        onWheel: wheel => wheel.accepted = true
    }
    Repeater {
        model: 6
        Rectangle {
            required property int index
            readonly property real spread: 2 + index * 3
            x: ground.x - spread
            y: ground.y - spread + 5
            width: ground.width + 2 * spread
            height: ground.height + 2 * spread
            radius: ground.radius + spread
            color: "#000000"
            opacity: 0.022
        }
    }
    Rectangle {
        width: 20
        height: 20
        radius: 3
        rotation: 45
        x: Math.max(ground.x + 18, Math.min(frame.arrowX - width / 2, ground.x + ground.width - 38))
        y: ground.y - 8
        color: Theme.surface
        border { width: 1; color: Theme.line }
    }
    Rectangle {
        id: ground
        x: frame.content.x
        y: frame.content.y - frame.padding
        width: frame.content.width
        height: frame.content.height + 2 * frame.padding
        radius: 14
        color: Theme.surface
        border { width: 1; color: Theme.line }
        MouseArea { anchors.fill: parent; acceptedButtons: Qt.AllButtons; onWheel: wheel => wheel.accepted = true }
    }
    Rectangle {
        width: 26
        height: 12
        x: Math.max(ground.x + 15, Math.min(frame.arrowX - width / 2, ground.x + ground.width - 41))
        y: ground.y + 1
        color: Theme.surface
    }
}
