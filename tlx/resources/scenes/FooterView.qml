import QtQuick
import TLX.MediaPicker

View {
    customClass: "UICollectionReusableView"
    id: footer
    Label {
        tag: 101
        width: footer.width
        height: footer.height
        pointSize: 14
        color: Theme.secondaryText
        alignment: Text.AlignHCenter
    }
}
