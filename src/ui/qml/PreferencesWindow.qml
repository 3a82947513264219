import QtQuick
import QtQuick.Window
import Orvane.Ui

Window {
    objectName: "preferencesWindow"
    width: 560
    height: 420
    color: Theme.canvas
}
