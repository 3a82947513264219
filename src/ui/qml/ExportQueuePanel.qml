import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import QtQuick.Window
import Orvane.Ui

// The export queue's floating panel, a window of its own at the top right of the screen. It shows while
// the queue's controller says so, fading in and out; the controller brings it up when a job is added and
// sends it away a few seconds after the work ends, unless it is pinned.
Window {
    id: panel
    objectName: "exportQueuePanel"
    title: Strings.t("exportQueue.title", "Exports")
    width: 360
    height: Math.min(frame.implicitHeight, 520)
    color: "transparent"
    visible: false
    opacity: 0

    readonly property bool shown: ExportQueueViewModel.isPanelVisible
    readonly property int activeCount: ExportQueueViewModel.activeCount

    onShownChanged: follow()
    Component.onCompleted: follow()

    function follow() {
        if (shown) {
            fadeOut.stop()
            const at = ExportQueueViewModel.panelPosition(width)
            x = at.x
            y = at.y
            visible = true
            fadeIn.start()
        } else if (visible) {
            fadeIn.stop()
            fadeOut.start()
        }
    }

    NumberAnimation {
        id: fadeIn
        target: panel
        property: "opacity"
        to: 1
        duration: Theme.durationMedium
    }
    SequentialAnimation {
        id: fadeOut
        NumberAnimation {
            target: panel
            property: "opacity"
            to: 0
            duration: Theme.durationMedium
        }
        ScriptAction {
            script: panel.visible = false
        }
    }

    Rectangle {
        id: frame
        anchors.fill: parent
        implicitHeight: content.implicitHeight + 2 * Theme.spacingL
        radius: Theme.radiusLarge
        color: Theme.surfaceRaised
        border.color: Theme.borderStrong
        border.width: 1

        // The panel moves by its background, as a floating window should.
        DragHandler {
            target: null
            onActiveChanged: if (active) panel.startSystemMove()
        }

        ColumnLayout {
            id: content
            anchors.fill: parent
            anchors.margins: Theme.spacingL
            spacing: Theme.spacingM

            RowLayout {
                Layout.fillWidth: true
                spacing: Theme.spacingXS

                Text {
                    objectName: "exportQueue.title"
                    text: Strings.t("exportQueue.title", "Exports")
                    color: Theme.textPrimary
                    font.family: Theme.fontFamily
                    font.pixelSize: Theme.fontBodyLarge
                    font.weight: Font.Bold
                    Accessible.role: Accessible.Heading
                    Accessible.name: text
                }
                Text {
                    objectName: "exportQueue.activeCount"
                    visible: panel.activeCount > 0
                    text: Strings.f("exportQueue.activeCount", "(%1 active)", [panel.activeCount])
                    color: Theme.textSecondary
                    font.family: Theme.fontFamily
                    font.pixelSize: Theme.fontBody
                }
                Item { Layout.fillWidth: true }
                PanelIconButton {
                    objectName: "exportQueue.pin"
                    iconName: "pin"
                    tint: ExportQueueViewModel.isPinned ? Theme.accentHover : Theme.textSecondary
                    checkable: false
                    text: ExportQueueViewModel.isPinned ? Strings.t("exportQueue.unpin", "Unpin queue panel")
                                                        : Strings.t("exportQueue.pin", "Pin queue panel open")
                    hint: Strings.t("exportQueue.pin.hint", "Toggle whether the export queue panel stays visible after exports finish")
                    Accessible.checkable: true
                    Accessible.checked: ExportQueueViewModel.isPinned
                    background: Rectangle {
                        radius: Theme.radiusSmall
                        color: ExportQueueViewModel.isPinned ? Qt.rgba(0.486, 0.424, 1.0, 0.18)
                             : (parent.hovered ? Theme.surfaceHover : "transparent")
                        border.width: parent.visualFocus ? Theme.focusRingWidth : 0
                        border.color: Theme.focusRing
                    }
                    onClicked: ExportQueueViewModel.togglePin()
                }
                PanelIconButton {
                    objectName: "exportQueue.close"
                    iconName: "xmark"
                    text: Strings.t("exportQueue.close", "Close queue panel")
                    hint: Strings.t("exportQueue.close.hint", "Hide the export queue panel")
                    onClicked: ExportQueueViewModel.hidePanel()
                }
            }

            // Nothing queued in this session yet.
            ColumnLayout {
                objectName: "exportQueue.empty"
                visible: list.count === 0
                Layout.fillWidth: true
                Layout.topMargin: Theme.spacingS
                Layout.bottomMargin: Theme.spacingS
                spacing: Theme.spacingXS
                Icon {
                    Layout.alignment: Qt.AlignHCenter
                    name: "tray.and.arrow.up"
                    size: 24
                    color: Theme.textTertiary
                }
                Text {
                    Layout.alignment: Qt.AlignHCenter
                    text: Strings.t("exportQueue.empty.title", "No exports yet")
                    color: Theme.textPrimary
                    font.family: Theme.fontFamily
                    font.pixelSize: Theme.fontBody
                    font.weight: Font.DemiBold
                }
                Text {
                    Layout.alignment: Qt.AlignHCenter
                    text: Strings.t("exportQueue.empty.body", "Jobs you start will appear here.")
                    color: Theme.textSecondary
                    font.family: Theme.fontFamily
                    font.pixelSize: Theme.fontCaption
                }
            }

            ListView {
                id: list
                objectName: "exportQueue.list"
                visible: count > 0
                Layout.fillWidth: true
                Layout.fillHeight: true
                Layout.preferredHeight: contentHeight
                implicitHeight: contentHeight
                spacing: Theme.spacingS
                clip: true
                // Scrolls only when the rows don't fit. Otherwise a flickable settling after the window
                // grew with its rows would take the next click as the end of that motion, and a stop or
                // show button would not hear it.
                interactive: contentHeight > height + 1
                currentIndex: -1
                highlightFollowsCurrentItem: false
                boundsBehavior: Flickable.StopAtBounds
                model: ExportQueueViewModel.jobs
                Accessible.role: Accessible.List
                Accessible.name: Strings.t("exportQueue.title", "Exports")
                ScrollBar.vertical: ScrollBar {}
                delegate: ExportQueueRow {
                    width: ListView.view.width
                }
            }

            ActionButton {
                objectName: "exportQueue.clearFinished"
                visible: list.count > 0
                Layout.alignment: Qt.AlignRight
                kind: "plain"
                enabled: ExportQueueViewModel.hasFinishedJobs
                font.pixelSize: Theme.fontCaption
                topPadding: Theme.spacingXS
                bottomPadding: Theme.spacingXS
                text: Strings.t("exportQueue.clearFinished", "Clear finished jobs")
                hint: Strings.t("exportQueue.clearFinished.hint", "Remove completed and failed exports from the queue")
                onClicked: ExportQueueViewModel.clearFinished()
            }
        }
    }
}
