import QtQuick
import TLX.MediaPicker

View {
    customClass: "TableViewCell"
    id: row
    mirrorsSubviews: Theme.mirrored
    Accessible.role: Accessible.ListItem
    Accessible.name: row.spokenLabel
    Accessible.focusable: true
    Accessible.ignored: !enabled
    Accessible.selectable: true
    Accessible.selected: row.selected
    Accessible.onPressAction: row.activate()
    ImageView { outlet: "imgViewFolderIcon"; width: row.height; height: row.height }
    // The cover fills the row's height; what is seen of it stands apart from its neighbours, with round corners.
    Rectangle {
        x: (Theme.mirrored ? row.width - row.height : 0) - 6
        y: -6
        width: row.height + 12
        height: width
        radius: 19
        color: "transparent"
        border { width: 12; color: Theme.surface }
    }
    Label {
        outlet: "lblFolderName"
        x: Theme.mirrored ? 92 : row.height + 16
        y: Math.round((row.height - height) / 2)
        width: row.width - row.height - 16 - 92
        height: 24
        followsGround: true
        Accessible.ignored: true
    }
    Label {
        outlet: "lblFolderImageNo"
        x: Theme.mirrored ? 18 : row.width - width - 18
        y: Math.round((row.height - height) / 2)
        width: 70
        height: 24
        alignment: Theme.mirrored ? Text.AlignLeft : Text.AlignRight
        followsGround: true
        Accessible.ignored: true
    }
    Rectangle { x: Theme.mirrored ? 0 : row.height + 16; width: row.width - row.height - 16; height: 1; y: row.height - 1; color: Theme.line }
}
