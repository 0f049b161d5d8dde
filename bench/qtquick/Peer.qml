import QtQuick

// What a program would write instead: a GridView whose cells hold the same pieces, with pictures loaded asynchronously.
Rectangle {
    id: root
    width: 375
    height: 667
    color: "white"
    property int itemCount: 100000
    property var files: []
    readonly property real end: grid.contentHeight - grid.height
    property alias offset: grid.contentY
    property alias grid: grid

    GridView {
        id: grid
        anchors.fill: parent
        model: root.itemCount
        cellWidth: 94.33
        cellHeight: 95.75
        cacheBuffer: 333
        reuseItems: true
        delegate: Item {
            id: cell
            required property int index
            readonly property bool video: index % 8 === 3
            readonly property bool ready: picture.status === Image.Ready
            width: 92
            height: 92
            Rectangle { anchors.fill: parent; color: "#eceff1" }
            Image {
                id: picture
                anchors.fill: parent
                asynchronous: true
                cache: true
                fillMode: Image.PreserveAspectCrop
                autoTransform: true
                sourceSize: root.files.length > 0 ? Qt.size(130, 130) : undefined
                source: root.files.length > 0 ? root.files[cell.index] : "image://pictures/" + cell.index
            }
            Rectangle {
                anchors { left: parent.left; right: parent.right; bottom: parent.bottom }
                height: 30
                visible: cell.video
                gradient: Gradient {
                    GradientStop { position: 0; color: "#00000000" }
                    GradientStop { position: 1; color: "#a0000000" }
                }
            }
            Image { anchors.fill: parent; visible: false }
            Text {
                x: 8
                y: parent.height - 23
                width: parent.width - 15
                height: 18
                visible: cell.video
                color: "white"
                font { pixelSize: 13; weight: Font.DemiBold }
                text: cell.video ? Math.floor(cell.index % 600 / 60) + ":" + cell.index % 60 : ""
            }
        }
    }
}
