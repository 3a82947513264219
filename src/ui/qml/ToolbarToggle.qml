import QtQuick
import QtQuick.Controls
import Orvane.Ui

// A toolbar switch: icon and label, tinted with the accent while on, its hint as tooltip and
// accessible description; Space and Return flip it.
AbstractButton {
    id: control
    property string iconName
    property string hint

    checkable: true
    focusPolicy: Qt.StrongFocus
    hoverEnabled: true
    Accessible.role: Accessible.CheckBox
    Accessible.name: text
    Accessible.description: hint
    Accessible.checkable: true
    Accessible.checked: checked
    ToolTip.visible: hovered
    ToolTip.delay: 600
    ToolTip.text: hint
    leftPadding: Theme.spacingM
    rightPadding: Theme.spacingM
    topPadding: Theme.spacingS
    bottomPadding: Theme.spacingS
    font.family: Theme.fontFamily
    font.pixelSize: Theme.fontBody
    font.weight: Font.DemiBold

    Keys.onReturnPressed: control.toggle(), control.toggled()
    Keys.onEnterPressed: control.toggle(), control.toggled()

    contentItem: Row {
        spacing: Theme.spacingS
        Icon {
            name: control.iconName
            size: control.font.pixelSize + 2
            color: label.color
            anchors.verticalCenter: parent.verticalCenter
        }
        Text {
            id: label
            text: control.text
            font: control.font
            color: control.checked ? Theme.accentHover : Theme.textSecondary
            anchors.verticalCenter: parent.verticalCenter
        }
    }

    background: Rectangle {
        implicitHeight: 36
        radius: Theme.radiusSmall
        color: control.checked ? Qt.rgba(0.486, 0.424, 1.0, 0.16) : (control.hovered ? Theme.surfaceHover : "transparent")
        border.width: control.checked ? 1 : 0
        border.color: Theme.accent
        Rectangle {
            anchors.fill: parent
            anchors.margins: -3
            radius: parent.radius + 3
            color: "transparent"
            border.width: Theme.focusRingWidth
            border.color: Theme.focusRing
            visible: control.visualFocus
        }
    }
}
