import QtQuick
import QtQuick.Window
import Orvane.Ui

Window {
    objectName: "recordingHUD"
    width: 340
    height: 88
    color: "transparent"
    Rectangle { anchors.fill: parent; radius: 16; color: Theme.surfaceRaised }
}
