import QtQuick
import Orvane.Ui

FocusScope {
    objectName: "LiveView"
    Text { anchors.centerIn: parent; text: "LiveView"; color: Theme.textPrimary }
}
