import QtQuick
import TLX.MediaPicker

TableViewBase {
    id: table
    prototypes: ["TableViewCell"]
    width: 320
    height: 480
    scroller: scroll

    Accessible.role: Accessible.List
    Accessible.name: "Albums"
    Accessible.ignored: !enabled

    Scroller { id: scroll; view: table }
}
