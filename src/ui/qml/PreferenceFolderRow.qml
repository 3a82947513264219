import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Orvane.Ui

// Where new recordings go: the folder's path, a button that shows it in the file manager and one that
// picks another.
Rectangle {
    id: row
    property string path
    signal reveal()
    signal change()

    Layout.fillWidth: true
    implicitHeight: column.implicitHeight + 2 * Theme.spacingM
    radius: Theme.radiusMedium
    color: Theme.surface
    border.color: Theme.border

    ColumnLayout {
        id: column
        anchors.fill: parent
        anchors.margins: Theme.spacingM
        anchors.leftMargin: Theme.spacingL
        spacing: Theme.spacingS
        Text {
            text: Strings.t("prefs.capture.recordingsFolder", "Recordings folder")
            color: Theme.textPrimary
            font.family: Theme.fontFamily
            font.pixelSize: Theme.fontBody
        }
        RowLayout {
            Layout.fillWidth: true
            spacing: Theme.spacingS
            Rectangle {
                Layout.fillWidth: true
                implicitHeight: 34
                radius: Theme.radiusSmall
                color: Theme.canvas
                border.color: Theme.border
                RowLayout {
                    anchors.fill: parent
                    anchors.leftMargin: Theme.spacingS + 2
                    anchors.rightMargin: Theme.spacingS + 2
                    spacing: Theme.spacingS
                    Icon {
                        name: "folder"
                        size: 14
                        color: Theme.textTertiary
                    }
                    Text {
                        objectName: "prefs.capture.recordingsFolder.path"
                        Layout.fillWidth: true
                        text: row.path
                        color: Theme.textSecondary
                        font.family: Theme.fontFamily
                        font.pixelSize: Theme.fontCaption
                        elide: Text.ElideMiddle
                        Accessible.role: Accessible.StaticText
                        Accessible.name: text
                    }
                }
            }
            ActionButton {
                objectName: "prefs.capture.recordingsFolder.reveal"
                kind: "plain"
                text: Strings.t("prefs.capture.recordingsFolder.reveal", "Reveal")
                hint: Strings.t("prefs.capture.recordingsFolder.reveal.hint", "Opens the folder in the file manager")
                onClicked: row.reveal()
            }
            ActionButton {
                objectName: "prefs.capture.recordingsFolder.change"
                text: Strings.t("prefs.capture.recordingsFolder.change", "Change…")
                hint: Strings.t("prefs.capture.recordingsFolder.prompt", "Choose where new recordings are saved")
                onClicked: row.change()
            }
        }
    }
}
