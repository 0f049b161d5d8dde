import QtQuick
import TLX.MediaPicker

CollectionViewBase {
    id: grid
    layoutOutlet: "flowLayout"
    prototypes: ["CollectionViewCell", "HeaderView", "FooterView"]
    headerHeight: 0 // its only button is the camera's, which is not there yet
    footerHeight: 72
    width: 375
    height: 667
    scroller: scroll

    Binding on width { when: grid.parent !== null; value: grid.parent ? grid.parent.width : 0 }
    Binding on height { when: grid.parent !== null; value: grid.parent ? grid.parent.height : 0 }

    Accessible.role: Accessible.List
    Accessible.name: "Photos"
    Accessible.ignored: !enabled

    Scroller { id: scroll; view: grid }
}
