import QtQuick
import QtQuick.Controls
import Orvane.Ui

// The toolbar's way to the export queue: shows the floating panel, or hides it when it shows (pinned or
// not). While jobs run a thin bar along its foot fills with the queue's overall progress.
AbstractButton {
    id: indicator
    readonly property int activeCount: ExportQueueViewModel.activeCount
    readonly property string hint: activeCount > 0
                                   ? Strings.f("editor.exportQueue.active", "Export queue (%1 active)", [activeCount])
                                   : Strings.t("editor.exportQueue.empty", "Export queue (empty)")

    objectName: "editor.exportQueue"
    implicitWidth: 40
    implicitHeight: 28
    focusPolicy: Qt.StrongFocus
    hoverEnabled: true
    text: Strings.t("editor.exportQueue", "Export queue")
    Accessible.role: Accessible.Button
    Accessible.name: text
    Accessible.description: hint
    ToolTip.visible: hovered
    ToolTip.delay: 600
    ToolTip.text: hint
    Keys.onReturnPressed: indicator.clicked()
    Keys.onEnterPressed: indicator.clicked()
    onClicked: ExportQueueViewModel.togglePanel()

    contentItem: Icon {
        name: "tray.and.arrow.up"
        size: 16
        color: ExportQueueViewModel.isPanelVisible || indicator.activeCount > 0 ? Theme.accentHover
             : (indicator.hovered ? Theme.textPrimary : Theme.textSecondary)
    }

    background: Rectangle {
        radius: Theme.radiusSmall
        color: ExportQueueViewModel.isPanelVisible ? Qt.rgba(0.486, 0.424, 1.0, 0.16)
             : (indicator.down ? Theme.surface : (indicator.hovered ? Theme.surfaceHover : "transparent"))
        border.width: indicator.visualFocus ? Theme.focusRingWidth : 0
        border.color: Theme.focusRing

        Rectangle {
            objectName: "editor.exportQueue.progress"
            visible: indicator.activeCount > 0
            anchors.left: parent.left
            anchors.bottom: parent.bottom
            anchors.leftMargin: 6
            anchors.bottomMargin: 3
            width: (parent.width - 12) * Math.max(0, Math.min(1, ExportQueueViewModel.aggregateProgress))
            height: 2
            radius: 1
            color: Theme.accent
            Behavior on width { NumberAnimation { duration: Theme.durationMedium } }
        }
    }
}
