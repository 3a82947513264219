import QtQuick
import QtQuick.Layouts
import Orvane.Ui

// The running text of an onboarding page.
Text {
    Layout.fillWidth: true
    color: Theme.textSecondary
    font.family: Theme.fontFamily
    font.pixelSize: Theme.fontBodyLarge
    lineHeight: 1.3
    wrapMode: Text.Wrap
}
