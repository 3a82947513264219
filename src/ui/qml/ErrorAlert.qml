import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Orvane.Ui

// The alert of the error the application raised last: its title and message, a button per recovery
// action in order, and OK. A recovery button runs its action, then the alert closes.
Popup {
    id: alert
    objectName: "errorAlert"
    parent: Overlay.overlay
    anchors.centerIn: parent
    width: 440
    modal: true
    focus: true
    padding: Theme.spacingXL
    closePolicy: Popup.CloseOnEscape
    visible: App.errorPresented
    onClosed: App.dismissError()

    Overlay.modal: Rectangle { color: Theme.scrim }

    background: Rectangle {
        color: Theme.surfaceRaised
        radius: Theme.radiusLarge
        border.color: Theme.borderStrong
        border.width: 1
    }

    contentItem: ColumnLayout {
        spacing: Theme.spacingL
        Accessible.role: Accessible.AlertMessage
        Accessible.name: App.errorTitle

        RowLayout {
            spacing: Theme.spacingM
            Icon {
                name: "exclamationmark.triangle"
                color: Theme.warning
                size: 24
            }
            Text {
                objectName: "errorAlert.title"
                Layout.fillWidth: true
                text: App.errorTitle
                color: Theme.textPrimary
                font.family: Theme.fontFamily
                font.pixelSize: Theme.fontTitle
                font.weight: Font.DemiBold
                wrapMode: Text.Wrap
            }
        }
        Text {
            objectName: "errorAlert.message"
            Layout.fillWidth: true
            text: App.errorMessage
            visible: text.length > 0
            color: Theme.textSecondary
            font.family: Theme.fontFamily
            font.pixelSize: Theme.fontBody
            wrapMode: Text.Wrap
        }
        Flow {
            Layout.fillWidth: true
            Layout.topMargin: Theme.spacingS
            spacing: Theme.spacingS
            layoutDirection: Qt.RightToLeft

            ActionButton {
                id: okButton
                objectName: "common.ok"
                text: Strings.t("common.ok", "OK")
                kind: App.errorActions.length > 0 ? "secondary" : "primary"
                onClicked: App.dismissError()
            }
            Repeater {
                model: App.errorActions
                ActionButton {
                    required property string modelData
                    required property int index
                    objectName: "errorAlert.action." + index
                    text: modelData
                    kind: index === 0 ? "primary" : "secondary"
                    onClicked: App.runRecoveryAction(index)
                }
            }
        }
    }
    onOpened: okButton.forceActiveFocus()
}
