import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Orvane.Ui

// The saved versions of the open project: the saves, newest first, beside the picked one's still, counts
// and notes. Restore brings the picked one back as one undoable edit. Up and Down move through the saves,
// Enter restores, Esc closes. The state and every decision live in VersionHistoryModel.
Popup {
    id: sheet
    objectName: "versionHistory"

    readonly property alias model: history

    parent: Overlay.overlay
    anchors.centerIn: parent
    width: Math.min(parent ? parent.width - 2 * Theme.spacingXXL : 880, 880)
    height: Math.min(parent ? parent.height - 2 * Theme.spacingXXL : 620, 620)
    modal: true
    focus: true
    padding: 0
    closePolicy: Popup.CloseOnEscape | Popup.CloseOnPressOutside
    Overlay.modal: Rectangle { color: Theme.scrim }

    VersionHistoryModel {
        id: history
        onSelectionChanged: {
            if (history.selectedIndex >= 0)
                list.positionViewAtIndex(history.selectedIndex, ListView.Contain)
        }
    }

    onAboutToShow: history.reload()
    onOpened: list.forceActiveFocus()

    function restore() {
        if (history.hasPreviewProject && history.restoreSelected())
            sheet.close()
    }

    background: Rectangle {
        color: Theme.surfaceRaised
        radius: Theme.radiusLarge
        border.color: Theme.borderStrong
        border.width: 1
    }

    contentItem: ColumnLayout {
        spacing: 0
        Accessible.role: Accessible.Dialog
        Accessible.name: title.text

        // Enter restores from anywhere in the sheet; a focused button takes its own Enter first.
        Keys.onReturnPressed: sheet.restore()
        Keys.onEnterPressed: sheet.restore()

        RowLayout {
            Layout.fillWidth: true
            Layout.margins: Theme.spacingXL
            Layout.bottomMargin: Theme.spacingL
            spacing: Theme.spacingM
            Icon {
                Layout.alignment: Qt.AlignTop
                name: "arrow.clockwise"
                size: 30
                color: Theme.accent
            }
            ColumnLayout {
                Layout.fillWidth: true
                spacing: 2
                Text {
                    id: title
                    objectName: "versionHistory.title"
                    Layout.fillWidth: true
                    text: Strings.t("versionHistory.title", "Version History")
                    color: Theme.textPrimary
                    font.family: Theme.fontFamily
                    font.pixelSize: Theme.fontTitle
                    font.weight: Font.Bold
                    Accessible.role: Accessible.Heading
                    Accessible.name: text
                }
                Text {
                    objectName: "versionHistory.subtitle"
                    Layout.fillWidth: true
                    text: Strings.f("versionHistory.subtitle", "Up to %1 recent saves are kept on disk.", [history.maxVersions])
                    color: Theme.textSecondary
                    font.family: Theme.fontFamily
                    font.pixelSize: Theme.fontBody
                    wrapMode: Text.Wrap
                }
            }
        }

        Rectangle {
            Layout.fillWidth: true
            Layout.preferredHeight: 1
            color: Theme.border
        }

        RowLayout {
            Layout.fillWidth: true
            Layout.fillHeight: true
            spacing: 0

            // The saves.
            Item {
                Layout.preferredWidth: 300
                Layout.fillHeight: true

                ListView {
                    id: list
                    objectName: "versionHistory.list"
                    anchors.fill: parent
                    anchors.margins: Theme.spacingM
                    visible: history.count > 0
                    model: history.snapshots
                    currentIndex: history.selectedIndex
                    keyNavigationEnabled: false
                    activeFocusOnTab: true
                    focus: true
                    clip: true
                    spacing: 2
                    boundsBehavior: Flickable.StopAtBounds
                    ScrollBar.vertical: ScrollBar {}
                    Accessible.role: Accessible.List
                    Accessible.name: Strings.t("versionHistory.list", "Saved versions")

                    Keys.onUpPressed: history.selectedIndex = Math.max(0, history.selectedIndex - 1)
                    Keys.onDownPressed: history.selectedIndex = Math.min(history.count - 1, history.selectedIndex + 1)
                    Keys.onPressed: (event) => {
                        if (event.key === Qt.Key_Home && history.count > 0) {
                            history.selectedIndex = 0
                            event.accepted = true
                        } else if (event.key === Qt.Key_End && history.count > 0) {
                            history.selectedIndex = history.count - 1
                            event.accepted = true
                        }
                    }

                    delegate: Rectangle {
                        id: row
                        required property var modelData
                        required property int index
                        readonly property bool selected: index === history.selectedIndex

                        objectName: "versionHistory.row"
                        width: ListView.view.width - Theme.spacingS
                        height: rowText.implicitHeight + 2 * Theme.spacingS
                        radius: Theme.radiusSmall
                        color: selected ? Qt.rgba(Theme.accent.r, Theme.accent.g, Theme.accent.b, 0.28)
                                        : (rowMouse.containsMouse ? Theme.surfaceHover : "transparent")
                        border.width: selected && list.activeFocus ? Theme.focusRingWidth : 0
                        border.color: Theme.focusRing
                        Accessible.role: Accessible.ListItem
                        Accessible.name: modelData.date + ", " + modelData.relative
                        Accessible.selectable: true
                        Accessible.selected: selected

                        ColumnLayout {
                            id: rowText
                            anchors.left: parent.left
                            anchors.right: parent.right
                            anchors.verticalCenter: parent.verticalCenter
                            anchors.leftMargin: Theme.spacingM
                            anchors.rightMargin: Theme.spacingM
                            spacing: 2
                            Text {
                                objectName: "versionHistory.row.date"
                                Layout.fillWidth: true
                                text: row.modelData.date
                                color: Theme.textPrimary
                                font.family: Theme.fontFamily
                                font.pixelSize: Theme.fontBody
                                font.weight: row.selected ? Font.DemiBold : Font.Normal
                                elide: Text.ElideRight
                            }
                            Text {
                                objectName: "versionHistory.row.relative"
                                Layout.fillWidth: true
                                text: row.modelData.relative
                                color: Theme.textSecondary
                                font.family: Theme.fontFamily
                                font.pixelSize: Theme.fontCaption
                                elide: Text.ElideRight
                            }
                        }
                        MouseArea {
                            id: rowMouse
                            anchors.fill: parent
                            hoverEnabled: true
                            onClicked: {
                                history.selectedIndex = row.index
                                list.forceActiveFocus()
                            }
                            onDoubleClicked: sheet.restore()
                        }
                    }
                }

                ColumnLayout {
                    objectName: "versionHistory.empty"
                    anchors.centerIn: parent
                    width: parent.width - 2 * Theme.spacingXL
                    visible: history.count === 0
                    spacing: Theme.spacingS
                    Icon {
                        Layout.alignment: Qt.AlignHCenter
                        name: "folder"
                        size: 40
                        color: Theme.textTertiary
                    }
                    Text {
                        objectName: "versionHistory.empty.title"
                        Layout.fillWidth: true
                        horizontalAlignment: Text.AlignHCenter
                        wrapMode: Text.Wrap
                        text: Strings.t("versionHistory.empty.title", "No saved versions yet")
                        color: Theme.textPrimary
                        font.family: Theme.fontFamily
                        font.pixelSize: Theme.fontBodyLarge
                        font.weight: Font.DemiBold
                        Accessible.role: Accessible.Heading
                        Accessible.name: text
                    }
                    Text {
                        objectName: "versionHistory.empty.text"
                        Layout.fillWidth: true
                        horizontalAlignment: Text.AlignHCenter
                        wrapMode: Text.Wrap
                        text: Strings.t("versionHistory.empty.text", "Make an edit to start the history.")
                        color: Theme.textSecondary
                        font.family: Theme.fontFamily
                        font.pixelSize: Theme.fontBody
                    }
                }
            }

            Rectangle {
                Layout.preferredWidth: 1
                Layout.fillHeight: true
                color: Theme.border
            }

            // The picked save.
            Item {
                id: detail
                Layout.fillWidth: true
                Layout.fillHeight: true
                clip: true

                readonly property string shows: history.hasPreviewError ? "error"
                                               : history.hasPreviewProject ? "project"
                                               : history.isLoading ? "loading" : "none"

                ColumnLayout {
                    objectName: "versionHistory.error"
                    anchors.centerIn: parent
                    width: parent.width - 2 * Theme.spacingXXL
                    visible: detail.shows === "error"
                    spacing: Theme.spacingS
                    Icon {
                        Layout.alignment: Qt.AlignHCenter
                        name: "exclamationmark.triangle"
                        size: 40
                        color: Theme.warning
                    }
                    Text {
                        objectName: "versionHistory.error.title"
                        Layout.fillWidth: true
                        horizontalAlignment: Text.AlignHCenter
                        wrapMode: Text.Wrap
                        text: Strings.t("versionHistory.error.title", "Couldn't load version")
                        color: Theme.textPrimary
                        font.family: Theme.fontFamily
                        font.pixelSize: Theme.fontBodyLarge
                        font.weight: Font.DemiBold
                        Accessible.role: Accessible.Heading
                        Accessible.name: text
                    }
                    Text {
                        objectName: "versionHistory.error.message"
                        Layout.fillWidth: true
                        horizontalAlignment: Text.AlignHCenter
                        wrapMode: Text.Wrap
                        text: history.previewError
                        color: Theme.textSecondary
                        font.family: Theme.fontFamily
                        font.pixelSize: Theme.fontBody
                    }
                }

                Flickable {
                    objectName: "versionHistory.details"
                    anchors.fill: parent
                    anchors.margins: Theme.spacingXL
                    visible: detail.shows === "project"
                    contentHeight: details.implicitHeight
                    clip: true
                    boundsBehavior: Flickable.StopAtBounds
                    ScrollBar.vertical: ScrollBar {}

                    ColumnLayout {
                        id: details
                        width: parent.width
                        spacing: Theme.spacingM

                        // The still takes at most half the pane's height, so that the name, the counts and
                        // the start of the notes show beside it without scrolling.
                        Rectangle {
                            Layout.preferredWidth: Math.min(details.width, Math.max(160, detail.height * 0.5) * 16 / 9)
                            Layout.preferredHeight: Math.round(Layout.preferredWidth * 9 / 16)
                            radius: Theme.radiusMedium
                            color: Theme.canvas
                            border.color: Theme.border
                            border.width: 1
                            VersionPreviewItem {
                                id: still
                                objectName: "versionHistory.preview"
                                anchors.fill: parent
                                anchors.margins: 1
                                model: history
                                Accessible.role: Accessible.Graphic
                                Accessible.name: Strings.t("versionHistory.preview", "Preview of this version")
                            }
                            BusyIndicator {
                                anchors.centerIn: parent
                                running: detail.shows === "project" && !still.hasPicture
                                visible: running
                            }
                        }

                        Text {
                            objectName: "versionHistory.projectName"
                            Layout.fillWidth: true
                            text: history.previewName
                            color: Theme.textPrimary
                            font.family: Theme.fontFamily
                            font.pixelSize: Theme.fontTitle
                            font.weight: Font.Bold
                            elide: Text.ElideRight
                            Accessible.role: Accessible.Heading
                            Accessible.name: text
                        }

                        Flow {
                            Layout.fillWidth: true
                            spacing: Theme.spacingS
                            Repeater {
                                model: history.diffSummary
                                Rectangle {
                                    required property string modelData
                                    objectName: "versionHistory.summary"
                                    width: countText.implicitWidth + 2 * Theme.spacingM
                                    height: countText.implicitHeight + Theme.spacingS
                                    radius: height / 2
                                    color: Theme.surface
                                    border.color: Theme.border
                                    border.width: 1
                                    Accessible.role: Accessible.StaticText
                                    Accessible.name: modelData
                                    Text {
                                        id: countText
                                        anchors.centerIn: parent
                                        text: parent.modelData
                                        color: Theme.textSecondary
                                        font.family: Theme.fontFamily
                                        font.pixelSize: Theme.fontCaption
                                        font.weight: Font.DemiBold
                                    }
                                }
                            }
                        }

                        Rectangle {
                            Layout.fillWidth: true
                            Layout.preferredHeight: 1
                            visible: history.previewNotes.length > 0
                            color: Theme.border
                        }
                        Text {
                            objectName: "versionHistory.notesLabel"
                            visible: history.previewNotes.length > 0
                            text: Strings.t("versionHistory.notes", "Notes")
                            color: Theme.textTertiary
                            font.family: Theme.fontFamily
                            font.pixelSize: Theme.fontCaption
                            font.weight: Font.DemiBold
                            font.capitalization: Font.AllUppercase
                        }
                        Text {
                            objectName: "versionHistory.notes"
                            Layout.fillWidth: true
                            visible: history.previewNotes.length > 0
                            text: history.previewNotes
                            textFormat: Text.PlainText
                            color: Theme.textPrimary
                            font.family: Theme.fontFamily
                            font.pixelSize: Theme.fontBody
                            wrapMode: Text.Wrap
                        }
                    }
                }

                BusyIndicator {
                    objectName: "versionHistory.loading"
                    anchors.centerIn: parent
                    running: detail.shows === "loading"
                    visible: running
                }

                ColumnLayout {
                    objectName: "versionHistory.none"
                    anchors.centerIn: parent
                    width: parent.width - 2 * Theme.spacingXXL
                    visible: detail.shows === "none"
                    spacing: Theme.spacingS
                    Icon {
                        Layout.alignment: Qt.AlignHCenter
                        name: "chevron.left"
                        size: 40
                        color: Theme.textTertiary
                    }
                    Text {
                        objectName: "versionHistory.none.title"
                        Layout.fillWidth: true
                        horizontalAlignment: Text.AlignHCenter
                        wrapMode: Text.Wrap
                        text: Strings.t("versionHistory.none.title", "Select a version")
                        color: Theme.textPrimary
                        font.family: Theme.fontFamily
                        font.pixelSize: Theme.fontBodyLarge
                        font.weight: Font.DemiBold
                        Accessible.role: Accessible.Heading
                        Accessible.name: text
                    }
                    Text {
                        objectName: "versionHistory.none.text"
                        Layout.fillWidth: true
                        horizontalAlignment: Text.AlignHCenter
                        wrapMode: Text.Wrap
                        text: Strings.t("versionHistory.none.text", "Pick a save from the left to preview.")
                        color: Theme.textSecondary
                        font.family: Theme.fontFamily
                        font.pixelSize: Theme.fontBody
                    }
                }
            }
        }

        Rectangle {
            Layout.fillWidth: true
            Layout.preferredHeight: 1
            color: Theme.border
        }

        RowLayout {
            Layout.fillWidth: true
            Layout.margins: Theme.spacingL
            Layout.leftMargin: Theme.spacingXL
            Layout.rightMargin: Theme.spacingXL
            spacing: Theme.spacingS
            Text {
                objectName: "versionHistory.count"
                Layout.fillWidth: true
                text: history.countText
                color: Theme.textSecondary
                font.family: Theme.fontFamily
                font.pixelSize: Theme.fontBody
            }
            ActionButton {
                objectName: "versionHistory.close"
                text: Strings.t("versionHistory.close", "Close")
                hint: Strings.t("versionHistory.close.hint", "Closes the history without restoring (Esc)")
                onClicked: sheet.close()
            }
            ActionButton {
                objectName: "versionHistory.restore"
                kind: "primary"
                enabled: history.hasPreviewProject
                text: Strings.t("versionHistory.restore", "Restore")
                hint: Strings.t("versionHistory.restore.hint", "Replaces the project with this version; Undo brings it back (Enter)")
                onClicked: sheet.restore()
            }
        }
    }
}
