import QtQuick
import QtQuick.Layouts
import Orvane.Ui

// What the sample recording will do, drawn as a strip: the countdown, five seconds of recording, then
// the editor.
Rectangle {
    id: strip
    implicitHeight: 96
    radius: Theme.radiusMedium
    color: Theme.surface
    border.color: Theme.border
    Accessible.role: Accessible.StaticText
    Accessible.name: countdownLabel.text + ", " + recordingLabel.text + ", " + editorLabel.text

    RowLayout {
        anchors.left: parent.left
        anchors.right: parent.right
        anchors.verticalCenter: parent.verticalCenter
        anchors.leftMargin: Theme.spacingL
        anchors.rightMargin: Theme.spacingL
        spacing: Theme.spacingM

        ColumnLayout {
            spacing: Theme.spacingS
            Row {
                spacing: 6
                Repeater {
                    model: 3
                    Rectangle {
                        required property int index
                        width: 26; height: 26; radius: 13
                        color: Theme.surfaceRaised
                        border.color: Theme.borderStrong
                        Text {
                            anchors.centerIn: parent
                            text: 3 - parent.index
                            color: Theme.textPrimary
                            font.family: Theme.fontFamily
                            font.pixelSize: Theme.fontCaption
                            font.weight: Font.Bold
                        }
                    }
                }
            }
            Text {
                id: countdownLabel
                text: Strings.t("onboarding.sample.countdown", "Countdown")
                color: Theme.textTertiary
                font.family: Theme.fontFamily
                font.pixelSize: Theme.fontCaption
            }
        }

        Text {
            Layout.alignment: Qt.AlignTop
            Layout.preferredHeight: 26
            verticalAlignment: Text.AlignVCenter
            text: "\u203A"
            color: Theme.textTertiary
            font.family: Theme.fontFamily
            font.pixelSize: Theme.fontTitle
        }

        ColumnLayout {
            Layout.fillWidth: true
            spacing: Theme.spacingS
            Rectangle {
                Layout.fillWidth: true
                Layout.preferredHeight: 26
                radius: 13
                color: Qt.rgba(Theme.record.r, Theme.record.g, Theme.record.b, 0.16)
                border.color: Qt.rgba(Theme.record.r, Theme.record.g, Theme.record.b, 0.5)
                Rectangle {
                    anchors.left: parent.left
                    anchors.leftMargin: 10
                    anchors.verticalCenter: parent.verticalCenter
                    width: 8; height: 8; radius: 4
                    color: Theme.record
                }
                Text {
                    anchors.centerIn: parent
                    text: "0:05"
                    color: Theme.textPrimary
                    font.family: Theme.fontFamily
                    font.pixelSize: Theme.fontCaption
                    font.weight: Font.DemiBold
                }
            }
            Text {
                id: recordingLabel
                text: Strings.t("onboarding.sample.recording", "Your main display, about five seconds")
                color: Theme.textTertiary
                font.family: Theme.fontFamily
                font.pixelSize: Theme.fontCaption
            }
        }

        Text {
            Layout.alignment: Qt.AlignTop
            Layout.preferredHeight: 26
            verticalAlignment: Text.AlignVCenter
            text: "\u203A"
            color: Theme.textTertiary
            font.family: Theme.fontFamily
            font.pixelSize: Theme.fontTitle
        }

        ColumnLayout {
            spacing: Theme.spacingS
            Rectangle {
                Layout.preferredWidth: 44
                Layout.preferredHeight: 26
                radius: Theme.radiusSmall
                color: Qt.rgba(Theme.accent.r, Theme.accent.g, Theme.accent.b, 0.16)
                border.color: Qt.rgba(Theme.accent.r, Theme.accent.g, Theme.accent.b, 0.5)
                Icon {
                    anchors.centerIn: parent
                    name: "scissors"
                    size: 14
                    color: Theme.accentHover
                }
            }
            Text {
                id: editorLabel
                text: Strings.t("onboarding.sample.editor", "The editor")
                color: Theme.textTertiary
                font.family: Theme.fontFamily
                font.pixelSize: Theme.fontCaption
            }
        }
    }
}
