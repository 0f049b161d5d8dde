import QtQuick
import TLX.MediaPicker

LabelView {
    id: label
    property int alignment: Theme.mirrored ? Text.AlignRight : Text.AlignLeft
    property int lines: 1
    /// A text that is too long is drawn smaller instead of being cut.
    property bool fits: false
    /// The view names its colour, which is meant for a light ground and must be adapted on a dark one.
    property bool followsGround: false
    color: Theme.text

    Accessible.role: Accessible.StaticText
    Accessible.name: shownText
    Accessible.ignored: shownText === "" || partOfControl || !enabled

    Text {
        anchors.fill: parent
        text: label.shownText
        font: label.shownFont
        color: label.followsGround ? Theme.onGround(label.shownColor) : label.shownColor
        textFormat: Text.PlainText
        horizontalAlignment: label.alignment
        verticalAlignment: Text.AlignVCenter
        elide: Text.ElideRight
        fontSizeMode: label.fits ? Text.HorizontalFit : Text.FixedSize
        minimumPixelSize: 11
        wrapMode: label.lines > 1 ? Text.Wrap : Text.NoWrap
        maximumLineCount: label.lines
    }
}
