import QtQuick
import TLX.MediaPicker

View {
    customClass: "TLXDownloadProgress"
    id: panel
    width: 375
    height: 667

    Accessible.role: Accessible.Dialog
    Accessible.name: header1.shownText + " " + header2.shownText

    ModalScope {}
    Rectangle { anchors.fill: parent; color: "#8a0c1214" }
    MouseArea { anchors.fill: parent; acceptedButtons: Qt.AllButtons; hoverEnabled: true; onWheel: wheel => wheel.accepted = true }
    Rectangle { x: card.x; y: card.y; width: card.width; height: card.height; radius: 20; color: "#f0262d31" }
    Item {
        id: card
        width: 240
        height: 296
        x: Math.round((panel.width - width) / 2)
        y: Math.round((panel.height - height) / 2)
    }
    Label {
        id: header1
        outlet: "lblHeader1"
        x: card.x
        y: card.y + 24
        width: card.width
        height: 22
        text: "Importing"
        pointSize: 16
        fontName: "-Semibold"
        color: "#ffffff"
        alignment: Text.AlignHCenter
    }
    Label {
        id: header2
        outlet: "lblHeader2"
        x: card.x
        y: card.y + 47
        width: card.width
        height: 20
        text: "from library"
        pointSize: 14
        color: "#b8c4c9"
        alignment: Text.AlignHCenter
    }
    View {
        outlet: "viewDownloadProgress"
        customClass: "CERoundProgressView"
        x: card.x + (card.width - width) / 2
        y: card.y + 80
        width: 104
        height: 104
    }
    Label {
        outlet: "lblDownloadProgress"
        x: card.x
        y: card.y + 190
        width: card.width
        height: 22
        pointSize: 16
        color: "#ffffff"
        alignment: Text.AlignHCenter
    }
    Label {
        outlet: "lblCompletionCount"
        x: card.x
        y: card.y + 212
        width: card.width
        height: 18
        pointSize: 13
        color: "#b8c4c9"
        alignment: Text.AlignHCenter
    }
    Button {
        outlet: "btnCancel"
        action: "btnDownloadCancelPressed:"
        x: card.x + 50
        y: card.y + 239
        width: card.width - 100
        height: 44
        title: "Cancel"
        shortcuts: ["Escape"]
        pointSize: 15
        fontName: "-Semibold"
        color: "#5fd4d9"
        mark: color
    }
}
