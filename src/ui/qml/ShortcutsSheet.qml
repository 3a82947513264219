import QtQuick
import QtQuick.Layouts
import Orvane.Ui

// Every keyboard shortcut of the program, a card per group.
Sheet {
    id: sheet
    objectName: "ShortcutsSheet"
    title: Strings.t("shortcuts.title", "Keyboard Shortcuts")
    width: Math.min(parent ? parent.width - 2 * Theme.spacingXL : 1200, 1200)

    GridLayout {
        width: parent.width
        columns: 3
        columnSpacing: Theme.spacingM
        rowSpacing: Theme.spacingM
        Repeater {
            model: ShortcutCatalog.groups
            ShortcutGroupCard {
                required property var modelData
                Layout.fillWidth: true
                Layout.alignment: Qt.AlignTop
                Layout.preferredWidth: 1
                group: modelData
            }
        }
    }
}
