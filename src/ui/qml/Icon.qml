import QtQuick
import Orvane.Ui

// A symbol by name, drawn as a glyph so that it is sharp at every scale. Names follow the symbols the
// views ask for; an unknown name draws nothing.
Text {
    id: icon
    property string name
    property int size: 20

    readonly property var glyphs: ({
        "record.circle.fill": "\u25C9",
        "record.circle": "\u25CE",
        "folder": "\u25A4",
        "dot.radiowaves.left.and.right": "\u25CE",
        "play.rectangle": "\u25B6",
        "play.fill": "\u25B6",
        "stop.fill": "\u25A0",
        "xmark": "\u2715",
        "checkmark": "\u2713",
        "chevron.left": "\u2039",
        "arrow.clockwise": "\u27F3",
        "gear": "\u2699",
        "video": "\u25A3",
        "video.fill": "\u25A3",
        "wand.and.stars": "\u2726",
        "network": "\u25CD",
        "scissors": "\u2702",
        "square.and.arrow.down": "\u2193",
        "plus.magnifyingglass": "\u2295",
        "macwindow": "\u25A1",
        "display": "\u25AD",
        "app": "\u25A2",
        "exclamationmark.triangle": "\u26A0",
        "mic": "\u25C8",
        "speaker": "\u266A",
        "keyboard": "\u2328",
        "questionmark.circle": "?",
        "video.slash": "\u2298",
        "square.and.arrow.down.on.square": "\u21E9",
        "square.and.arrow.up": "\u21E7",
        "plus.circle.fill": "\u2295",
        "tray.and.arrow.up": "\u21EA",
        "sparkles": "\u2726",
        "arrow.left.and.right": "\u21D4",
        "speaker.slash": "\u2205",
        "lock": "\u26BF",
        "lock.open": "\u25CB",
        "eye": "\u25C9",
        "eye.slash": "\u25CC",
        "minus.magnifyingglass": "\u2296",
        "pause.fill": "\u2225",
        "backward.end.fill": "\u21E4",
        "forward.end.fill": "\u21E5",
        "backward.fill": "\u226A",
        "forward.fill": "\u226B",
        "pin": "\u26B2"
    })

    text: glyphs[name] !== undefined ? glyphs[name] : ""
    font.family: "DejaVu Sans"
    font.pixelSize: size
    color: Theme.textPrimary
    horizontalAlignment: Text.AlignHCenter
    verticalAlignment: Text.AlignVCenter
    Accessible.ignored: true
}
