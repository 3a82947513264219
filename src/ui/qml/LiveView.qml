import QtQuick
import QtQuick.Layouts
import Orvane.Ui

// Live mode's screen. The companion that drives a streaming program is not part of this build, so the
// screen says so and leads back.
FocusScope {
    id: live
    objectName: "LiveView"

    ColumnLayout {
        anchors.centerIn: parent
        width: Math.min(parent.width - 2 * Theme.spacingXXL, 520)
        spacing: Theme.spacingL

        Icon {
            Layout.alignment: Qt.AlignHCenter
            name: "dot.radiowaves.left.and.right"
            size: 48
            color: Theme.accent
        }
        Text {
            Layout.fillWidth: true
            horizontalAlignment: Text.AlignHCenter
            text: Strings.t("live.title", "Live Mode")
            color: Theme.textPrimary
            font.family: Theme.fontFamily
            font.pixelSize: Theme.fontHeadline
            font.weight: Font.Bold
        }
        Text {
            Layout.fillWidth: true
            horizontalAlignment: Text.AlignHCenter
            wrapMode: Text.Wrap
            text: Strings.t("live.unavailable",
                            "Live Mode connects to OBS Studio and switches scenes by where your pointer is. It is not available in this version yet.")
            color: Theme.textSecondary
            font.family: Theme.fontFamily
            font.pixelSize: Theme.fontBodyLarge
        }
        ActionButton {
            id: back
            objectName: "live.back"
            Layout.alignment: Qt.AlignHCenter
            Layout.topMargin: Theme.spacingM
            iconName: "chevron.left"
            text: Strings.t("live.back", "Back")
            hint: Strings.t("live.back.hint", "Back to the welcome screen")
            onClicked: App.goHome()
        }
    }
    Component.onCompleted: back.forceActiveFocus()
}
