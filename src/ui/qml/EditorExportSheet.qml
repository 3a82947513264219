import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Orvane.Ui

// Export from the editor: the project renders at 1080p H.264 through the background queue, with its
// progress here and in the window while the editing goes on.
Sheet {
    id: sheet
    objectName: "exportSheet"
    title: Strings.t("export.title", "Export")

    ColumnLayout {
        width: parent ? parent.width : 600
        spacing: Theme.spacingL

        Text {
            Layout.fillWidth: true
            wrapMode: Text.Wrap
            text: App.hasProject
                  ? Strings.t("export.summary", "The whole project renders to a 1920 × 1080 H.264 movie in its exports folder. You can keep editing while it runs.")
                  : Strings.t("export.noProject", "Open or record a project to export it.")
            color: Theme.textSecondary
            font.family: Theme.fontFamily
            font.pixelSize: Theme.fontBody
        }

        RowLayout {
            Layout.fillWidth: true
            visible: App.exportStatus.length > 0
            spacing: Theme.spacingM
            Text {
                objectName: "exportSheet.status"
                Layout.fillWidth: true
                text: App.exportStatus
                color: Theme.textPrimary
                font.family: Theme.fontFamily
                font.pixelSize: Theme.fontBody
                elide: Text.ElideRight
            }
            ProgressBar {
                Layout.preferredWidth: 200
                visible: App.isExporting
                value: App.exportProgress
            }
            ActionButton {
                objectName: "exportSheet.reveal"
                kind: "plain"
                visible: !App.isExporting && App.lastExportPath.length > 0
                text: Strings.t("editor.revealExport", "Show in Files")
                hint: Strings.t("editor.revealExport.hint", "Opens the folder of the exported movie")
                onClicked: App.revealInFileManager(App.lastExportPath)
            }
        }

        ActionButton {
            objectName: "exportSheet.export"
            Layout.alignment: Qt.AlignRight
            kind: "primary"
            enabled: App.hasProject && App.clips.length > 0 && !App.isExporting
            text: Strings.t("export.start", "Export")
            hint: Strings.t("export.start.hint", "Starts rendering in the background")
            onClicked: App.exportProject()
        }
    }
}
