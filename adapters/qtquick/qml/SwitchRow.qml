import QtQuick
import TLX.MediaPicker

// A line of a page of settings: what is allowed, and the switch for it.
FocusScope {
    id: row
    property string title
    property string detail
    property bool checked: false
    signal switched(bool value)

    function flip() {
        checked = !checked
        switched(checked)
    }

    height: Math.max(56, words.height + 24)
    activeFocusOnTab: true
    Accessible.role: Accessible.CheckBox
    Accessible.name: detail === "" ? title : title + ", " + detail
    Accessible.checkable: true
    Accessible.checked: checked
    Accessible.focusable: true
    Accessible.onToggleAction: row.flip()
    Accessible.onPressAction: row.flip()
    Keys.onSpacePressed: row.flip()
    Keys.onReturnPressed: row.flip()
    Keys.onEnterPressed: row.flip()

    Rectangle {
        anchors { fill: parent; margins: 4 }
        radius: 10
        color: press.pressed ? Theme.pressed : "transparent"
        border { width: row.activeFocus ? 2 : 0; color: Theme.focus }
    }
    Column {
        id: words
        anchors.verticalCenter: parent.verticalCenter
        x: Theme.mirrored ? track.x + track.width + 16 : 20
        width: row.width - track.width - 56
        spacing: 2
        Text {
            width: parent.width
            text: row.title
            textFormat: Text.PlainText
            font.pixelSize: 16
            color: Theme.text
            horizontalAlignment: Theme.mirrored ? Text.AlignRight : Text.AlignLeft
            elide: Text.ElideRight
        }
        Text {
            width: parent.width
            visible: row.detail !== ""
            text: row.detail
            textFormat: Text.PlainText
            font.pixelSize: 13
            color: Theme.secondaryText
            horizontalAlignment: Theme.mirrored ? Text.AlignRight : Text.AlignLeft
            wrapMode: Text.Wrap
        }
    }
    Rectangle {
        id: track
        anchors.verticalCenter: parent.verticalCenter
        x: Theme.mirrored ? 20 : row.width - width - 20
        width: 48
        height: 28
        radius: 14
        color: row.checked ? Theme.accent : Theme.tile
        border { width: row.checked ? 0 : 1; color: Theme.secondaryText }
        Rectangle {
            readonly property bool onRight: row.checked !== Theme.mirrored
            x: onRight ? track.width - width - 3 : 3
            y: 3
            width: 22
            height: 22
            radius: 11
            color: "#ffffff"
            border { width: 1; color: "#22000000" }
            Behavior on x { enabled: !Appearance.reducesMotion; NumberAnimation { duration: 120; easing.type: Easing.OutCubic } }
        }
    }
    MouseArea {
        id: press
        anchors.fill: parent
        onClicked: {
            row.forceActiveFocus()
            row.flip()
        }
    }
}
