import QtQuick
import Orvane.Ui

// The big number before a recording starts: each new value lands with a small overshoot inside a ring.
Item {
    id: countdown
    objectName: "countdownDisplay"
    property int value: 3
    property real scale: 1

    implicitWidth: 280
    implicitHeight: 280
    Accessible.role: Accessible.StaticText
    Accessible.name: value

    Rectangle {
        anchors.fill: parent
        radius: width / 2
        color: Theme.surface
        border.color: Theme.record
        border.width: 4
        opacity: 0.9
    }

    Text {
        id: number
        objectName: "countdownDisplay.value"
        anchors.centerIn: parent
        text: countdown.value
        color: Theme.textPrimary
        font.family: Theme.fontFamily
        font.pixelSize: Theme.fontCountdown
        font.weight: Font.Bold
        scale: countdown.scale
    }

    onValueChanged: land.restart()
    SequentialAnimation {
        id: land
        NumberAnimation { target: countdown; property: "scale"; from: 1.35; to: 0.95; duration: 220; easing.type: Easing.OutCubic }
        NumberAnimation { target: countdown; property: "scale"; to: 1.0; duration: 160; easing.type: Easing.OutQuad }
    }
}
