import QtQuick
import TLX.MediaPicker

View {
    id: view
    Rectangle {
        anchors.fill: parent
        visible: color.a > 0
        color: view.background
        radius: view.cornerRadius
    }
}
