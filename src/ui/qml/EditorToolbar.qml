import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Orvane.Ui

// The editor's toolbar, left to right: back to the projects, import, the project's name, ripple edit,
// Auto-Zoom, the AI tools, the export queue, Export.
Rectangle {
    id: toolbar
    property EditorModel model
    readonly property alias autoZoomButton: autoZoom
    readonly property alias exportButton: exportButton

    implicitHeight: 56
    color: Theme.surface

    RowLayout {
        anchors.fill: parent
        anchors.leftMargin: Theme.spacingM
        anchors.rightMargin: Theme.spacingM
        spacing: Theme.spacingS

        ActionButton {
            objectName: "editor.projects"
            kind: "plain"
            iconName: "chevron.left"
            text: Strings.t("editor.projects", "Projects")
            hint: Strings.t("editor.projects.hint", "Back to your projects")
            onClicked: App.goHome()
        }

        ActionButton {
            id: importButton
            objectName: "editor.importMedia"
            kind: "plain"
            iconName: "plus.circle.fill"
            text: Strings.t("editor.importMedia.a11y", "Import media")
            hint: Strings.t("editor.importMedia.a11yHint", "Adds a movie or a sound file to the end of the timeline")
            ToolTip.visible: hovered
            ToolTip.delay: 600
            ToolTip.text: Strings.t("editor.importMedia.help", "Import a video or audio file")
            onClicked: importMenu.popup(importButton, 0, importButton.height)
            Menu {
                id: importMenu
                objectName: "editor.importMenu"
                MenuItem {
                    objectName: "editor.importVideo"
                    text: Strings.t("editor.importVideo", "Import Video…")
                    onTriggered: App.importVideo()
                }
                MenuItem {
                    objectName: "editor.importAudio"
                    text: Strings.t("editor.importAudio", "Import Audio…")
                    onTriggered: App.importAudio()
                }
            }
        }

        Text {
            objectName: "editor.projectName"
            Layout.fillWidth: true
            Layout.leftMargin: Theme.spacingM
            text: App.projectName
            color: Theme.textPrimary
            font.family: Theme.fontFamily
            font.pixelSize: Theme.fontBodyLarge
            font.weight: Font.DemiBold
            elide: Text.ElideMiddle
            Accessible.role: Accessible.Heading
            Accessible.name: text
        }

        Text {
            objectName: "editor.autoZoomMessage"
            visible: text.length > 0
            text: toolbar.model ? toolbar.model.lastAutoZoomMessage : ""
            color: Theme.textSecondary
            font.family: Theme.fontFamily
            font.pixelSize: Theme.fontCaption
        }

        ToolbarToggle {
            objectName: "editor.rippleEdit"
            iconName: "arrow.left.and.right"
            text: "Ripple edit"
            checked: toolbar.model ? toolbar.model.rippleEdit : true
            hint: checked ? "Ripple edit on: trimming shifts subsequent clips"
                          : "Ripple edit off: trimming does not shift other clips"
            onToggled: toolbar.model.rippleEdit = checked
        }

        ActionButton {
            id: autoZoom
            objectName: "editor.autoZoom"
            iconName: "plus.magnifyingglass"
            enabled: toolbar.model && toolbar.model.selectedClipId.length > 0 && !toolbar.model.isAnalyzingZoom
            text: toolbar.model && toolbar.model.isAnalyzingZoom
                  ? Strings.t("editor.autoZoom.analyzing", "Analyzing…")
                  : Strings.t("editor.autoZoom.button", "Auto-Zoom")
            hint: Strings.t("editor.autoZoom.help", "Adds zoom keyframes where the recording was clicked")
            ToolTip.visible: hovered
            ToolTip.delay: 600
            ToolTip.text: hint
            onClicked: toolbar.model.runAutoZoom()
        }

        ActionButton {
            id: aiButton
            objectName: "editor.aiMenu"
            kind: "plain"
            iconName: "sparkles"
            text: "AI"
            hint: "AI-powered editing tools"
            Accessible.name: "AI editing menu"
            ToolTip.visible: hovered
            ToolTip.delay: 600
            ToolTip.text: hint
            onClicked: aiMenu.popup(aiButton, 0, aiButton.height)
            Menu {
                id: aiMenu
                objectName: "editor.aiMenu.menu"
                // Silence removal and the chat arrive with their own tools; until then they show as
                // unavailable rather than doing nothing.
                MenuItem {
                    objectName: "editor.removeSilences"
                    text: "Remove Silences…"
                    enabled: false
                }
                MenuItem {
                    objectName: "editor.toggleAIChat"
                    text: "Show AI Chat"
                    enabled: false
                }
            }
        }

        ExportQueueIndicator {}

        ActionButton {
            id: exportButton
            objectName: "editor.export"
            kind: "primary"
            iconName: "square.and.arrow.up"
            text: Strings.t("editor.export", "Export")
            hint: Strings.t("editor.export.hint", "Choose a format and render the project")
            onClicked: toolbar.model.showingExportSheet = true
        }
    }
}
