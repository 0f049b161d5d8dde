import QtQuick
import TLX.MediaPicker

FocusScope {
    id: alert
    property string title
    property string message
    property var actions: []
    /// Which of them has the keyboard at first; none for −1, until Tab or an arrow goes to the first.
    property int firstFocus: actions.length - 1
    signal chosen(int index)

    Accessible.role: Accessible.AlertMessage
    Accessible.name: title === "" ? message : title + "\n" + message

    Keys.onPressed: event => {
        const inward = [Qt.Key_Tab, Qt.Key_Backtab, Qt.Key_Left, Qt.Key_Right, Qt.Key_Up, Qt.Key_Down]
        event.accepted = firstFocus < 0 && inward.includes(event.key)
        if (event.accepted) choices.itemAt(event.key === Qt.Key_Backtab ? choices.count - 1 : 0).forceActiveFocus(Qt.TabFocusReason)
    }

    Rectangle {
        anchors.fill: parent
        color: Theme.scrim
        MouseArea { anchors.fill: parent; acceptedButtons: Qt.AllButtons; onWheel: wheel => wheel.accepted = true }
    }
    Rectangle {
        id: box
        readonly property bool stacked: alert.actions.length > 2
        anchors.centerIn: parent
        width: Math.min(300, parent.width - 40)
        height: words.height + buttons.height + 44
        radius: 16
        color: Theme.surface
        border { width: 1; color: Theme.line }

        Column {
            id: words
            x: 22
            y: 22
            width: parent.width - 44
            spacing: 8
            Text {
                width: parent.width
                visible: alert.title !== ""
                text: alert.title
                textFormat: Text.PlainText
                font { pixelSize: 17; weight: Font.DemiBold }
                color: Theme.text
                horizontalAlignment: Text.AlignHCenter
                wrapMode: Text.Wrap
            }
            Text {
                width: parent.width
                text: alert.message
                textFormat: Text.PlainText
                font.pixelSize: 14
                lineHeight: 1.15
                color: alert.title === "" ? Theme.text : Theme.secondaryText
                horizontalAlignment: Text.AlignHCenter
                wrapMode: Text.Wrap
            }
        }
        Grid {
            id: buttons
            anchors { bottom: parent.bottom; left: parent.left; right: parent.right }
            columns: box.stacked ? 1 : alert.actions.length
            Repeater {
                id: choices
                model: alert.actions
                Rectangle {
                    id: choice
                    required property int index
                    required property var modelData
                    width: box.stacked ? box.width : box.width / Math.max(1, alert.actions.length)
                    height: 46
                    color: "transparent"
                    focus: index === alert.firstFocus
                    activeFocusOnTab: true
                    Accessible.role: Accessible.Button
                    Accessible.name: modelData.title
                    Accessible.focusable: true
                    Accessible.onPressAction: alert.chosen(index)
                    Keys.onPressed: event => {
                        const plain = !(event.modifiers & ~Qt.KeypadModifier)
                        const forward = Theme.mirrored ? Qt.Key_Left : Qt.Key_Right
                        const backward = Theme.mirrored ? Qt.Key_Right : Qt.Key_Left
                        event.accepted = true
                        if (event.key === forward || event.key === Qt.Key_Down) {
                            choice.nextItemInFocusChain(true).forceActiveFocus(Qt.TabFocusReason)
                        } else if (event.key === backward || event.key === Qt.Key_Up) {
                            choice.nextItemInFocusChain(false).forceActiveFocus(Qt.BacktabFocusReason)
                        } else if ([Qt.Key_Space, Qt.Key_Return, Qt.Key_Enter].includes(event.key)) {
                            if (plain && !event.isAutoRepeat) alert.chosen(index)
                        } else {
                            event.accepted = false
                        }
                    }

                    Rectangle { width: parent.width; height: 1; color: Theme.line }
                    Rectangle { visible: !box.stacked && choice.index > 0; width: 1; height: parent.height; color: Theme.line }
                    Rectangle {
                        anchors { fill: parent; margins: 4 }
                        radius: 10
                        color: press.pressed ? Theme.pressed : "transparent"
                        border { width: choice.activeFocus ? 2 : 0; color: Theme.focus }
                    }
                    Text {
                        anchors.centerIn: parent
                        text: choice.modelData.title
                        color: Theme.accentInk
                        font { pixelSize: 16; weight: choice.modelData.cancels ? Font.DemiBold : Font.Normal }
                    }
                    MouseArea { id: press; anchors.fill: parent; onClicked: alert.chosen(choice.index) }
                }
            }
        }
    }
}
