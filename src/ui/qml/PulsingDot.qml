import QtQuick
import Orvane.Ui

// The red dot that breathes while a recording runs.
Rectangle {
    id: dot
    property bool running: true
    property real pulseScale: 1

    width: 14
    height: 14
    radius: width / 2
    color: Theme.record
    Accessible.ignored: true

    Rectangle {
        anchors.centerIn: parent
        width: parent.width * dot.pulseScale * 1.9
        height: width
        radius: width / 2
        color: Theme.record
        opacity: (1.0 - (dot.pulseScale - 1.0) / 0.6) * 0.35
    }

    SequentialAnimation on pulseScale {
        running: dot.running
        loops: Animation.Infinite
        NumberAnimation { from: 1.0; to: 1.6; duration: 900; easing.type: Easing.OutQuad }
        NumberAnimation { to: 1.0; duration: 300; easing.type: Easing.InQuad }
    }
}
