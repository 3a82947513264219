import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Orvane.Ui

// The main window's face while a recording starts, runs and finishes: the countdown with its cancel
// (also on Esc), the running indicator with the elapsed time and Stop, then the finalising state.
FocusScope {
    id: view
    objectName: "RecordingView"

    readonly property string phase: App.phase

    Keys.onEscapePressed: App.cancelCountdown()

    RecordingClock {
        id: clock
        startedAt: App.recordingStartedAt
    }

    // What a screen reader announces as the phase moves on.
    Text {
        objectName: "recording.a11y"
        visible: false
        text: view.phase === "countingDown"
              ? Strings.f("recording.a11y.countdown", "Recording starts in %1", [App.countdownValue])
              : view.phase === "recording" ? Strings.t("recording.a11y.started", "Recording started")
              : view.phase === "stopping" ? Strings.t("recording.a11y.stopped", "Recording stopped, finalizing")
              : ""
        Accessible.role: Accessible.AlertMessage
        Accessible.name: text
    }

    ColumnLayout {
        anchors.centerIn: parent
        spacing: Theme.spacingXL
        visible: view.phase === "countingDown"

        CountdownDisplay {
            Layout.alignment: Qt.AlignHCenter
            value: App.countdownValue
        }
        Row {
            Layout.alignment: Qt.AlignHCenter
            spacing: Theme.spacingS
            Text {
                text: Strings.t("recording.countdown.press", "Press")
                color: Theme.textSecondary
                font.family: Theme.fontFamily
                font.pixelSize: Theme.fontBody
                anchors.verticalCenter: parent.verticalCenter
            }
            Rectangle {
                width: escLabel.implicitWidth + 2 * Theme.spacingS
                height: escLabel.implicitHeight + Theme.spacingXS
                radius: Theme.radiusSmall
                color: Theme.surfaceRaised
                border.color: Theme.borderStrong
                anchors.verticalCenter: parent.verticalCenter
                Text {
                    id: escLabel
                    anchors.centerIn: parent
                    text: Strings.t("recording.countdown.esc", "Esc")
                    color: Theme.textPrimary
                    font.family: Theme.fontFamily
                    font.pixelSize: Theme.fontCaption
                    font.weight: Font.DemiBold
                }
            }
            Text {
                text: Strings.t("recording.countdown.toCancel", "to cancel")
                color: Theme.textSecondary
                font.family: Theme.fontFamily
                font.pixelSize: Theme.fontBody
                anchors.verticalCenter: parent.verticalCenter
            }
        }
        ActionButton {
            id: cancelButton
            objectName: "recording.countdown.cancel"
            Layout.alignment: Qt.AlignHCenter
            text: Strings.t("recording.countdown.cancel", "Cancel")
            hint: Strings.t("recording.countdown.cancel.hint", "Stops the countdown and returns to the source picker")
            onClicked: App.cancelCountdown()
        }
    }

    ColumnLayout {
        anchors.centerIn: parent
        spacing: Theme.spacingXL
        visible: view.phase === "recording"

        Row {
            Layout.alignment: Qt.AlignHCenter
            spacing: Theme.spacingM
            PulsingDot {
                anchors.verticalCenter: parent.verticalCenter
                running: view.phase === "recording"
            }
            Text {
                text: Strings.t("recording.indicator", "Recording")
                color: Theme.textPrimary
                font.family: Theme.fontFamily
                font.pixelSize: Theme.fontTitle
                font.weight: Font.DemiBold
                anchors.verticalCenter: parent.verticalCenter
            }
        }
        Text {
            objectName: "recording.elapsed"
            Layout.alignment: Qt.AlignHCenter
            text: clock.viewText
            color: Theme.textPrimary
            font.family: Theme.monoFamily
            font.pixelSize: Theme.fontDisplay
            Accessible.name: text
        }
        ActionButton {
            objectName: "recording.stopButton"
            Layout.alignment: Qt.AlignHCenter
            kind: "destructive"
            iconName: "stop.fill"
            text: Strings.t("recording.stopButton", "Stop Recording")
            hint: Strings.t("recording.stopButton.hint", "Stops the recording and opens it in the editor")
            onClicked: App.stopCapture()
        }
    }

    ColumnLayout {
        anchors.centerIn: parent
        spacing: Theme.spacingL
        visible: view.phase === "stopping" || view.phase === "idle"

        BusyIndicator {
            Layout.alignment: Qt.AlignHCenter
            running: parent.visible
            palette.dark: Theme.accent
        }
        Text {
            objectName: "recording.finalizing"
            Layout.alignment: Qt.AlignHCenter
            text: Strings.t("recording.finalizing", "Finalizing recording…")
            color: Theme.textSecondary
            font.family: Theme.fontFamily
            font.pixelSize: Theme.fontBodyLarge
        }
    }

    onPhaseChanged: if (phase === "countingDown") cancelButton.forceActiveFocus()
    Component.onCompleted: if (phase === "countingDown") cancelButton.forceActiveFocus()
}
