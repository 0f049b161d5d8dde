import QtQuick
import TLX.MediaPicker

// Something to press on the camera's screen; its content is drawn by whoever uses it.
Item {
    id: button
    property string name
    property alias down: area.pressed
    property real ringRadius: height / 2
    signal pressed()

    activeFocusOnTab: true
    opacity: enabled ? 1 : 0.4
    scale: down ? 0.94 : 1
    Behavior on scale { NumberAnimation { duration: 80 } }

    Accessible.role: Accessible.Button
    Accessible.name: name
    Accessible.focusable: true
    Accessible.onPressAction: if (enabled) pressed()

    Keys.onPressed: event => {
        const plain = !(event.modifiers & ~Qt.KeypadModifier)
        if (!plain || ![Qt.Key_Space, Qt.Key_Return, Qt.Key_Enter].includes(event.key)) return
        event.accepted = true
        if (!event.isAutoRepeat) pressed()
    }

    Rectangle {
        anchors { fill: parent; margins: -5 }
        visible: button.activeFocus
        radius: button.ringRadius + 5
        color: "transparent"
        border { width: 2; color: Theme.accent }
    }
    MouseArea { id: area; anchors.fill: parent; onClicked: button.pressed() }
}
