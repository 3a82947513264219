import QtQuick
import QtQuick.Controls
import Orvane.Ui

MenuBar {
    objectName: "menuBar"
}
