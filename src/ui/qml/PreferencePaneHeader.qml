import QtQuick
import QtQuick.Layouts
import Orvane.Ui

// The top of a preferences pane: its name and one line on what it governs.
ColumnLayout {
    property alias title: heading.text
    property alias caption: line.text

    Layout.fillWidth: true
    Layout.bottomMargin: Theme.spacingXS
    spacing: 2
    Text {
        id: heading
        color: Theme.textPrimary
        font.family: Theme.fontFamily
        font.pixelSize: Theme.fontBodyLarge
        font.weight: Font.DemiBold
        Accessible.role: Accessible.Heading
        Accessible.name: text
    }
    Text {
        id: line
        Layout.fillWidth: true
        wrapMode: Text.Wrap
        color: Theme.textTertiary
        font.family: Theme.fontFamily
        font.pixelSize: Theme.fontCaption
    }
}
