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
    Canvas {
        id: ramp
        objectName: "inspector.speed.curve"
        visible: form.points.length > 0
        Layout.fillWidth: true
        Layout.preferredHeight: 72
        Accessible.role: Accessible.Graphic
        Accessible.name: form.points.map(p => p.label).join(", ")
        onPaint: {
            const ctx = getContext("2d")
            ctx.reset()
            ctx.fillStyle = Theme.canvas
            ctx.fillRect(0, 0, width, height)
            const pts = form.points
            ctx.strokeStyle = Theme.accent
            ctx.lineWidth = 2
            ctx.beginPath()
            for (let i = 0; i < pts.length; ++i) {
                const x = 6 + (width - 12) * pts[i].x
                const y = 6 + (height - 12) * (1 - pts[i].y)
                if (i === 0) ctx.moveTo(x, y); else ctx.lineTo(x, y)
            }
            ctx.stroke()
            ctx.fillStyle = Theme.textPrimary
            ctx.font = "10px sans-serif"
            for (let i = 0; i < pts.length; ++i) {
                const x = 6 + (width - 12) * pts[i].x
                const y = 6 + (height - 12) * (1 - pts[i].y)
                ctx.beginPath()
                ctx.arc(x, y, 3, 0, 2 * Math.PI)
                ctx.fill()
                ctx.fillText(pts[i].label, Math.min(x + 4, width - 60), Math.max(y - 4, 10))
            }
        }
        Connections {
            target: form.inspector
            function onValuesChanged() { ramp.requestPaint() }
        }
    }
}
