import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Orvane.Ui

// The screen on which a project is edited: the toolbar, then the preview beside the clip panel over the
// timeline, or the empty state when there is nothing to edit. Files dropped anywhere on it are imported.
// The editor's state and every decision live in EditorModel; this file lays it out and forwards input.
FocusScope {
    id: editor
    objectName: "EditorView"

    readonly property alias model: editorModel
    readonly property alias preview: previewLoader.item

    EditorModel {
        id: editorModel
        objectName: "editorModel"
    }

    Component.onCompleted: editorModel.appear()

    ColumnLayout {
        anchors.fill: parent
        spacing: 0

        EditorToolbar {
            id: toolbar
            Layout.fillWidth: true
            model: editorModel
        }

        Rectangle {
            Layout.fillWidth: true
            Layout.preferredHeight: 1
            color: Theme.border
        }

        // The body: preview and clip panel over the timeline.
        SplitView {
            id: body
            objectName: "editor.body"
            visible: editorModel.hasClips
            Layout.fillWidth: true
            Layout.fillHeight: true
            orientation: Qt.Vertical

            handle: Rectangle {
                implicitHeight: 5
                color: SplitHandle.pressed ? Theme.accent : (SplitHandle.hovered ? Theme.borderStrong : Theme.border)
            }

            RowLayout {
                SplitView.fillHeight: true
                SplitView.minimumHeight: 200
                spacing: 0

                Loader {
                    id: previewLoader
                    objectName: "editor.previewLoader"
                    Layout.fillWidth: true
                    Layout.fillHeight: true
                    active: editorModel.hasClips
                    sourceComponent: PreviewView {
                        objectName: "editor.preview"
                        clipId: editorModel.selectedClipId
                        playheadTime: editorModel.playheadTime
                        isPlaying: editorModel.isPlaying
                        onPlayheadTimeChanged: editorModel.playheadTime = playheadTime
                        onIsPlayingChanged: editorModel.isPlaying = isPlaying
                    }
                }

                Rectangle {
                    Layout.preferredWidth: 1
                    Layout.fillHeight: true
                    color: Theme.border
                }

                InspectorView {
                    id: inspectorView
                    objectName: "editor.inspector"
                    Layout.preferredWidth: 320
                    Layout.fillHeight: true
                    clipId: editorModel.selectedClipId
                    playheadTime: editorModel.playheadTime
                    onScrubRequested: (seconds) => editorModel.playheadTime = seconds
                }
            }

            TimelineView {
                id: timeline
                objectName: "editor.timeline"
                SplitView.preferredHeight: Math.min(editorModel.rulerHeight + editorModel.contentHeight + footerHeight + 2, 380)
                SplitView.minimumHeight: 140
                model: editorModel
            }
        }

        EditorEmptyState {
            visible: !editorModel.hasClips
            Layout.fillWidth: true
            Layout.fillHeight: true
        }
    }

    // The timeline's and the transport's keys, wherever focus sits on the screen.
    Keys.onPressed: (event) => editor.handleKey(event)

    function handleKey(event) {
        const ctrl = (event.modifiers & Qt.ControlModifier) !== 0
        if (ctrl && event.key === Qt.Key_K) {
            editorModel.splitAtPlayhead()
        } else if (ctrl && (event.key === Qt.Key_Equal || event.key === Qt.Key_Plus)) {
            editorModel.zoomIn()
        } else if (ctrl && event.key === Qt.Key_Minus) {
            editorModel.zoomOut()
        } else if (!ctrl && (event.key === Qt.Key_Delete || event.key === Qt.Key_Backspace)) {
            editorModel.deleteSelectedClip()
        } else if (event.modifiers === Qt.NoModifier && event.key === Qt.Key_I) {
            editorModel.setInPointAtPlayhead()
        } else if (event.modifiers === Qt.NoModifier && event.key === Qt.Key_O) {
            editorModel.setOutPointAtPlayhead()
        } else if (!previewLoader.item || !previewLoader.item.handleKey(event)) {
            return
        }
        event.accepted = true
    }

    DropArea {
        id: drop
        objectName: "editor.dropArea"
        anchors.fill: parent
        onEntered: (drag) => {
            editorModel.isDropTargeted = editorModel.acceptsDrag(drag.urls)
            drag.accepted = editorModel.isDropTargeted
        }
        onExited: editorModel.isDropTargeted = false
        onDropped: (dropEvent) => {
            editorModel.handleDrop(dropEvent.urls)
            dropEvent.acceptProposedAction()
        }
    }

    DropTargetOverlay {
        anchors.fill: parent
        visible: editorModel.isDropTargeted
    }

    ImportingOverlay {
        anchors.fill: parent
        visible: App.isImporting
    }

    TutorialOverlay {
        anchors.fill: parent
        model: editorModel
        visible: editorModel.showTutorial
        previewArea: previewLoader
        timelineArea: timeline
        autoZoomButton: toolbar.autoZoomButton
        exportButton: toolbar.exportButton
    }

    // The export sheet, made afresh each time it opens so that it starts from the defaults, and let go
    // once it has closed.
    Loader {
        id: exportSheet
        active: false
        sourceComponent: ExportSheetView {
            onClosed: {
                editorModel.showingExportSheet = false
                Qt.callLater(() => { if (!editorModel.showingExportSheet) exportSheet.active = false })
            }
        }
    }

    Connections {
        target: editorModel
        function onShowingExportSheetChanged() {
            if (!editorModel.showingExportSheet)
                return
            exportSheet.active = false
            exportSheet.active = true
            exportSheet.item.open()
        }
    }

    // The version history sheet (Ctrl+Y), made when first asked for; it reads the saves again each time
    // it opens.
    Loader {
        id: versionHistorySheet
        active: false
        sourceComponent: VersionHistoryView {}
    }

    Connections {
        target: App
        function onVersionHistoryRequested() {
            versionHistorySheet.active = true
            versionHistorySheet.item.open()
        }
    }
}
