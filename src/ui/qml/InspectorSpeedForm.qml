import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Orvane.Ui

// Above the speed slider: the ramp switch, its presets and its curve (rate 0.25 at the top, 4 at the
// bottom, time across).
ColumnLayout {
    id: form
    property InspectorModel inspector
    readonly property bool isRamping: inspector.form.isRamping === true
    readonly property var points: inspector.form.rampPoints ?? []
    spacing: Theme.spacingS

    InspectorToggleRow {
        key: "Speed Ramp"
        label: "Speed Ramp"
        checked: form.isRamping
        onToggled: (on) => form.inspector.setRamping(on)
    }
    RowLayout {
        Layout.fillWidth: true
        spacing: Theme.spacingXS
        Repeater {
            model: form.inspector.form.speedPresets ?? []
            delegate: ActionButton {
                required property string modelData
                required property int index
                objectName: modelData
                Layout.fillWidth: true
                text: Strings.t(modelData, modelData)
                font.pixelSize: 11
                leftPadding: Theme.spacingS
                rightPadding: Theme.spacingS
                onClicked: form.inspector.applySpeedPreset(index)
            }
        }
    }
    Item {
        id: ramp
        objectName: "inspector.speed.curve"
        visible: form.points.length > 0
        Layout.fillWidth: true
        Layout.preferredHeight: 72
        Accessible.role: Accessible.Graphic
        Accessible.name: form.points.map(p => p.label).join(", ")
        function at(p) { return Qt.point(6 + (width - 12) * p.x, 6 + (height - 12) * (1 - p.y)) }

        Rectangle {
            anchors.fill: parent
            radius: Theme.radiusSmall
            color: Theme.canvas
        }
        Repeater {
            model: Math.max(form.points.length - 1, 0)
            delegate: CurveSegment {
                required property int index
                from: ramp.at(form.points[index])
                to: ramp.at(form.points[index + 1])
                thickness: 2
                color: Theme.accent
            }
        }
        Repeater {
            model: form.points
            delegate: Item {
                required property var modelData
                readonly property point spot: ramp.at(modelData)
                x: spot.x
                y: spot.y
                Rectangle {
                    x: -3
                    y: -3
                    width: 6
                    height: 6
                    radius: 3
                    color: Theme.textPrimary
                }
                Text {
                    x: Math.min(4, ramp.width - parent.x - implicitWidth - 2)
                    y: parent.y > 16 ? -14 : 4
                    text: modelData.label
                    color: Theme.textSecondary
                    font.family: Theme.monoFamily
                    font.pixelSize: 10
                }
            }
        }
    }
}
