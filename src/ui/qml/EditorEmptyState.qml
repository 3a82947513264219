import QtQuick
import QtQuick.Layouts
import Orvane.Ui

// A project with nothing on its timeline: drop a file here, or record.
Rectangle {
    id: empty
    objectName: "editor.emptyState"
    color: Theme.canvas

    ColumnLayout {
        anchors.centerIn: parent
        width: Math.min(parent.width - 2 * Theme.spacingXXL, 480)
        spacing: Theme.spacingL

        Icon {
            Layout.alignment: Qt.AlignHCenter
            name: "video.slash"
            size: 64
            color: Theme.textTertiary
        }
        Text {
            objectName: "editor.empty.dropHint"
            Layout.fillWidth: true
            horizontalAlignment: Text.AlignHCenter
            wrapMode: Text.Wrap
            text: Strings.t("editor.empty.dropHint", "Drop a video or audio file here")
            color: Theme.textPrimary
            font.family: Theme.fontFamily
            font.pixelSize: Theme.fontTitle
            font.weight: Font.Bold
            Accessible.role: Accessible.Heading
            Accessible.name: text
        }
        Text {
            Layout.fillWidth: true
            horizontalAlignment: Text.AlignHCenter
            wrapMode: Text.Wrap
            text: Strings.t("editor.empty.subtitle", "Or record your screen to start this project.")
            color: Theme.textSecondary
            font.family: Theme.fontFamily
            font.pixelSize: Theme.fontBody
        }
        ActionButton {
            objectName: "welcome.newRecording"
            Layout.alignment: Qt.AlignHCenter
            Layout.topMargin: Theme.spacingS
            kind: "primary"
            iconName: "record.circle.fill"
            text: Strings.t("welcome.newRecording", "New Recording")
            hint: Strings.t("welcome.newRecording.hint", "Choose a display, window or app to record")
            onClicked: App.newRecording()
        }
    }
}
