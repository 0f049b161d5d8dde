import QtQuick
import TLX.MediaPicker

FocusScope {
    id: signIn
    property string title
    property string message
    signal answered(bool given, string user, string password)

    function give() {
        if (user.text !== "") answered(true, user.text, password.text)
    }

    Accessible.role: Accessible.Dialog
    Accessible.name: title + "\n" + message

    component Field: FocusScope {
        id: field
        property alias text: input.text
        property alias echoMode: input.echoMode
        property string label
        signal entered()
        width: parent.width
        height: 40
        Rectangle {
            anchors.fill: parent
            radius: 8
            color: "transparent"
            border { width: field.activeFocus ? 2 : 1; color: field.activeFocus ? Theme.focus : Theme.line }
        }
        Text {
            anchors { left: parent.left; leftMargin: 12; verticalCenter: parent.verticalCenter }
            visible: input.text === ""
            text: field.label
            color: Theme.secondaryText
            font.pixelSize: 15
        }
        TextInput {
            id: input
            anchors { fill: parent; leftMargin: 12; rightMargin: 12 }
            focus: true
            activeFocusOnTab: true
            clip: true
            verticalAlignment: TextInput.AlignVCenter
            color: Theme.text
            selectionColor: Theme.focus
            font.pixelSize: 15
            inputMethodHints: Qt.ImhNoAutoUppercase | Qt.ImhNoPredictiveText | Qt.ImhSensitiveData
            Accessible.role: Accessible.EditableText
            Accessible.name: field.label
            Accessible.passwordEdit: echoMode === TextInput.Password
            onAccepted: field.entered()
        }
    }

    component Choice: Rectangle {
        id: choice
        property string title
        property bool strong
        signal chosen()
        width: parent.width / 2
        height: 46
        color: "transparent"
        activeFocusOnTab: true
        Accessible.role: Accessible.Button
        Accessible.name: title
        Accessible.focusable: true
        Accessible.onPressAction: choice.chosen()
        Keys.onPressed: event => {
            event.accepted = [Qt.Key_Space, Qt.Key_Return, Qt.Key_Enter].includes(event.key)
            if (event.accepted && !event.isAutoRepeat) choice.chosen()
        }
        Rectangle { width: parent.width; height: 1; color: Theme.line }
        Rectangle {
            anchors { fill: parent; margins: 4 }
            radius: 10
            color: press.pressed ? Theme.pressed : "transparent"
            border { width: choice.activeFocus ? 2 : 0; color: Theme.focus }
        }
        Text {
            anchors.centerIn: parent
            text: choice.title
            color: Theme.accentInk
            opacity: choice.enabled ? 1 : 0.4
            font { pixelSize: 16; weight: choice.strong ? Font.DemiBold : Font.Normal }
        }
        MouseArea { id: press; anchors.fill: parent; onClicked: choice.chosen() }
    }

    Rectangle {
        anchors.fill: parent
        color: Theme.scrim
        MouseArea { anchors.fill: parent; acceptedButtons: Qt.AllButtons; onWheel: wheel => wheel.accepted = true }
    }
    Rectangle {
        anchors.centerIn: parent
        width: Math.min(320, parent.width - 40)
        height: words.height + 46 + 44
        radius: 16
        color: Theme.surface
        border { width: 1; color: Theme.line }

        Column {
            id: words
            x: 22
            y: 22
            width: parent.width - 44
            spacing: 10
            Text {
                width: parent.width
                text: signIn.title
                font { pixelSize: 17; weight: Font.DemiBold }
                color: Theme.text
                horizontalAlignment: Text.AlignHCenter
            }
            Text {
                width: parent.width
                text: signIn.message
                textFormat: Text.PlainText
                font.pixelSize: 14
                lineHeight: 1.15
                color: Theme.secondaryText
                horizontalAlignment: Text.AlignHCenter
                wrapMode: Text.Wrap
            }
            Field { id: user; objectName: "user"; label: "Name"; focus: true; onEntered: password.forceActiveFocus() }
            Field { id: password; objectName: "password"; label: "Password"; echoMode: TextInput.Password; onEntered: signIn.give() }
        }
        Row {
            anchors { bottom: parent.bottom; left: parent.left; right: parent.right }
            Choice { title: "Cancel"; onChosen: signIn.answered(false, "", "") }
            Choice { title: "Sign in"; strong: true; enabled: user.text !== ""; onChosen: signIn.give() }
        }
    }
}
