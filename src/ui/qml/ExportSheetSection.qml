import QtQuick
import QtQuick.Layouts
import Orvane.Ui

// A titled group of the export sheet.
ColumnLayout {
    id: section
    property string key
    property string title
    default property alias content: body.data

    Layout.fillWidth: true
    spacing: Theme.spacingS

    Text {
        objectName: section.key
        text: Strings.t(section.key, section.title).toUpperCase()
        color: Theme.textTertiary
        font.family: Theme.fontFamily
        font.pixelSize: Theme.fontCaption
        font.weight: Font.DemiBold
        font.letterSpacing: 0.6
        Accessible.role: Accessible.Heading
        Accessible.name: Strings.t(section.key, section.title)
    }
    ColumnLayout {
        id: body
        Layout.fillWidth: true
        spacing: Theme.spacingS
    }
}
