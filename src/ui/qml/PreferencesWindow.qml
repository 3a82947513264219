import QtQuick
import QtQuick.Controls
import QtQuick.Dialogs
import QtQuick.Layouts
import QtQuick.Window
import Orvane.Ui

// The preferences: General, Capture, Effects and Ecosystem, each value written to its settings key as it
// changes. Ctrl+Tab and Ctrl+Shift+Tab move between the tabs; Esc and Ctrl+W close the window.
Window {
    id: window
    objectName: "preferencesWindow"
    title: Strings.t("prefs.title", "Preferences")
    width: 600
    height: 480
    minimumWidth: 560
    minimumHeight: 460
    maximumWidth: 640
    color: Theme.canvas

    PreferencesModel {
        id: settings
    }

    Shortcut {
        sequences: [StandardKey.Close, "Esc"]
        onActivated: window.close()
    }
    Shortcut {
        sequence: "Ctrl+Tab"
        onActivated: tabs.currentIndex = (tabs.currentIndex + 1) % tabs.count
    }
    Shortcut {
        sequence: "Ctrl+Shift+Tab"
        onActivated: tabs.currentIndex = (tabs.currentIndex + tabs.count - 1) % tabs.count
    }

    ColumnLayout {
        anchors.fill: parent
        anchors.margins: Theme.spacingXL
        spacing: Theme.spacingXL

        TabBar {
            id: tabs
            objectName: "prefs.tabs"
            Layout.fillWidth: true
            implicitHeight: 44
            padding: 4
            spacing: 4
            background: Rectangle {
                color: Theme.surface
                radius: Theme.radiusMedium
                border.color: Theme.border
            }
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
                    focusPolicy: Qt.StrongFocus
                    hoverEnabled: true
                    Accessible.name: text
                    implicitHeight: 36
                    Keys.onReturnPressed: tab.click()
                    contentItem: Item {
                        implicitWidth: content.implicitWidth
                        implicitHeight: content.implicitHeight
                        Row {
                            id: content
                            anchors.centerIn: parent
                            spacing: Theme.spacingS
                            Icon {
                                name: tab.modelData.icon
                                size: 14
                                color: tab.checked ? Theme.accentHover : Theme.textTertiary
                                anchors.verticalCenter: parent.verticalCenter
                            }
                            Text {
                                text: tab.text
                                color: tab.checked || tab.hovered ? Theme.textPrimary : Theme.textSecondary
                                font.family: Theme.fontFamily
                                font.pixelSize: Theme.fontBody
                                font.weight: tab.checked ? Font.DemiBold : Font.Medium
                                anchors.verticalCenter: parent.verticalCenter
                            }
                        }
                    }
                    background: Rectangle {
                        radius: Theme.radiusSmall + 1
                        color: tab.checked ? Theme.surfaceHover : "transparent"
                        border.width: tab.visualFocus ? Theme.focusRingWidth : (tab.checked ? 1 : 0)
                        border.color: tab.visualFocus ? Theme.focusRing : Theme.borderStrong
                    }
                }
            }
        }

        StackLayout {
            Layout.fillWidth: true
            Layout.fillHeight: true
            currentIndex: tabs.currentIndex

            GeneralPreferencesPane {
                prefs: settings
            }
            CapturePreferencesPane {
                prefs: settings
                onChangeFolderRequested: folderDialog.open()
            }
            EffectsPreferencesPane {
                prefs: settings
            }
            EcosystemPreferencesPane {
                prefs: settings
            }
        }
    }

    FolderDialog {
        id: folderDialog
        title: Strings.t("prefs.capture.recordingsFolder.prompt", "Choose where new recordings are saved")
        currentFolder: settings.recordingsFolderUrl
        onAccepted: settings.applyRecordingsFolder(selectedFolder)
    }
}
