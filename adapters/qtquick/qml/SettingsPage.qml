import QtQuick
import TLX.MediaPicker

// What the person allows the host program, over the whole window.
FocusScope {
    id: page
    property string host
    property string note
    property var switches: []
    signal switched(int index, bool value)
    signal closed

    Accessible.role: Accessible.Dialog
    Accessible.name: "Settings"

    Rectangle {
        anchors.fill: parent
        color: Theme.page
        MouseArea { anchors.fill: parent; acceptedButtons: Qt.AllButtons; onWheel: wheel => wheel.accepted = true }
    }
    Rectangle { width: parent.width; height: Theme.barHeight; color: Theme.bar }
    Text {
        anchors.horizontalCenter: parent.horizontalCenter
        height: Theme.barHeight
        verticalAlignment: Text.AlignVCenter
        text: "Settings"
        font { pixelSize: 17; weight: Font.DemiBold }
        color: Theme.text
    }
    Rectangle {
        id: done
        readonly property bool down: press.pressed
        x: Theme.mirrored ? 8 : page.width - width - 8
        y: 9
        width: 72
        height: 44
        radius: 8
        color: down ? Theme.pressed : "transparent"
        border { width: activeFocus ? 2 : 0; color: Theme.focus }
        activeFocusOnTab: true
        Accessible.role: Accessible.Button
        Accessible.name: "Done"
        Accessible.focusable: true
        Accessible.onPressAction: page.closed()
        Keys.onSpacePressed: page.closed()
        Keys.onReturnPressed: page.closed()
        Keys.onEnterPressed: page.closed()
        Text {
            anchors.centerIn: parent
            text: "Done"
            font { pixelSize: 16; weight: Font.DemiBold }
            color: Theme.accentInk
        }
        MouseArea { id: press; anchors.fill: parent; onClicked: page.closed() }
    }
    Rectangle { y: Theme.barHeight - 1; width: parent.width; height: 1; color: Theme.line }

    Column {
        id: column
        anchors.horizontalCenter: parent.horizontalCenter
        y: Theme.barHeight + 28
        width: Math.min(560, page.width - 32)
        spacing: 10
        Text {
            x: 20
            width: parent.width - 40
            text: page.host
            textFormat: Text.PlainText
            font { pixelSize: 13; weight: Font.DemiBold }
            color: Theme.secondaryText
            horizontalAlignment: Theme.mirrored ? Text.AlignRight : Text.AlignLeft
            elide: Text.ElideRight
        }
        Rectangle {
            width: parent.width
            height: rows.height
            radius: 14
            color: Theme.surface
            border { width: 1; color: Theme.line }
            Column {
                id: rows
                width: parent.width
                Repeater {
                    model: page.switches
                    SwitchRow {
                        id: line
                        required property int index
                        required property var modelData
                        width: rows.width
                        focus: index === 0
                        title: modelData.title
                        detail: modelData.detail
                        checked: modelData.checked
                        onSwitched: value => page.switched(index, value)
                        Rectangle {
                            visible: line.index > 0
                            x: 20
                            width: parent.width - 40
                            height: 1
                            color: Theme.line
                        }
                    }
                }
            }
        }
        Text {
            x: 20
            width: parent.width - 40
            visible: page.note !== ""
            text: page.note
            textFormat: Text.PlainText
            font.pixelSize: 13
            lineHeight: 1.2
            color: Theme.secondaryText
            horizontalAlignment: Theme.mirrored ? Text.AlignRight : Text.AlignLeft
            wrapMode: Text.Wrap
        }
    }
}
