import QtQuick
import QtQuick.Controls
import Orvane.Ui

// One preset of the export sheet: a row that reads as a radio button, with its size and rate under the
// name. Space and Return choose it.
AbstractButton {
    id: option
    property string detail
    property bool selected

    focusPolicy: Qt.StrongFocus
    hoverEnabled: true
    implicitHeight: 48
    Accessible.role: Accessible.RadioButton
    Accessible.name: text
    Accessible.description: detail
    Accessible.checkable: true
    Accessible.checked: selected
    Keys.onReturnPressed: option.clicked()
    Keys.onEnterPressed: option.clicked()

    contentItem: Item {
        Rectangle {
            id: dot
            anchors.left: parent.left
            anchors.leftMargin: Theme.spacingM
            anchors.verticalCenter: parent.verticalCenter
            width: 16
            height: 16
            radius: 8
            color: "transparent"
            border.width: option.selected ? 5 : 1.5
            border.color: option.selected ? Theme.accent : Theme.borderStrong
        }
        // The name over its size and rate, so the longer names are never cut short.
        Column {
            anchors.left: dot.right
            anchors.leftMargin: Theme.spacingM
            anchors.right: parent.right
            anchors.rightMargin: Theme.spacingM
            anchors.verticalCenter: parent.verticalCenter
            spacing: 1
            Text {
                width: parent.width
                text: option.text
                color: Theme.textPrimary
                font.family: Theme.fontFamily
                font.pixelSize: Theme.fontBody
                font.weight: option.selected ? Font.DemiBold : Font.Normal
                elide: Text.ElideRight
            }
            Text {
                width: parent.width
                text: option.detail
                color: Theme.textTertiary
                font.family: Theme.fontFamily
                font.pixelSize: Theme.fontCaption
                elide: Text.ElideRight
            }
        }
    }

    background: Rectangle {
        radius: Theme.radiusSmall
        color: option.selected ? Qt.rgba(0.486, 0.424, 1.0, 0.12) : (option.hovered ? Theme.surfaceHover : "transparent")
        border.width: option.visualFocus ? Theme.focusRingWidth : (option.selected ? 1 : 0)
        border.color: option.visualFocus ? Theme.focusRing : Theme.accent
    }
}
