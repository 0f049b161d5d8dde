import QtQuick
import TLX.MediaPicker

// The camera: its picture, and around it what a hand needs. Light on dark whatever the system's palette, as the picture
// is what is looked at.
FocusScope {
    id: screen
    required property CaptureModel model

    readonly property bool wide: width > height
    readonly property int bar: wide ? 172 : 168
    readonly property bool aiming: model.stage === CaptureModel.Aiming
    readonly property bool recording: model.stage === CaptureModel.Recording
    readonly property bool reviewing: model.stage === CaptureModel.Reviewing
    readonly property bool broken: model.stage === CaptureModel.Failed
    readonly property bool busy: model.stage === CaptureModel.Waiting || model.stage === CaptureModel.Saving
    readonly property color ink: "#f5f7f7"
    readonly property color quiet: "#a8b1b4"
    readonly property color red: "#ff453a"

    anchors.fill: parent

    Accessible.role: Accessible.Pane
    Accessible.name: "Camera"

    Keys.onPressed: event => {
        if (event.isAutoRepeat) return
        if (event.key === Qt.Key_Escape) {
            event.accepted = true
            model.cancel()
        } else if (event.key === Qt.Key_Space || event.key === Qt.Key_Return || event.key === Qt.Key_Enter) {
            event.accepted = true
            if (reviewing) model.use()
            else if (broken) model.retake()
            else model.shoot()
        }
    }
    // Focus goes where the next press is most likely.
    onReviewingChanged: (reviewing ? useButton : shutter).forceActiveFocus()
    onBrokenChanged: (broken ? againButton : shutter).forceActiveFocus()
    Component.onCompleted: shutter.focus = true

    Rectangle { anchors.fill: parent; color: "#000000" }
    MouseArea { anchors.fill: parent; acceptedButtons: Qt.AllButtons; onWheel: wheel => wheel.accepted = true }

    CapturePreview {
        id: preview
        anchors {
            fill: parent
            topMargin: screen.wide ? 0 : 56
            bottomMargin: screen.wide ? 0 : screen.bar
            rightMargin: screen.wide ? screen.bar : 0
        }
        visible: !screen.broken
        mirrored: screen.model.front && !screen.reviewing && screen.model.stage !== CaptureModel.Saving
        Accessible.role: Accessible.Graphic
        Accessible.name: screen.reviewing ? (screen.model.movie ? "Video taken, " + screen.model.elapsed : "Photo taken")
                                          : "Camera picture, " + screen.model.cameraName
    }
    // A short blackening, as of a shutter, tells that a photo was taken.
    Rectangle {
        id: blink
        anchors.fill: preview
        color: "#000000"
        opacity: 0
        SequentialAnimation {
            id: blinking
            NumberAnimation { target: blink; property: "opacity"; to: 0.9; duration: 40 }
            NumberAnimation { target: blink; property: "opacity"; to: 0; duration: 160 }
        }
    }

    // What went wrong.
    Column {
        visible: screen.broken
        anchors.centerIn: preview
        width: Math.min(preview.width - 48, 360)
        spacing: 10
        Accessible.role: Accessible.AlertMessage
        Accessible.name: screen.model.title + "\n" + screen.model.advice
        Accessible.ignored: !screen.broken
        Rectangle {
            anchors.horizontalCenter: parent.horizontalCenter
            width: 64; height: 46; radius: 10
            color: "transparent"
            border { width: 2; color: screen.quiet }
            Rectangle { anchors.centerIn: parent; width: 20; height: 20; radius: 10; color: "transparent"; border { width: 2; color: screen.quiet } }
            Rectangle { anchors.centerIn: parent; width: 78; height: 2; rotation: -35; color: screen.quiet }
        }
        Item { width: 1; height: 4 }
        Text {
            width: parent.width
            text: screen.model.title
            color: screen.ink
            font { pixelSize: 19; weight: Font.DemiBold }
            horizontalAlignment: Text.AlignHCenter
            wrapMode: Text.Wrap
        }
        Text {
            width: parent.width
            text: screen.model.advice
            color: screen.quiet
            font.pixelSize: 15
            lineHeight: 1.15
            horizontalAlignment: Text.AlignHCenter
            wrapMode: Text.Wrap
        }
        Item { width: 1; height: 8 }
        CaptureButton {
            id: againButton
            name: "Try again"
            anchors.horizontalCenter: parent.horizontalCenter
            width: againText.implicitWidth + 44
            height: 42
            onPressed: screen.model.retake()
            Rectangle { anchors.fill: parent; radius: 21; color: "#2a3033" }
            Text { id: againText; anchors.centerIn: parent; text: "Try again"; color: screen.ink; font { pixelSize: 16; weight: Font.Medium } }
        }
    }

    // What cut a recording short, over its last picture.
    Rectangle {
        visible: screen.reviewing && screen.model.title !== ""
        anchors { horizontalCenter: preview.horizontalCenter; bottom: preview.bottom; bottomMargin: 18 }
        width: Math.min(preview.width - 32, cutText.implicitWidth + 36)
        height: cutText.height + 20
        radius: 14
        color: "#d9202528"
        Accessible.role: Accessible.AlertMessage
        Accessible.name: cutText.text
        Accessible.ignored: !visible
        Text {
            id: cutText
            anchors.centerIn: parent
            width: Math.min(implicitWidth, preview.width - 68)
            text: screen.model.title + ". " + screen.model.advice
            color: screen.ink
            font.pixelSize: 14
            horizontalAlignment: Text.AlignHCenter
            wrapMode: Text.Wrap
        }
    }

    // How long the recording is.
    Rectangle {
        visible: screen.recording || (screen.model.movie && (screen.reviewing || screen.busy))
        anchors { horizontalCenter: preview.horizontalCenter; top: parent.top; topMargin: 14 }
        width: time.implicitWidth + 22
        height: 28
        radius: 8
        color: screen.recording ? screen.red : "#b3202528"
        Text { id: time; anchors.centerIn: parent; text: screen.model.elapsed; color: "#ffffff"; font { pixelSize: 15; weight: Font.DemiBold } }
        Accessible.role: Accessible.StaticText
        Accessible.name: (screen.recording ? "Recording, " : "Recorded, ") + screen.model.elapsed
        Accessible.ignored: !visible
    }

    CaptureButton {
        id: cancelButton
        name: "Cancel"
        anchors { top: parent.top; left: parent.left; margins: 10 }
        width: 40; height: 40
        enabled: screen.model.stage !== CaptureModel.Saving
        onPressed: screen.model.cancel()
        Rectangle { anchors.fill: parent; radius: 20; color: "#66000000" }
        Repeater {
            model: [45, -45]
            Rectangle { required property int modelData; anchors.centerIn: parent; width: 19; height: 2; radius: 1; rotation: modelData; color: screen.ink; antialiasing: true }
        }
    }

    // The hand's side: below on a phone held upright, at the right on anything wide.
    Item {
        id: hand
        x: screen.wide ? screen.width - width : 0
        y: screen.wide ? 0 : screen.height - height
        width: screen.wide ? screen.bar : screen.width
        height: screen.wide ? screen.height : screen.bar

        Row {
            id: modes
            visible: screen.model.offersBoth && (screen.aiming || screen.broken)
            anchors { horizontalCenter: parent.horizontalCenter; bottom: shutter.top; bottomMargin: screen.wide ? 34 : 20 }
            spacing: 18
            Repeater {
                model: ["Video", "Photo"]
                CaptureButton {
                    required property string modelData
                    readonly property bool current: (modelData === "Video") === screen.model.movie
                    name: modelData
                    ringRadius: 8
                    width: label.implicitWidth + 12
                    height: 26
                    Accessible.role: Accessible.RadioButton
                    Accessible.checkable: true
                    Accessible.checked: current
                    onPressed: screen.model.setMovie(modelData === "Video")
                    Text {
                        id: label
                        anchors.centerIn: parent
                        text: parent.modelData.toUpperCase()
                        color: parent.current ? Theme.accent : screen.ink
                        font { pixelSize: 13; weight: parent.current ? Font.DemiBold : Font.Normal; letterSpacing: 0.8 }
                    }
                }
            }
        }

        CaptureButton {
            id: shutter
            name: !screen.model.movie ? "Take photo" : screen.recording ? "Stop recording" : "Start recording"
            visible: screen.aiming || screen.recording || screen.model.stage === CaptureModel.Waiting
            enabled: screen.recording || screen.model.ready
            anchors { horizontalCenter: parent.horizontalCenter; verticalCenter: parent.verticalCenter; verticalCenterOffset: screen.wide ? 0 : 18 }
            width: 72; height: 72
            onPressed: {
                if (!screen.model.movie) blinking.restart()
                screen.model.shoot()
            }
            Rectangle { anchors.fill: parent; radius: 36; color: "transparent"; border { width: 4; color: screen.ink } }
            Rectangle {
                anchors.centerIn: parent
                width: screen.recording ? 30 : 58
                height: width
                radius: screen.recording ? 7 : 29
                color: screen.model.movie ? screen.red : screen.ink
                Behavior on width { NumberAnimation { duration: 140; easing.type: Easing.OutCubic } }
                Behavior on radius { NumberAnimation { duration: 140; easing.type: Easing.OutCubic } }
            }
        }

        CaptureButton {
            id: flip
            name: "Switch camera"
            visible: screen.model.cameras > 1 && (screen.aiming || screen.broken)
            width: 48; height: 48
            x: screen.wide ? (parent.width - width) / 2 : parent.width - width - 34
            y: screen.wide ? shutter.y + shutter.height + 40 : shutter.y + (shutter.height - height) / 2
            onPressed: screen.model.switchCamera()
            Rectangle { anchors.fill: parent; radius: 24; color: "#2a3033" }
            Canvas {
                anchors.centerIn: parent
                width: 26; height: 26
                onPaint: {
                    const c = getContext("2d")
                    c.reset()
                    c.strokeStyle = screen.ink
                    c.fillStyle = screen.ink
                    c.lineWidth = 2
                    for (const turn of [0, Math.PI]) {
                        c.save()
                        c.translate(13, 13)
                        c.rotate(turn)
                        c.beginPath()
                        c.arc(0, 0, 9, Math.PI * 1.08, Math.PI * 1.8)
                        c.stroke()
                        c.beginPath()
                        c.moveTo(10.5, -6.5)
                        c.lineTo(9.5, 0.5)
                        c.lineTo(3.5, -3.6)
                        c.closePath()
                        c.fill()
                        c.restore()
                    }
                }
            }
        }

        Text {
            visible: screen.busy
            anchors { horizontalCenter: parent.horizontalCenter; bottom: parent.bottom; bottomMargin: 16 }
            text: screen.model.stage === CaptureModel.Saving ? "Saving\u2026" : screen.model.movie ? "Finishing\u2026" : ""
            color: screen.quiet
            font.pixelSize: 14
        }

        CaptureButton {
            id: retakeButton
            name: "Retake"
            visible: screen.reviewing
            ringRadius: 10
            width: Math.max(96, retakeText.implicitWidth + 32); height: 46
            x: screen.wide ? (parent.width - width) / 2 : 24
            y: screen.wide ? parent.height / 2 + 12 : (parent.height - height) / 2 + 10
            onPressed: screen.model.retake()
            Text { id: retakeText; anchors.centerIn: parent; text: "Retake"; color: screen.ink; font.pixelSize: 17 }
        }
        CaptureButton {
            id: useButton
            name: screen.model.movie ? "Use video" : "Use photo"
            visible: screen.reviewing
            ringRadius: 23
            width: Math.max(120, useText.implicitWidth + 36); height: 46
            x: screen.wide ? (parent.width - width) / 2 : parent.width - width - 24
            y: screen.wide ? parent.height / 2 - height - 12 : (parent.height - height) / 2 + 10
            onPressed: screen.model.use()
            Rectangle { anchors.fill: parent; radius: 23; color: Theme.accent }
            Text { id: useText; anchors.centerIn: parent; text: parent.name; color: "#05292b"; font { pixelSize: 17; weight: Font.DemiBold } }
        }
    }
}
