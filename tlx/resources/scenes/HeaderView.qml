import QtQuick
import TLX.MediaPicker

View {
    customClass: "UICollectionReusableView"
    id: header
    Button {
        tag: 101
        x: scenes.pad ? Math.round(scenes.width / 40) : 8
        y: scenes.pad ? 18 : 8
        width: header.width - 2 * x
        height: 46
        radius: 12
        ground: Theme.tile
        image: "camera"
        spokenName: "Camera"
    }
}
