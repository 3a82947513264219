import QtQuick
import QtQuick.Controls
import QtQuick.Dialogs
import QtQuick.Layouts
import Orvane.Ui

// The export sheet: a preset, the file type and codec, the extras, and a summary of what will be made.
// Export asks where to save, hands the job to the background queue and closes the sheet at once. The
// sheet's state lives in its ExportSheetViewModel, made with the sheet, so every opening starts afresh.
Sheet {
    id: sheet
    objectName: "exportSheet"
    title: Strings.t("export.title", "Export")
    width: Math.min(parent ? parent.width - 2 * Theme.spacingXXL : 760, 760)

    readonly property alias sheetModel: sheetModel

    ExportSheetViewModel {
        id: sheetModel
        objectName: "exportSheetModel"
    }

    ColumnLayout {
        width: parent ? parent.width : 560
        spacing: Theme.spacingXL

        Text {
            objectName: "export.noProject"
            visible: !sheetModel.hasProject
            Layout.fillWidth: true
            wrapMode: Text.Wrap
            text: Strings.t("export.noProject", "Open or record a project to export it.")
            color: Theme.textSecondary
            font.family: Theme.fontFamily
            font.pixelSize: Theme.fontBody
        }

        RowLayout {
            Layout.fillWidth: true
            spacing: Theme.spacingXL

            ExportSheetSection {
                key: "export.section.preset"
                title: "Preset"
                Layout.alignment: Qt.AlignTop
                Layout.preferredWidth: 1

                Repeater {
                    model: sheetModel.presetTitles
                    delegate: ExportPresetOption {
                        required property string modelData
                        required property int index
                        objectName: sheetModel.presetKeys[index]
                        Layout.fillWidth: true
                        text: Strings.t(sheetModel.presetKeys[index], modelData)
                        detail: sheetModel.presetDetails[index]
                        selected: sheetModel.preset === index
                        onClicked: sheetModel.preset = index
                    }
                }
            }

            ColumnLayout {
                Layout.alignment: Qt.AlignTop
                Layout.fillWidth: true
                Layout.preferredWidth: 1
                spacing: Theme.spacingXL

                ExportSheetSection {
                    key: "export.section.format"
                    title: "Format"

                    Text {
                        text: Strings.t("export.container", "File type")
                        color: Theme.textSecondary
                        font.family: Theme.fontFamily
                        font.pixelSize: Theme.fontCaption
                    }
                    InspectorSegmented {
                        key: "export.container"
                        label: "File type"
                        options: [
                            { key: "export.container.mp4", label: sheetModel.formatTitles[0] },
                            { key: "export.container.mov", label: sheetModel.formatTitles[1] },
                            { key: "export.container.gif", label: sheetModel.formatTitles[2] }
                        ]
                        currentIndex: sheetModel.format
                        onChosen: (index) => sheetModel.format = index
                    }
                    Text {
                        Layout.topMargin: Theme.spacingXS
                        text: Strings.t("export.codec", "Codec")
                        color: Theme.textSecondary
                        font.family: Theme.fontFamily
                        font.pixelSize: Theme.fontCaption
                    }
                    InspectorSegmented {
                        key: "export.codec"
                        label: "Codec"
                        // A GIF has no video codec: the choice stays as it was for when the type changes back.
                        enabled: sheetModel.format !== 2
                        opacity: enabled ? 1 : 0.45
                        options: [
                            { key: "export.codec.h264", label: sheetModel.codecTitles[0] },
                            { key: "export.codec.hevc", label: sheetModel.codecTitles[1] },
                            { key: "export.codec.prores", label: sheetModel.codecTitles[2] }
                        ]
                        currentIndex: sheetModel.codec
                        onChosen: (index) => sheetModel.codec = index
                    }
                }

                ExportSheetSection {
                    key: "export.section.extras"
                    title: "Extras"

                    PreferenceSwitch {
                        objectName: "export.includeAudio"
                        text: Strings.t("export.includeAudio", "Include audio")
                        checked: sheetModel.includeAudio
                        onToggled: (on) => sheetModel.includeAudio = on
                    }

                    PreferenceSwitch {
                        objectName: "export.autoRecompose"
                        // Reframing only makes sense when the shape changes: the social presets.
                        enabled: sheetModel.isSocialPreset
                        opacity: enabled ? 1 : 0.45
                        text: Strings.t("export.autoRecompose", "Recompose for this shape")
                        detail: sheetModel.isSocialPreset
                                ? Strings.t("export.autoRecompose.detail", "Reframes every clip to keep the action in view")
                                : Strings.t("export.autoRecompose.socialOnly", "For the square and vertical presets")
                        checked: sheetModel.autoRecompose && sheetModel.isSocialPreset
                        onToggled: (on) => sheetModel.autoRecompose = on
                    }

                    InspectorSegmented {
                        key: "export.recomposeStrategy"
                        label: "Follow"
                        visible: sheetModel.autoRecompose && sheetModel.isSocialPreset
                        options: [
                            { key: "export.recomposeStrategy.followCursor", label: sheetModel.strategyTitles[0] },
                            { key: "export.recomposeStrategy.centerWeighted", label: sheetModel.strategyTitles[1] },
                            { key: "export.recomposeStrategy.faceTracking", label: sheetModel.strategyTitles[2] }
                        ]
                        currentIndex: sheetModel.recomposeStrategy
                        onChosen: (index) => sheetModel.recomposeStrategy = index
                    }
                }
            }
        }

        ExportSheetSection {
            key: "export.section.summary"
            title: "Summary"

            RowLayout {
                Layout.fillWidth: true
                spacing: Theme.spacingL
                ExportSummaryItem {
                    key: "export.summary.resolution"
                    label: "Resolution"
                    value: sheetModel.resolutionLabel
                }
                ExportSummaryItem {
                    key: "export.summary.frameRate"
                    label: "Frame rate"
                    value: Strings.f("export.summary.fpsValue", "%1 fps", [sheetModel.frameRate])
                }
                ExportSummaryItem {
                    key: "export.summary.duration"
                    label: "Duration"
                    value: sheetModel.durationLabel
                }
                ExportSummaryItem {
                    key: "export.summary.estSize"
                    label: "Estimated size"
                    value: sheetModel.estimatedSizeLabel
                }
            }
        }

        RowLayout {
            Layout.fillWidth: true
            spacing: Theme.spacingL

            // Exports don't hold up the editor: say so before the user waits for nothing.
            Rectangle {
                objectName: "export.bgExport"
                Layout.fillWidth: true
                implicitHeight: note.implicitHeight + 2 * Theme.spacingM
                radius: Theme.radiusMedium
                color: Theme.surface
                border.color: Theme.border
                Accessible.role: Accessible.StaticText
                Accessible.name: bgTitle.text + ". " + bgBody.text

                RowLayout {
                    id: note
                    anchors.fill: parent
                    anchors.margins: Theme.spacingM
                    spacing: Theme.spacingM
                    Icon {
                        Layout.alignment: Qt.AlignTop
                        name: "tray.and.arrow.up"
                        size: 18
                        color: Theme.accentHover
                    }
                    ColumnLayout {
                        Layout.fillWidth: true
                        spacing: 2
                        Text {
                            id: bgTitle
                            objectName: "export.bgExport.title"
                            Layout.fillWidth: true
                            text: Strings.t("export.bgExport.title", "Exports run in the background")
                            color: Theme.textPrimary
                            font.family: Theme.fontFamily
                            font.pixelSize: Theme.fontBody
                            font.weight: Font.DemiBold
                            wrapMode: Text.Wrap
                        }
                        Text {
                            id: bgBody
                            objectName: "export.bgExport.body"
                            Layout.fillWidth: true
                            text: Strings.t("export.bgExport.body", "Keep editing while the movie renders. The export queue at the top right shows its progress.")
                            color: Theme.textSecondary
                            font.family: Theme.fontFamily
                            font.pixelSize: Theme.fontCaption
                            wrapMode: Text.Wrap
                        }
                    }
                }
            }

            ActionButton {
                objectName: "export.exportButton"
                Layout.alignment: Qt.AlignVCenter
                kind: "primary"
                iconName: "square.and.arrow.up"
                enabled: sheetModel.canExport
                text: Strings.t("export.exportButton", "Export…")
                hint: Strings.t("export.exportButton.hint", "Choose where to save the movie; it renders in the background")
                onClicked: sheetModel.requestExport()
            }
        }

        // The desktop's own save panel where it offers one (through the portal), Qt's otherwise.
        FileDialog {
            id: savePanel
            objectName: "export.savePanel"
            title: Strings.t("export.savePanel.title", "Export Movie")
            fileMode: FileDialog.SaveFile
            nameFilters: [sheetModel.fileTypeFilter]
            defaultSuffix: sheetModel.fileExtension
            onAccepted: sheetModel.submit(selectedFile)
        }
    }

    Connections {
        target: sheetModel
        function onSavePanelRequested() {
            savePanel.currentFolder = sheetModel.saveFolder
            savePanel.selectedFile = sheetModel.suggestedFile
            savePanel.open()
        }
        function onDismissRequested() {
            sheet.close()
        }
    }
}
