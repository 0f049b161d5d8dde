import QtQuick
import TLX.MediaPicker

LabelView {
    id: label
    property int alignment: Theme.mirrored ? Text.AlignRight : Text.AlignLeft
    property int lines: 1
    color: Theme.text

    Accessible.role: Accessible.StaticText
    Accessible.name: shownText
    Accessible.ignored: shownText === "" || partOfControl || !enabled

    Text {
        anchors.fill: parent
        text: label.shownText
        font: label.shownFont
        color: label.shownColor
        textFormat: Text.PlainText
        horizontalAlignment: label.alignment
        verticalAlignment: Text.AlignVCenter
        elide: Text.ElideRight
        wrapMode: label.lines > 1 ? Text.Wrap : Text.NoWrap
        maximumLineCount: label.lines
    }
}
