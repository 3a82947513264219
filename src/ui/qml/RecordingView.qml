import QtQuick
import Orvane.Ui

FocusScope {
    objectName: "RecordingView"
    Text { anchors.centerIn: parent; text: "RecordingView"; color: Theme.textPrimary }
}
