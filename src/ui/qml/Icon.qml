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
        "questionmark.circle": "?"
    })

    text: glyphs[name] !== undefined ? glyphs[name] : ""
    font.family: "DejaVu Sans"
    font.pixelSize: size
    color: Theme.textPrimary
    horizontalAlignment: Text.AlignHCenter
    verticalAlignment: Text.AlignVCenter
    Accessible.ignored: true
}
