import QtQuick
import Orvane.Ui

// A keyframe track's shape in a few points: `samples` are values in 0...1 over the track's span. An empty
// track draws a flat dotted line.
Item {
    id: curve
    property var samples: []
    property color color: Theme.accent
    implicitWidth: 56
    implicitHeight: 20
    Accessible.role: Accessible.Graphic
    Accessible.name: samples.length > 1 ? "Curve" : "No keyframes"

    function at(i) {
        return Qt.point(1 + (width - 2) * i / (samples.length - 1), height - 2 - (height - 4) * samples[i])
    }

    Repeater {
        model: curve.samples.length > 1 ? curve.samples.length - 1 : 0
        delegate: CurveSegment {
            required property int index
            from: curve.at(index)
            to: curve.at(index + 1)
            color: curve.color
        }
    }
    Row {
        visible: curve.samples.length < 2
        anchors.verticalCenter: parent.verticalCenter
        spacing: 3
        Repeater {
            model: Math.floor(curve.width / 6)
            delegate: Rectangle {
                width: 3
                height: 1
                color: Theme.textTertiary
            }
        }
    }
}
