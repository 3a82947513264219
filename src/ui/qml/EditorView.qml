import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Orvane.Ui

// The open project: its clips in timeline order, with export through the background queue. The full
// editor (preview, timeline, inspector) takes this screen's place.
FocusScope {
    id: editor
    objectName: "EditorView"

    Connections {
        target: App
        // Export… (Ctrl+E) asks the editor; here it renders the whole project at once.
        function onExportRequestNonceChanged() { if (App.hasProject) App.exportProject() }
    }

    ColumnLayout {
        anchors.fill: parent
        anchors.margins: Theme.spacingXL
        spacing: Theme.spacingL

        RowLayout {
            Layout.fillWidth: true
            spacing: Theme.spacingM
            ActionButton {
                objectName: "editor.home"
                kind: "plain"
                iconName: "chevron.left"
                text: Strings.t("editor.home", "Home")
                hint: Strings.t("editor.home.hint", "Back to the welcome screen")
                onClicked: App.goHome()
            }
            ColumnLayout {
                Layout.fillWidth: true
                spacing: 2
                Text {
                    objectName: "editor.projectName"
                    Layout.fillWidth: true
                    text: App.projectName
                    color: Theme.textPrimary
                    font.family: Theme.fontFamily
                    font.pixelSize: Theme.fontHeadline
                    font.weight: Font.Bold
                    elide: Text.ElideMiddle
                }
                Text {
                    Layout.fillWidth: true
                    text: App.projectPath
                    color: Theme.textTertiary
                    font.family: Theme.fontFamily
                    font.pixelSize: Theme.fontCaption
                    elide: Text.ElideMiddle
                }
            }
            ActionButton {
                objectName: "editor.newRecording"
                iconName: "record.circle.fill"
                text: Strings.t("editor.newRecording", "New Recording")
                hint: Strings.t("editor.newRecording.hint", "Record another clip into this project")
                onClicked: App.newRecording()
            }
            ActionButton {
                objectName: "editor.importVideo"
                text: Strings.t("editor.importVideo", "Import Video…")
                hint: Strings.t("editor.importVideo.hint", "Add a movie file to the end of the timeline")
                onClicked: App.importVideo()
            }
            ActionButton {
                objectName: "editor.export"
                kind: "primary"
                enabled: App.clips.length > 0
                text: Strings.t("editor.export", "Export")
                hint: Strings.t("editor.export.hint", "Renders the project to a 1080p H.264 movie in the background")
                onClicked: App.exportProject()
            }
        }

        // The export under way or just finished.
        Rectangle {
            Layout.fillWidth: true
            Layout.preferredHeight: 56
            visible: App.exportStatus.length > 0
            radius: Theme.radiusMedium
            color: Theme.surfaceRaised
            border.color: Theme.border
            RowLayout {
                anchors.fill: parent
                anchors.leftMargin: Theme.spacingL
                anchors.rightMargin: Theme.spacingM
                spacing: Theme.spacingM
                Text {
                    objectName: "editor.exportStatus"
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
                    objectName: "editor.revealExport"
                    kind: "plain"
                    visible: !App.isExporting && App.lastExportPath.length > 0
                    text: Strings.t("editor.revealExport", "Show in Files")
                    hint: Strings.t("editor.revealExport.hint", "Opens the folder of the exported movie")
                    onClicked: App.revealInFileManager(App.lastExportPath)
                }
            }
        }

        Text {
            text: Strings.t("editor.clips.header", "Clips")
            color: Theme.textSecondary
            font.family: Theme.fontFamily
            font.pixelSize: Theme.fontBody
            font.weight: Font.DemiBold
        }

        ListView {
            id: clips
            objectName: "editor.clips"
            Layout.fillWidth: true
            Layout.fillHeight: true
            clip: true
            spacing: Theme.spacingS
            model: App.clips
            focus: true
            keyNavigationEnabled: true
            Accessible.role: Accessible.List
            Accessible.name: Strings.t("editor.clips.header", "Clips")

            delegate: Rectangle {
                id: row
                required property var modelData
                required property int index
                width: ListView.view.width
                height: 56
                radius: Theme.radiusMedium
                color: ListView.isCurrentItem && clips.activeFocus ? Theme.surfaceHover : Theme.surface
                border.color: ListView.isCurrentItem && clips.activeFocus ? Theme.focusRing : Theme.border
                border.width: ListView.isCurrentItem && clips.activeFocus ? Theme.focusRingWidth : 1
                Accessible.role: Accessible.ListItem
                Accessible.name: modelData.name

                RowLayout {
                    anchors.fill: parent
                    anchors.leftMargin: Theme.spacingL
                    anchors.rightMargin: Theme.spacingL
                    spacing: Theme.spacingL
                    Text {
                        text: row.index + 1
                        color: Theme.textTertiary
                        font.family: Theme.monoFamily
                        font.pixelSize: Theme.fontBody
                    }
                    Text {
                        Layout.fillWidth: true
                        text: row.modelData.name
                        color: Theme.textPrimary
                        font.family: Theme.fontFamily
                        font.pixelSize: Theme.fontBodyLarge
                        elide: Text.ElideRight
                    }
                    Text {
                        text: Math.round(row.modelData.width) + " \u00D7 " + Math.round(row.modelData.height)
                        color: Theme.textSecondary
                        font.family: Theme.fontFamily
                        font.pixelSize: Theme.fontBody
                    }
                    Text {
                        Layout.preferredWidth: 80
                        horizontalAlignment: Text.AlignRight
                        text: {
                            var s = Math.floor(row.modelData.duration)
                            return Math.floor(s / 60) + ":" + ("0" + (s % 60)).slice(-2)
                        }
                        color: Theme.textSecondary
                        font.family: Theme.monoFamily
                        font.pixelSize: Theme.fontBody
                    }
                }
            }

            Text {
                anchors.centerIn: parent
                visible: clips.count === 0
                width: Math.min(parent.width, 420)
                horizontalAlignment: Text.AlignHCenter
                wrapMode: Text.Wrap
                text: Strings.t("editor.empty", "No clips yet. Record your screen or import a video to begin.")
                color: Theme.textTertiary
                font.family: Theme.fontFamily
                font.pixelSize: Theme.fontBodyLarge
            }
        }
    }
}
