import QtQuick
import QtQuick.Controls
import QtQuick.Dialogs
import QtQuick.Layouts
import QtQuick.Window
import Orvane.Ui

// The preferences: General, Capture, Effects and Ecosystem, each value written to its settings key as it
// changes.
Window {
    id: window
    objectName: "preferencesWindow"
    title: Strings.t("prefs.title", "Preferences")
    width: 620
    height: 520
    minimumWidth: 560
    minimumHeight: 440
    color: Theme.canvas

    PreferencesModel {
        id: prefs
    }

    Shortcut {
        sequences: [StandardKey.Close, "Esc"]
        onActivated: window.close()
    }

    ColumnLayout {
        anchors.fill: parent
        anchors.margins: Theme.spacingXL
        spacing: Theme.spacingL

        TabBar {
            id: tabs
            objectName: "prefs.tabs"
            Layout.fillWidth: true
            spacing: Theme.spacingXS
            background: Rectangle { color: Theme.surface; radius: Theme.radiusMedium; border.color: Theme.border }
            Repeater {
                model: [
                    { key: "prefs.tab.general", text: "General", icon: "gear" },
                    { key: "prefs.tab.capture", text: "Capture", icon: "video" },
                    { key: "prefs.tab.effects", text: "Effects", icon: "wand.and.stars" },
                    { key: "prefs.tab.ecosystem", text: "Ecosystem", icon: "network" }
                ]
                TabButton {
                    id: tab
                    required property var modelData
                    objectName: modelData.key
                    text: Strings.t(modelData.key, modelData.text)
                    Accessible.name: text
                    height: 40
                    contentItem: Row {
                        spacing: Theme.spacingS
                        anchors.centerIn: parent
                        Icon {
                            name: tab.modelData.icon
                            size: 14
                            color: tab.checked ? Theme.textPrimary : Theme.textSecondary
                            anchors.verticalCenter: parent.verticalCenter
                        }
                        Text {
                            text: tab.text
                            color: tab.checked ? Theme.textPrimary : Theme.textSecondary
                            font.family: Theme.fontFamily
                            font.pixelSize: Theme.fontBody
                            font.weight: tab.checked ? Font.DemiBold : Font.Normal
                            anchors.verticalCenter: parent.verticalCenter
                        }
                    }
                    background: Rectangle {
                        anchors.fill: parent
                        anchors.margins: 3
                        radius: Theme.radiusSmall
                        color: tab.checked ? Theme.surfaceHover : "transparent"
                        border.width: tab.visualFocus ? Theme.focusRingWidth : 0
                        border.color: Theme.focusRing
                    }
                }
            }
        }

        StackLayout {
            Layout.fillWidth: true
            Layout.fillHeight: true
            currentIndex: tabs.currentIndex

            ColumnLayout {
                objectName: "GeneralPreferencesPane"
                spacing: Theme.spacingS
                PreferenceSwitch {
                    objectName: "prefs.general.launchAtLogin"
                    text: Strings.t("prefs.general.launchAtLogin", "Open Orvane Screen when you log in")
                    checked: prefs.launchAtLogin
                    onToggled: on => prefs.launchAtLogin = on
                }
                PreferenceSwitch {
                    objectName: "prefs.general.showInMenuBar"
                    text: Strings.t("prefs.general.showInMenuBar", "Show in the panel's status area")
                    checked: prefs.showInMenuBar
                    onToggled: on => prefs.showInMenuBar = on
                }
                PreferenceSwitch {
                    objectName: "prefs.general.soundEffects"
                    text: Strings.t("prefs.general.soundEffects", "Play sounds when a recording starts and stops")
                    checked: prefs.soundEffectsEnabled
                    onToggled: on => prefs.soundEffectsEnabled = on
                }
                Item { Layout.fillHeight: true }
            }

            ColumnLayout {
                objectName: "CapturePreferencesPane"
                spacing: Theme.spacingS
                Rectangle {
                    Layout.fillWidth: true
                    implicitHeight: 52
                    radius: Theme.radiusMedium
                    color: Theme.surface
                    border.color: Theme.border
                    RowLayout {
                        anchors.fill: parent
                        anchors.leftMargin: Theme.spacingL
                        anchors.rightMargin: Theme.spacingM
                        Text {
                            Layout.fillWidth: true
                            text: Strings.t("prefs.capture.frameRate", "Frame rate")
                            color: Theme.textPrimary
                            font.family: Theme.fontFamily
                            font.pixelSize: Theme.fontBody
                        }
                        Row {
                            spacing: 2
                            Accessible.role: Accessible.RadioButton
                            Accessible.name: Strings.t("prefs.capture.frameRate", "Frame rate")
                            Repeater {
                                model: [30, 60, 120]
                                ActionButton {
                                    required property int modelData
                                    objectName: "prefs.capture.fps" + modelData
                                    kind: prefs.frameRate === modelData ? "primary" : "secondary"
                                    text: Strings.f("prefs.capture.fps" + modelData, "%1 fps", [modelData])
                                    hint: Strings.t("prefs.capture.frameRate.hint", "Frames per second of new recordings")
                                    leftPadding: Theme.spacingM
                                    rightPadding: Theme.spacingM
                                    onClicked: prefs.frameRate = modelData
                                }
                            }
                        }
                    }
                }
                PreferenceSwitch {
                    objectName: "prefs.capture.systemAudioDefault"
                    text: Strings.t("prefs.capture.systemAudioDefault", "Record system audio by default")
                    checked: prefs.includeSystemAudio
                    onToggled: on => prefs.includeSystemAudio = on
                }
                PreferenceSwitch {
                    objectName: "prefs.capture.microphoneDefault"
                    text: Strings.t("prefs.capture.microphoneDefault", "Record the microphone by default")
                    checked: prefs.includeMicrophone
                    onToggled: on => prefs.includeMicrophone = on
                }
                Rectangle {
                    Layout.fillWidth: true
                    implicitHeight: folderColumn.implicitHeight + 2 * Theme.spacingM
                    radius: Theme.radiusMedium
                    color: Theme.surface
                    border.color: Theme.border
                    ColumnLayout {
                        id: folderColumn
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
                            Text {
                                objectName: "prefs.capture.recordingsFolder.path"
                                Layout.fillWidth: true
                                text: prefs.recordingsFolder
                                color: Theme.textSecondary
                                font.family: Theme.fontFamily
                                font.pixelSize: Theme.fontCaption
                                elide: Text.ElideMiddle
                            }
                            ActionButton {
                                objectName: "prefs.capture.recordingsFolder.reveal"
                                kind: "plain"
                                text: Strings.t("prefs.capture.recordingsFolder.reveal", "Reveal")
                                hint: Strings.t("prefs.capture.recordingsFolder.reveal.hint", "Opens the folder in the file manager")
                                onClicked: prefs.revealRecordingsFolder()
                            }
                            ActionButton {
                                objectName: "prefs.capture.recordingsFolder.change"
                                text: Strings.t("prefs.capture.recordingsFolder.change", "Change…")
                                hint: Strings.t("prefs.capture.recordingsFolder.prompt", "Choose where new recordings are saved")
                                onClicked: folderDialog.open()
                            }
                        }
                    }
                }
                Item { Layout.fillHeight: true }
            }

            ColumnLayout {
                objectName: "EffectsPreferencesPane"
                spacing: Theme.spacingS
                PreferenceSwitch {
                    objectName: "prefs.effects.autoZoomDefault"
                    text: Strings.t("prefs.effects.autoZoomDefault", "Zoom on clicks in new recordings")
                    checked: prefs.autoZoomDefault
                    onToggled: on => prefs.autoZoomDefault = on
                }
                PreferenceSwitch {
                    objectName: "prefs.effects.clickRipplesDefault"
                    text: Strings.t("prefs.effects.clickRipplesDefault", "Show click ripples in new recordings")
                    checked: prefs.clickRipplesDefault
                    onToggled: on => prefs.clickRipplesDefault = on
                }
                Item { Layout.fillHeight: true }
            }

            ColumnLayout {
                objectName: "EcosystemPreferencesPane"
                spacing: Theme.spacingS
                PreferenceSwitch {
                    objectName: "prefs.ecosystem.halyard"
                    text: Strings.t("prefs.ecosystem.halyard", "Share recordings with Halyard")
                    checked: prefs.halyardEnabled
                    onToggled: on => prefs.halyardEnabled = on
                }
                PreferenceSwitch {
                    objectName: "prefs.ecosystem.marigoldCaptions"
                    text: Strings.t("prefs.ecosystem.marigoldCaptions", "Caption recordings with Marigold")
                    checked: prefs.marigoldCaptions
                    onToggled: on => prefs.marigoldCaptions = on
                }
                PreferenceSwitch {
                    objectName: "prefs.ecosystem.uploadDefault"
                    text: Strings.t("prefs.ecosystem.uploadDefault", "Upload exports to Orvane Online by default")
                    checked: prefs.uploadToOrvaneOnline
                    onToggled: on => prefs.uploadToOrvaneOnline = on
                }
                Item { Layout.fillHeight: true }
            }
        }
    }

    FolderDialog {
        id: folderDialog
        title: Strings.t("prefs.capture.recordingsFolder.prompt", "Choose where new recordings are saved")
        currentFolder: "file://" + prefs.recordingsFolder
        onAccepted: prefs.applyRecordingsFolder(selectedFolder)
    }
}
