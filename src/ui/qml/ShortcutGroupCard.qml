import QtQuick
import QtQuick.Layouts
import Orvane.Ui

// One group of the shortcuts sheet: its symbol and title, then a line per shortcut.
Rectangle {
    id: card
    property var group

    objectName: group ? group.titleKey : ""
    implicitHeight: column.implicitHeight + 2 * Theme.spacingL
    radius: Theme.radiusMedium
    color: Theme.surface
    border.color: Theme.border
    Accessible.role: Accessible.Grouping
    Accessible.name: title.text

    ColumnLayout {
        id: column
        anchors.fill: parent
        anchors.margins: Theme.spacingL
        spacing: Theme.spacingXS + 2

        RowLayout {
            spacing: Theme.spacingS
            Icon {
                name: card.group.icon
                size: 16
                color: Theme.accent
            }
            Text {
                id: title
                text: Strings.t(card.group.titleKey, card.group.title)
                color: Theme.textPrimary
                font.family: Theme.fontFamily
                font.pixelSize: Theme.fontBody
                font.weight: Font.DemiBold
            }
        }
        Repeater {
            model: card.group.entries
            RowLayout {
                required property var modelData
                Layout.fillWidth: true
                spacing: Theme.spacingM
                Text {
                    Layout.fillWidth: true
                    text: Strings.t(parent.modelData.descriptionKey, parent.modelData.description)
                    color: Theme.textSecondary
                    font.family: Theme.fontFamily
                    font.pixelSize: Theme.fontBody
                    elide: Text.ElideRight
                }
                KeyCaps {
                    objectName: "shortcut.keys"
                    keys: parent.modelData.keys
                }
            }
        }
    }
}
