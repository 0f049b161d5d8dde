import QtQuick
import TLX.MediaPicker

// Moves a grid's or a list's offset by finger, wheel and flick; what is seen stands beside it.
Flickable {
    id: scroller
    required property Item view

    anchors.fill: parent
    flickableDirection: Flickable.VerticalFlick
    boundsBehavior: Flickable.DragAndOvershootBounds
    contentWidth: width
    contentHeight: Math.max(height, view.extent + view.topInset + view.bottomInset)
    maximumFlickVelocity: 12000
    pixelAligned: true
    onContentYChanged: view.offset = contentY

    Connections {
        target: scroller.view
        function onOffsetChanged() {
            // An offset that the scroller itself reported may come back, when the content grows beneath a finger.
            if (scroller.dragging || Math.abs(scroller.contentY - scroller.view.offset) < 0.01) return
            scroller.cancelFlick()
            scroller.contentY = scroller.view.offset
        }
    }
    TapHandler {
        gesturePolicy: TapHandler.DragThreshold
        onTapped: eventPoint => {
            const at = scroller.view.mapFromItem(null, eventPoint.scenePosition.x, eventPoint.scenePosition.y)
            scroller.view.tapAt(at.x, at.y)
        }
    }
    Rectangle {
        id: ring
        readonly property rect place: scroller.view.focusFrame
        parent: scroller.view.canvas
        z: 3
        visible: place.width > 0
        x: place.x
        y: place.y
        width: place.width
        height: place.height
        color: "transparent"
        // Not in the accent colour, in which the frame of a picked photo is drawn.
        border { width: 3; color: Theme.text }
        Rectangle {
            anchors { fill: parent; margins: 3 }
            color: "transparent"
            border { width: 1; color: Theme.ground }
        }
    }
    Rectangle {
        parent: scroller.view
        z: 2
        readonly property real span: scroller.height - scroller.view.topInset - 8
        readonly property real part: scroller.height / scroller.contentHeight
        visible: part < 1
        opacity: scroller.moving ? 0.7 : 0
        Behavior on opacity { enabled: !Appearance.reducesMotion; NumberAnimation { duration: 200 } }
        width: 4
        radius: 2
        height: Math.max(36, span * part)
        x: Theme.mirrored ? 3 : scroller.width - width - 3
        y: scroller.view.topInset + 4 + (span - height) * Math.min(1, Math.max(0, scroller.contentY / Math.max(1, scroller.contentHeight - scroller.height)))
        color: Theme.secondaryText
    }
}
