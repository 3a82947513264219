import QtQuick
import Orvane.Ui

FocusScope {
    objectName: "SourcePickerView"
    Text { anchors.centerIn: parent; text: "SourcePickerView"; color: Theme.textPrimary }
}
