import QtQuick
import TLX.MediaPicker

CollectionViewBase {
    id: grid
    layoutOutlet: "flowLayout"
    prototypes: ["CollectionViewCell", "HeaderView", "FooterView"]
    headerHeight: Theme.headerHeight
    footerHeight: 72
    margin: scenes.pad ? Math.round(width / 40) : 0
    width: 375
    height: 667
    scroller: scroll
    ground: Theme.ground

    Binding on width { when: grid.parent !== null; value: grid.parent ? grid.parent.width : 0 }
    Binding on height { when: grid.parent !== null; value: grid.parent ? grid.parent.height : 0 }

    Accessible.role: Accessible.List
    Accessible.name: "Photos"
    Accessible.ignored: !enabled

    Scroller { id: scroll; view: grid }
}
