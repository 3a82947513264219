import QtQuick
import QtQuick.Controls
import Orvane.Ui

Popup {
    objectName: "HelpSheet"
    parent: Overlay.overlay
    anchors.centerIn: parent
    modal: true
}
