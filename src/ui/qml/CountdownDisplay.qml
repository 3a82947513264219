import QtQuick
import Orvane.Ui

Text {
    property int value: 3
    text: value
    color: Theme.textPrimary
    font.pixelSize: Theme.fontCountdown
}
