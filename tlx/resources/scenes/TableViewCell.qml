import QtQuick
import TLX.MediaPicker

View {
    customClass: "TableViewCell"
    id: row
    ImageView { outlet: "imgViewFolderIcon"; width: row.height; height: row.height }
    Label {
        outlet: "lblFolderName"
        x: row.height + 16
        y: Math.round((row.height - height) / 2)
        width: row.width - row.height - 16 - 92
        height: 24
    }
    Label {
        outlet: "lblFolderImageNo"
        x: row.width - width - 18
        y: Math.round((row.height - height) / 2)
        width: 70
        height: 24
        alignment: Text.AlignRight
    }
    Rectangle { x: row.height + 16; width: row.width - x; height: 1; y: row.height - 1; color: Theme.line }
}
