import QtQuick
import Orvane.Ui

// Keys as small rounded caps: "Ctrl+Shift+Z" draws three, "← →" two.
Row {
    id: caps
    property string keys
    spacing: 3
    layoutDirection: Qt.RightToLeft
    Accessible.role: Accessible.StaticText
    Accessible.name: keys

    Repeater {
        // The last part first, since the row runs right to left to stay flush with the column's edge.
        model: {
            var parts = []
            caps.keys.split(" ").forEach(function(chord) {
                chord.split(/\+(?=.)/).forEach(function(part) { parts.push(part) })
            })
            return parts.reverse()
        }
        Rectangle {
            required property string modelData
            width: Math.max(22, label.implicitWidth + 2 * Theme.spacingS)
            height: 22
            radius: Theme.radiusSmall - 1
            color: Theme.canvas
            border.color: Theme.borderStrong
            border.width: 1
            Text {
                id: label
                anchors.centerIn: parent
                text: parent.modelData
                color: Theme.textPrimary
                font.family: Theme.fontFamily
                font.pixelSize: Theme.fontCaption
                font.weight: Font.DemiBold
            }
        }
    }
}
