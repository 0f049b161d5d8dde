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
    Label {
        outlet: "lblFolderName"
        x: Theme.mirrored ? 92 : row.height + 16
        y: Math.round((row.height - height) / 2)
        width: row.width - row.height - 16 - 92
        height: 24
        Accessible.ignored: true
    }
    Label {
        outlet: "lblFolderImageNo"
        x: Theme.mirrored ? 18 : row.width - width - 18
        y: Math.round((row.height - height) / 2)
        width: 70
        height: 24
        alignment: Theme.mirrored ? Text.AlignLeft : Text.AlignRight
        Accessible.ignored: true
    }
    Rectangle { x: Theme.mirrored ? 0 : row.height + 16; width: row.width - row.height - 16; height: 1; y: row.height - 1; color: Theme.line }
}
