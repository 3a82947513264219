import QtQuick
import Orvane.Ui

// "Saved", shown for a moment at the top of the window when the user asks to save: saving itself
// happens on every edit, so the toast only tells the user that it has.
Rectangle {
    id: toast
    objectName: "savedToast"
    property bool shown: false

    function show() {
        hideTimer.stop()
        shown = true
        hideTimer.start()
    }

    y: shown ? Theme.spacingL : -height - Theme.spacingL
    opacity: shown ? 1 : 0
    z: 100
    width: row.implicitWidth + 2 * Theme.spacingL
    height: 40
    radius: height / 2
    color: Theme.surfaceRaised
    border.color: Theme.borderStrong
    border.width: 1
    visible: opacity > 0
    Accessible.role: Accessible.AlertMessage
    Accessible.name: label.text

    Behavior on y { NumberAnimation { duration: toast.shown ? 200 : 300; easing.type: Easing.OutQuad } }
    Behavior on opacity { NumberAnimation { duration: toast.shown ? 200 : 300; easing.type: Easing.OutQuad } }

    Timer {
        id: hideTimer
        interval: 1400
        onTriggered: toast.shown = false
    }

    Row {
        id: row
        anchors.centerIn: parent
        spacing: Theme.spacingS
        Icon {
            name: "checkmark"
            color: Theme.success
            size: 16
            anchors.verticalCenter: parent.verticalCenter
        }
        Text {
            id: label
            text: Strings.t("app.toast.saved", "Saved")
            color: Theme.textPrimary
            font.family: Theme.fontFamily
            font.pixelSize: Theme.fontBody
            font.weight: Font.DemiBold
            anchors.verticalCenter: parent.verticalCenter
        }
    }
}
