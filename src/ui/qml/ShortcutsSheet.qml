import QtQuick
import QtQuick.Controls
import Orvane.Ui

Popup {
    objectName: "ShortcutsSheet"
    parent: Overlay.overlay
    anchors.centerIn: parent
    modal: true
}
