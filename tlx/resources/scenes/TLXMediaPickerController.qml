import QtQuick
import TLX.MediaPicker

View {
    id: root
    width: 375
    height: 667

    Rectangle { anchors.fill: parent; color: Theme.ground }

    View {
        outlet: "viewContainer"
        width: root.width
        height: root.height

        // Before what it covers, because it is read first.
        View {
            id: bar
            z: 1
            width: root.width
            height: Theme.barHeight
            Rectangle { anchors.fill: parent; color: Theme.bar }
            Rectangle { width: parent.width; height: 1; y: parent.height - 1; color: Theme.line }
            MouseArea { anchors.fill: parent; onWheel: wheel => wheel.accepted = true }

            readonly property bool narrow: root.width < 360
            readonly property real side: narrow ? 98 : 116
            Button {
                id: cancelButton
                action: "btnPressed:"
                tag: 106
                x: Theme.mirrored ? root.width - width - 6 : 6
                y: 9
                width: 76
                height: 44
                title: "Cancel"
                shortcuts: ["Escape"]
                pointSize: bar.narrow ? 15 : 16
            }
            Button {
                outlet: "btnAlbumPicker"
                customClass: "CustomAlbumButton"
                action: "btnPressed:"
                tag: 102
                x: bar.side
                y: 9
                width: root.width - 2 * bar.side
                height: 44
                color: Theme.text
                pointSize: bar.narrow ? 15 : 17
                fontName: "-Semibold"
                imageLeft: 4
                spokenName: shownTitle + ", albums"
            }
            Button {
                outlet: "btnSelected"
                startsHidden: true
                width: 1
                height: 1
            }
            Label {
                outlet: "lblPhotoCount"
                startsAlpha: 0
                x: Theme.mirrored ? doneButton.x + doneButton.width : doneButton.x - width
                y: 9
                width: bar.narrow ? 36 : 46
                height: 44
                pointSize: bar.narrow ? 13 : 15
                fits: true
                color: Theme.secondaryText
                alignment: Theme.mirrored ? Text.AlignLeft : Text.AlignRight
            }
            Button {
                id: doneButton
                outlet: "btnDone"
                action: "btnPressed:"
                tag: 105
                x: Theme.mirrored ? 6 : root.width - width - 6
                y: 9
                width: bar.narrow ? 56 : 64
                height: 44
                title: "Done"
                startsAlpha: 0
                enabled: false
                shortcuts: ["Ctrl+Return", "Ctrl+Enter"]
                pointSize: bar.narrow ? 15 : 16
                fontName: "-Bold"
            }
        }
        View {
            outlet: "viewCLContainer"
            width: root.width
            height: root.height
        }
        View {
            outlet: "viewNoPhotos"
            startsHidden: true
            width: root.width
            height: root.height
            // Over the grid's own count of nothing, which would say the same once more.
            Rectangle { y: Theme.barHeight + Theme.headerHeight; width: parent.width; height: parent.height - y; color: Theme.ground }
            Image {
                anchors { horizontalCenter: parent.horizontalCenter; bottom: emptyTitle.top; bottomMargin: 16 }
                source: visible ? "qrc:/tlx/mediapicker/images/empty.png" : ""
                sourceSize { width: 96; height: 96 }
                opacity: 0.9
            }
            Label {
                id: emptyTitle
                outlet: "lblNoPhotos1"
                fits: true
                x: 24
                y: Math.round(root.height / 2) - 6
                width: root.width - 48
                height: 26
                pointSize: 18
                fontName: "-Semibold"
                alignment: Text.AlignHCenter
            }
            Label {
                outlet: "lblNoPhotos2"
                fits: true
                x: 24
                y: emptyTitle.y + 30
                width: root.width - 48
                height: 22
                pointSize: 15
                color: Theme.secondaryText
                alignment: Text.AlignHCenter
            }
        }
        View {
            outlet: "viewAccessContainer"
            startsHidden: true
            width: root.width
            height: root.height
            Image {
                anchors { horizontalCenter: parent.horizontalCenter; bottom: accessTitle.top; bottomMargin: 16 }
                source: visible ? "qrc:/tlx/mediapicker/images/locked.png" : ""
                sourceSize { width: 96; height: 96 }
                opacity: 0.9
            }
            Label {
                id: accessTitle
                outlet: "lblAllowAccess1"
                x: 16
                y: Math.round(root.height / 2) - 24
                width: root.width - 32
                height: 26
                fits: true
                pointSize: 18
                fontName: "-Semibold"
                alignment: Text.AlignHCenter
            }
            Label {
                outlet: "lblAllowAccess2"
                fits: true
                x: 24
                y: accessTitle.y + 32
                width: root.width - 48
                height: 20
                pointSize: 15
                color: Theme.secondaryText
                alignment: Text.AlignHCenter
            }
            Label {
                outlet: "lblAllowAccess3"
                fits: true
                x: 24
                y: accessTitle.y + 53
                width: root.width - 48
                height: 20
                pointSize: 15
                color: Theme.secondaryText
                alignment: Text.AlignHCenter
            }
            Button {
                outlet: "btnAllowAccess"
                action: "btnAllowAccess:"
                x: Math.round((root.width - width) / 2)
                y: accessTitle.y + 96
                width: 180
                height: 44
                ground: Theme.accent
                color: Theme.inkOnAccent
                title: "Allow access"
                pointSize: 16
                fontName: "-Semibold"
            }
        }
        View {
            outlet: "viewTbContainer"
            startsAlpha: 0
            enabled: false
            width: root.width
            height: root.height
            Rectangle { anchors.fill: parent; color: Theme.scrim; opacity: 0.6 }
        }
        // Of no size: nothing listens to it, the camera's button is the one in the grid's header.
        Button { outlet: "btnCamera"; width: 0; height: 0; clip: true; activeFocusOnTab: false; Accessible.ignored: true }
    }
    View {
        outlet: "viewPhotoLimitationWarning"
        startsHidden: true
        width: root.width
        height: Theme.barHeight
        Rectangle { anchors.fill: parent; color: Theme.accent }
        Label {
            outlet: "lblLimitationWarning"
            x: 16
            y: 0
            width: root.width - 32
            height: Theme.barHeight
            fits: true
            pointSize: 16
            fontName: "-Semibold"
            color: Theme.inkOnAccent
            alignment: Text.AlignHCenter
        }
    }
}
