import QtQuick
import QtQuick.Controls
import Orvane.Ui

// One command of a menu: its title on the left, its shortcut on the right, dimmed when disabled.
MenuItem {
    id: item
    implicitHeight: 32
    leftPadding: Theme.spacingM
    rightPadding: Theme.spacingM
    font.family: Theme.fontFamily
    font.pixelSize: Theme.fontBody
    objectName: action ? action.objectName + ".item" : ""
    Accessible.name: text
    Accessible.description: shortcutText

    readonly property string shortcutText: action && action.shortcut ? String(action.shortcut) : ""

    contentItem: Item {
        implicitWidth: title.implicitWidth + keys.implicitWidth + Theme.spacingXXL
        implicitHeight: title.implicitHeight
        Text {
            id: title
            anchors.left: parent.left
            anchors.right: keys.left
            anchors.rightMargin: Theme.spacingL
            anchors.verticalCenter: parent.verticalCenter
            text: item.text
            font: item.font
            elide: Text.ElideRight
            color: !item.enabled ? Theme.textTertiary : item.highlighted ? Theme.textOnAccent : Theme.textPrimary
        }
        Text {
            id: keys
            anchors.right: parent.right
            anchors.verticalCenter: parent.verticalCenter
            text: item.shortcutText
            font.family: Theme.fontFamily
            font.pixelSize: Theme.fontCaption
            color: !item.enabled ? Theme.textTertiary : item.highlighted ? Theme.textOnAccent : Theme.textSecondary
        }
    }

    background: Rectangle {
        implicitWidth: 280
        x: Theme.spacingXS
        width: item.width - 2 * Theme.spacingXS
        radius: Theme.radiusSmall
        color: item.highlighted && item.enabled ? Theme.accent : "transparent"
    }
}
