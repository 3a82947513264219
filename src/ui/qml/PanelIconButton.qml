import QtQuick
import QtQuick.Controls
import Orvane.Ui

// A small square button that shows only a symbol: its text is what a screen reader says and its hint the
// tooltip. Space and Return press it; the focus ring shows when the keyboard put it there.
AbstractButton {
    id: control
    property string iconName
    property string hint
    property color tint: Theme.textSecondary

    implicitWidth: 28
    implicitHeight: 28
    focusPolicy: Qt.StrongFocus
    hoverEnabled: true
    Accessible.role: Accessible.Button
    Accessible.name: text
    Accessible.description: hint
    ToolTip.visible: hovered
    ToolTip.delay: 600
    ToolTip.text: hint.length > 0 ? text + " — " + hint : text
    Keys.onReturnPressed: control.clicked()
    Keys.onEnterPressed: control.clicked()

    contentItem: Icon {
        name: control.iconName
        size: 14
        color: control.down || control.hovered ? Theme.textPrimary : control.tint
    }

    background: Rectangle {
        radius: Theme.radiusSmall
        color: control.down ? Theme.surface : (control.hovered ? Theme.surfaceHover : "transparent")
        border.width: control.visualFocus ? Theme.focusRingWidth : 0
        border.color: Theme.focusRing
    }
}
