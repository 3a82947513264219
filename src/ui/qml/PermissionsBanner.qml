import QtQuick
import QtQuick.Layouts
import Orvane.Ui

// Shown while the screen can't be read: what is missing, and a button to look again.
Rectangle {
    id: banner
    objectName: "welcome.permissions"
    implicitHeight: row.implicitHeight + 2 * Theme.spacingM
    radius: Theme.radiusMedium
    color: Qt.rgba(Theme.warning.r, Theme.warning.g, Theme.warning.b, 0.10)
    border.color: Qt.rgba(Theme.warning.r, Theme.warning.g, Theme.warning.b, 0.45)
    Accessible.role: Accessible.AlertMessage
    Accessible.name: title.text

    RowLayout {
        id: row
        anchors.fill: parent
        anchors.margins: Theme.spacingM
        anchors.leftMargin: Theme.spacingL
        spacing: Theme.spacingM
        Icon {
            name: "exclamationmark.triangle"
            size: 20
            color: Theme.warning
        }
        ColumnLayout {
            Layout.fillWidth: true
            spacing: 2
            Text {
                id: title
                Layout.fillWidth: true
                text: Strings.t("welcome.permissions.title", "Orvane Screen can't see your screen")
                color: Theme.textPrimary
                font.family: Theme.fontFamily
                font.pixelSize: Theme.fontBody
                font.weight: Font.DemiBold
                wrapMode: Text.Wrap
            }
            Text {
                Layout.fillWidth: true
                text: Strings.t("welcome.permissions.message", "Recording needs a display it may read. On a Wayland desktop, start Orvane Screen in an X11 session; then check again.")
                color: Theme.textSecondary
                font.family: Theme.fontFamily
                font.pixelSize: Theme.fontCaption
                wrapMode: Text.Wrap
            }
        }
        ActionButton {
            objectName: "welcome.permissions.openSettings"
            text: Strings.t("welcome.permissions.openSettings", "Check Again")
            hint: Strings.t("welcome.permissions.openSettings.hint", "Looks again at what Orvane Screen may record")
            onClicked: App.refreshPermissions()
        }
    }
}
