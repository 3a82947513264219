import QtQuick
import QtQuick.Layouts
import Orvane.Ui

// A figure of the export sheet's summary: what it is, small, over its value.
ColumnLayout {
    id: item
    property string key
    property string label
    property string value

    Layout.fillWidth: true
    Layout.preferredWidth: 1
    spacing: 2
    Accessible.role: Accessible.StaticText
    Accessible.name: Strings.t(key, label) + ": " + value

    Text {
        Layout.fillWidth: true
        text: Strings.t(item.key, item.label)
        color: Theme.textTertiary
        font.family: Theme.fontFamily
        font.pixelSize: Theme.fontCaption
        elide: Text.ElideRight
    }
    Text {
        objectName: item.key + ".value"
        Layout.fillWidth: true
        text: item.value
        color: Theme.textPrimary
        font.family: Theme.fontFamily
        font.pixelSize: Theme.fontBodyLarge
        font.weight: Font.DemiBold
        elide: Text.ElideRight
    }
}
