import QtQuick
import TLX.MediaPicker

View {
    customClass: "UICollectionReusableView"
    id: header
    Button {
        tag: 101
        x: 8
        y: 8
        width: header.width - 16
        height: header.height - 16
        radius: 12
        ground: Theme.tile
        image: "camera"
        spokenName: "Camera"
    }
}
