import QtQuick
import Orvane.Ui

// The heading of an onboarding page.
Text {
    color: Theme.textPrimary
    font.family: Theme.fontFamily
    font.pixelSize: Theme.fontHeadline
    font.weight: Font.Bold
    wrapMode: Text.Wrap
    Accessible.role: Accessible.Heading
    Accessible.name: text
}
