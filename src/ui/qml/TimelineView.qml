import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Orvane.Ui

// The timeline: track headers on the left, the ruler and the lanes with their clip bars scrolling
// beside them, the playhead over both, and the zoom footer. Every gesture goes to the editor's model
// as a translation since the press; the model decides what it does to the project.
Rectangle {
    id: timeline
    property EditorModel model
    readonly property int footerHeight: 34
    readonly property alias lanes: lanes

    color: Theme.surface

    ColumnLayout {
        anchors.fill: parent
        spacing: 0

        RowLayout {
            Layout.fillWidth: true
            Layout.fillHeight: true
            spacing: 0

            // Track headers, scrolled vertically with the lanes.
            Flickable {
                id: headers
                objectName: "timeline.headers"
                Layout.preferredWidth: timeline.model.headerWidth
                Layout.fillHeight: true
                interactive: false
                clip: true
                contentHeight: lanes.contentHeight
                contentY: lanes.contentY

                Rectangle {
                    width: parent.width
                    height: timeline.model.rulerHeight
                    color: Theme.surfaceRaised
                    Text {
                        anchors.centerIn: parent
                        objectName: "timeline.playheadTime"
                        text: timeline.model.formatSeconds(timeline.model.playheadTime)
                        color: Theme.textSecondary
                        font.family: Theme.monoFamily
                        font.pixelSize: Theme.fontCaption
                    }
                }

                Repeater {
                    model: timeline.model.tracks
                    delegate: TrackHeader {
                        editor: timeline.model
                        y: timeline.model.rulerHeight + trackY
                        width: headers.width
                        height: trackHeight
                    }
                }
            }

            Rectangle {
                Layout.preferredWidth: 1
                Layout.fillHeight: true
                color: Theme.border
            }

            Flickable {
                id: lanes
                objectName: "timeline.lanes"
                Layout.fillWidth: true
                Layout.fillHeight: true
                clip: true
                boundsBehavior: Flickable.StopAtBounds
                // At least the view, so short projects still show their lanes and ruler to the right edge.
                contentWidth: Math.max(timeline.model.contentWidth, width)
                contentHeight: timeline.model.rulerHeight + timeline.model.contentHeight
                onContentXChanged: timeline.model.viewportX = contentX
                onWidthChanged: timeline.model.viewportWidth = width
                Component.onCompleted: {
                    timeline.model.viewportX = contentX
                    timeline.model.viewportWidth = width
                }
                // Dragging belongs to the bars and the ruler; the wheel and the scroll bars move the view.
                interactive: false
                ScrollBar.horizontal: ScrollBar { policy: ScrollBar.AsNeeded }
                ScrollBar.vertical: ScrollBar { policy: ScrollBar.AsNeeded }

                WheelHandler {
                    onWheel: (event) => {
                        if (event.modifiers & Qt.ControlModifier) {
                            if (event.angleDelta.y > 0)
                                timeline.model.zoomIn()
                            else if (event.angleDelta.y < 0)
                                timeline.model.zoomOut()
                            return
                        }
                        const dx = event.angleDelta.x !== 0 ? event.angleDelta.x : event.angleDelta.y
                        lanes.contentX = Math.max(0, Math.min(lanes.contentWidth - lanes.width, lanes.contentX - dx))
                    }
                }

                // The ruler: a press or a drag here scrubs.
                Rectangle {
                    id: ruler
                    objectName: "timeline.ruler"
                    width: lanes.contentWidth
                    height: timeline.model.rulerHeight
                    color: Theme.surfaceRaised
                    Accessible.role: Accessible.Slider
                    Accessible.name: Strings.t("timeline.ruler", "Playhead position")

                    Repeater {
                        model: timeline.model.rulerTicks
                        delegate: Item {
                            required property var modelData
                            x: modelData.x
                            height: ruler.height
                            Rectangle {
                                width: 1
                                height: 8
                                anchors.bottom: parent.bottom
                                color: Theme.borderStrong
                            }
                            Text {
                                x: 4
                                y: 3
                                text: modelData.label
                                color: Theme.textTertiary
                                font.family: Theme.monoFamily
                                font.pixelSize: 11
                            }
                        }
                    }

                    MouseArea {
                        anchors.fill: parent
                        onPressed: (mouse) => timeline.model.playheadDragChanged(mouse.x, mouse.modifiers & Qt.ShiftModifier)
                        onPositionChanged: (mouse) => timeline.model.playheadDragChanged(mouse.x, mouse.modifiers & Qt.ShiftModifier)
                        onReleased: timeline.model.playheadDragEnded()
                        onCanceled: timeline.model.playheadDragEnded()
                    }
                }

                // The lanes and their clips.
                Item {
                    id: laneArea
                    objectName: "timeline.laneArea"
                    y: timeline.model.rulerHeight
                    width: lanes.contentWidth
                    height: timeline.model.contentHeight

                    Repeater {
                        model: timeline.model.tracks
                        delegate: Rectangle {
                            required property real trackY
                            required property real trackHeight
                            required property bool trackVisible
                            y: trackY
                            width: laneArea.width
                            height: trackHeight
                            color: Theme.canvas
                            opacity: trackVisible ? 1 : 0.5
                        }
                    }

                    Repeater {
                        objectName: "timeline.clipRepeater"
                        model: timeline.model.clips
                        delegate: ClipBar {
                            editor: timeline.model
                            coordinateSpace: laneArea
                        }
                    }
                }

                // The playhead over the ruler and the lanes; its handle drags like the ruler.
                Item {
                    id: playhead
                    objectName: "timeline.playhead"
                    x: timeline.model.playheadX
                    width: 1
                    height: lanes.contentHeight
                    z: 10
                    Rectangle {
                        width: 2
                        x: -1
                        height: parent.height
                        color: Theme.record
                    }
                    Rectangle {
                        objectName: "timeline.playheadHandle"
                        width: 14
                        height: 14
                        x: -7
                        y: timeline.model.rulerHeight - 14
                        radius: 3
                        color: Theme.record
                        MouseArea {
                            anchors.fill: parent
                            anchors.margins: -4
                            cursorShape: Qt.SizeHorCursor
                            property real pressOffset: 0
                            onPressed: (mouse) => pressOffset = mapToItem(ruler, mouse.x, mouse.y).x - timeline.model.playheadX
                            onPositionChanged: (mouse) => timeline.model.playheadDragChanged(
                                                   mapToItem(ruler, mouse.x, mouse.y).x - pressOffset,
                                                   mouse.modifiers & Qt.ShiftModifier)
                            onReleased: timeline.model.playheadDragEnded()
                            onCanceled: timeline.model.playheadDragEnded()
                        }
                    }
                }

                // The new length beside a trimmed clip.
                Rectangle {
                    objectName: "timeline.trimTooltip"
                    visible: timeline.model.isTrimming && timeline.model.trimTooltip.length > 0
                    x: Math.max(0, Math.min(lanes.contentX + lanes.width - width, timeline.trimTooltipX))
                    y: timeline.model.rulerHeight + 2
                    z: 11
                    width: tipText.implicitWidth + 12
                    height: tipText.implicitHeight + 6
                    radius: 4
                    color: Theme.surfaceRaised
                    border.color: Theme.borderStrong
                    Text {
                        id: tipText
                        anchors.centerIn: parent
                        text: timeline.model.trimTooltip
                        color: Theme.textPrimary
                        font.family: Theme.monoFamily
                        font.pixelSize: Theme.fontCaption
                    }
                }
            }
        }

        // The footer: zoom.
        Rectangle {
            Layout.fillWidth: true
            Layout.preferredHeight: timeline.footerHeight
            color: Theme.surfaceRaised
            RowLayout {
                anchors.fill: parent
                anchors.leftMargin: Theme.spacingM
                anchors.rightMargin: Theme.spacingM
                spacing: Theme.spacingS
                Text {
                    Layout.fillWidth: true
                    text: timeline.model.clipCount === 1 ? Strings.t("timeline.oneClip", "1 clip")
                                                         : Strings.f("timeline.clips", "%1 clips", [timeline.model.clipCount])
                    color: Theme.textTertiary
                    font.family: Theme.fontFamily
                    font.pixelSize: Theme.fontCaption
                }
                ToolButton {
                    objectName: "timeline.zoomOut"
                    text: "\u2212"
                    Accessible.name: Strings.t("timeline.zoomOut", "Zoom out")
                    focusPolicy: Qt.StrongFocus
                    onClicked: timeline.model.zoomOut()
                }
                Slider {
                    id: zoomSlider
                    objectName: "timeline.zoom"
                    Layout.preferredWidth: 160
                    from: timeline.model.minPixelsPerSecond
                    to: timeline.model.maxPixelsPerSecond
                    value: timeline.model.pixelsPerSecond
                    focusPolicy: Qt.StrongFocus
                    Accessible.name: Strings.t("timeline.zoom", "Timeline zoom")
                    onMoved: timeline.model.pixelsPerSecond = value
                }
                ToolButton {
                    objectName: "timeline.zoomIn"
                    text: "+"
                    Accessible.name: Strings.t("timeline.zoomIn", "Zoom in")
                    focusPolicy: Qt.StrongFocus
                    onClicked: timeline.model.zoomIn()
                }
                Text {
                    objectName: "timeline.zoomLabel"
                    Layout.preferredWidth: 64
                    horizontalAlignment: Text.AlignRight
                    text: Math.round(timeline.model.pixelsPerSecond) + " px/s"
                    color: Theme.textSecondary
                    font.family: Theme.monoFamily
                    font.pixelSize: Theme.fontCaption
                }
            }
        }
    }

    // Where the tooltip of a trim stands: at the edge being moved.
    property real trimTooltipX: 0
}
