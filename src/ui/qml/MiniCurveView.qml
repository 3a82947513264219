import QtQuick
import Orvane.Ui

// A keyframe track's shape in a few points: `samples` are values in 0...1 over the track's span. An empty
// track draws a flat dashed line.
Canvas {
    id: curve
    property var samples: []
    property color color: Theme.accent
    implicitWidth: 56
    implicitHeight: 20
    Accessible.role: Accessible.Graphic
    Accessible.name: samples.length > 0 ? "Curve" : "No keyframes"

    onSamplesChanged: requestPaint()
    onColorChanged: requestPaint()

    onPaint: {
        const ctx = getContext("2d")
        ctx.reset()
        ctx.lineWidth = 1.5
        ctx.strokeStyle = samples.length > 0 ? color : Theme.textTertiary
        ctx.beginPath()
        if (samples.length < 2) {
            ctx.setLineDash([3, 3])
            ctx.moveTo(1, height / 2)
            ctx.lineTo(width - 1, height / 2)
        } else {
            for (let i = 0; i < samples.length; ++i) {
                const x = 1 + (width - 2) * i / (samples.length - 1)
                const y = height - 2 - (height - 4) * samples[i]
                if (i === 0)
                    ctx.moveTo(x, y)
                else
                    ctx.lineTo(x, y)
            }
        }
        ctx.stroke()
    }
}
