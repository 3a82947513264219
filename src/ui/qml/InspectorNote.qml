import QtQuick
import QtQuick.Layouts
import Orvane.Ui

// A line of explanation under a form.
Text {
    property string key
    property string fallback
    objectName: key
    Layout.fillWidth: true
    text: Strings.t(key, fallback)
    color: Theme.textTertiary
    font.family: Theme.fontFamily
    font.pixelSize: Theme.fontCaption
    wrapMode: Text.Wrap
    Accessible.role: Accessible.StaticText
    Accessible.name: text
}
