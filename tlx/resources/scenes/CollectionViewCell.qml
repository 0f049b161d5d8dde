import QtQuick
import TLX.MediaPicker

View {
    customClass: "CollectionViewCell"
    id: cell
    Accessible.role: Accessible.ListItem
    Accessible.name: cell.spokenLabel
    Accessible.focusable: true
    Accessible.ignored: !enabled
    Accessible.selectable: true
    Accessible.selected: cell.selected
    Accessible.onPressAction: cell.activate()
    ImageView { outlet: "imgViewImagIcon"; ground: Theme.tile }
    Shade {
        anchors { left: parent.left; right: parent.right; bottom: parent.bottom }
        height: 46
        visible: length.visible
        z: 1
        from: "#00000000"
        to: "#d8000000"
    }
    ImageView { outlet: "imgViewOverLay"; startsHidden: true; z: 2 }
    Label {
        id: length
        outlet: "lblVideoLength"
        startsHidden: true
        z: 3
        x: 8
        y: cell.height - 23
        width: cell.width - 15
        height: 18
        pointSize: 13
        fontName: "-Semibold"
        color: "#ffffff"
        alignment: Text.AlignLeft
        Accessible.ignored: true
    }
}
