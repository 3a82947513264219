import QtQuick
import QtQuick.Controls
import Orvane.Ui

// A pill that switches one input of the recording on or off.
Button {
    id: toggle
    property string hint
    property string iconName
    checkable: true
    focusPolicy: Qt.StrongFocus
    Accessible.role: Accessible.CheckBox
    Accessible.name: text
    Accessible.description: hint
    hoverEnabled: true
    leftPadding: Theme.spacingM
    rightPadding: Theme.spacingM
    Keys.onReturnPressed: toggle.toggle()

    contentItem: Row {
        spacing: Theme.spacingS
        Rectangle {
            width: 8
            height: 8
            radius: 4
            anchors.verticalCenter: parent.verticalCenter
            color: toggle.checked ? Theme.success : Theme.textTertiary
        }
        Text {
            text: toggle.text
            color: toggle.checked ? Theme.textPrimary : Theme.textSecondary
            font.family: Theme.fontFamily
            font.pixelSize: Theme.fontBody
            anchors.verticalCenter: parent.verticalCenter
        }
    }
    background: Rectangle {
        implicitHeight: 36
        radius: height / 2
        color: toggle.hovered ? Theme.surfaceHover : Theme.surfaceRaised
        border.width: toggle.visualFocus ? Theme.focusRingWidth : 1
        border.color: toggle.visualFocus ? Theme.focusRing : (toggle.checked ? Theme.borderStrong : Theme.border)
    }
}
