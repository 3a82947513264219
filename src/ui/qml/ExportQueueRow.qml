import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Orvane.Ui

// One job of the export queue: its file's name, its state in words, a progress bar while it renders, a
// stop button until it ends, and the way to the file once it is done.
Rectangle {
    id: row
    required property int index
    required property string jobId
    required property string displayName
    required property string statusText
    required property double progress
    required property string jobState
    required property string path
    required property string accessibleText

    objectName: "exportQueue.row." + index
    implicitHeight: column.implicitHeight + 2 * Theme.spacingM
    radius: Theme.radiusMedium
    color: Theme.surface
    border.color: Theme.border
    Accessible.role: Accessible.ListItem
    Accessible.name: accessibleText

    ColumnLayout {
        id: column
        anchors.left: parent.left
        anchors.right: parent.right
        anchors.top: parent.top
        anchors.margins: Theme.spacingM
        spacing: Theme.spacingS

        RowLayout {
            Layout.fillWidth: true
            spacing: Theme.spacingS

            ColumnLayout {
                Layout.fillWidth: true
                spacing: 2
                Text {
                    objectName: "exportQueue.row.name"
                    Layout.fillWidth: true
                    text: row.displayName
                    color: Theme.textPrimary
                    font.family: Theme.fontFamily
                    font.pixelSize: Theme.fontBody
                    font.weight: Font.DemiBold
                    elide: Text.ElideMiddle
                }
                Text {
                    objectName: "exportQueue.row.status"
                    Layout.fillWidth: true
                    text: row.statusText
                    color: row.jobState === "failed" ? Theme.record
                         : row.jobState === "completed" ? Theme.success
                         : Theme.textSecondary
                    font.family: Theme.fontFamily
                    font.pixelSize: Theme.fontCaption
                    // A failure's message is the one thing worth reading whole.
                    wrapMode: row.jobState === "failed" ? Text.Wrap : Text.NoWrap
                    elide: row.jobState === "failed" ? Text.ElideNone : Text.ElideRight
                }
            }

            PanelIconButton {
                objectName: "exportQueue.stop"
                visible: row.jobState === "running" || row.jobState === "pending"
                iconName: "stop.fill"
                text: Strings.t("exportQueue.stop", "Stop export")
                hint: Strings.t("exportQueue.stop.hint", "Stop this export and remove it from the queue")
                onClicked: ExportQueueViewModel.cancel(row.jobId)
            }

            ActionButton {
                objectName: "exportQueue.reveal"
                visible: row.jobState === "completed"
                kind: "plain"
                iconName: "folder"
                leftPadding: Theme.spacingS
                rightPadding: Theme.spacingS
                topPadding: Theme.spacingXS
                bottomPadding: Theme.spacingXS
                font.pixelSize: Theme.fontCaption
                text: Strings.t("exportQueue.reveal", "Show in Files")
                hint: Strings.t("exportQueue.reveal.hint", "Open the file manager with the exported file selected")
                onClicked: ExportQueueViewModel.reveal(row.path)
            }
        }

        ProgressBar {
            id: bar
            objectName: "exportQueue.row.progress"
            Layout.fillWidth: true
            visible: row.jobState === "running"
            from: 0
            to: 1
            value: row.progress
            Accessible.name: row.statusText
            background: Rectangle {
                implicitHeight: 4
                radius: 2
                color: Theme.surfaceHover
            }
            contentItem: Item {
                implicitHeight: 4
                Rectangle {
                    width: bar.visualPosition * parent.width
                    height: parent.height
                    radius: 2
                    color: Theme.accent
                }
            }
        }
    }
}
