import QtQuick
import Orvane.Ui

FocusScope {
    objectName: "EditorView"
    Text { anchors.centerIn: parent; text: App.projectName; color: Theme.textPrimary }
}
