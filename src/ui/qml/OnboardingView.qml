import QtQuick
import Orvane.Ui

FocusScope {
    objectName: "OnboardingView"
    Text { anchors.centerIn: parent; text: "OnboardingView"; color: Theme.textPrimary }
}
