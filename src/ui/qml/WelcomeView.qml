import QtQuick
import Orvane.Ui

FocusScope {
    objectName: "WelcomeView"
    Text { anchors.centerIn: parent; text: "WelcomeView"; color: Theme.textPrimary }
}
