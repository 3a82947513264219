import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import QtQuick.Window
import Orvane.Ui

// The floating control of a running recording: the pulsing dot, the elapsed time, Stop and a discard
// that asks for a second press, and the hint of the manual zoom chord.
Window {
    id: hud
    objectName: "recordingHUD"
    width: 340
    height: 88
    color: "transparent"
    title: Strings.t("hud.title", "Orvane Screen recording")

    RecordingClock {
        id: clock
        startedAt: App.recordingStartedAt
    }

    // Stop also from the keyboard while the HUD has the focus.
    Shortcut {
        sequence: "Ctrl+Shift+Alt+R"
        onActivated: App.stopCapture()
    }

    Rectangle {
        anchors.fill: parent
        radius: Theme.radiusLarge
        color: Theme.surfaceRaised
        border.color: Theme.borderStrong
        border.width: 1

        // Dragging the panel's background moves it, as a floating control should.
        DragHandler {
            target: null
            onActiveChanged: if (active) hud.startSystemMove()
        }

        ColumnLayout {
            anchors.fill: parent
            anchors.leftMargin: Theme.spacingL
            anchors.rightMargin: Theme.spacingM
            anchors.topMargin: Theme.spacingS + 2
            anchors.bottomMargin: Theme.spacingS
            spacing: Theme.spacingXS

            RowLayout {
                Layout.fillWidth: true
                spacing: Theme.spacingM

                PulsingDot {
                    running: App.phase === "recording"
                }
                Text {
                    objectName: "hud.recordingTime"
                    Layout.fillWidth: true
                    text: clock.hudText
                    color: Theme.textPrimary
                    font.family: Theme.monoFamily
                    font.pixelSize: Theme.fontTitle
                    font.weight: Font.DemiBold
                    Accessible.role: Accessible.StaticText
                    Accessible.name: Strings.t("hud.recordingTime", "Recording time") + " " + text
                }
                ActionButton {
                    id: discard
                    objectName: "hud.cancel"
                    property bool armed: false
                    kind: armed ? "destructive" : "plain"
                    text: armed ? Strings.t("hud.cancel.confirm", "Discard?") : Strings.t("hud.cancel", "Cancel")
                    hint: Strings.t("hud.cancel.hint", "Throws this recording away; press twice")
                    topPadding: Theme.spacingXS + 2
                    bottomPadding: Theme.spacingXS + 2
                    leftPadding: Theme.spacingM
                    rightPadding: Theme.spacingM
                    onClicked: {
                        if (armed) {
                            armed = false
                            App.discardCapture()
                        } else {
                            armed = true
                            disarm.restart()
                        }
                    }
                    Timer {
                        id: disarm
                        interval: 3000
                        onTriggered: discard.armed = false
                    }
                }
                ActionButton {
                    objectName: "hud.stop"
                    kind: "destructive"
                    iconName: "stop.fill"
                    text: Strings.t("recording.stopButton", "Stop")
                    hint: Strings.t("recording.stopButton.hint", "Stops the recording and opens it in the editor")
                    topPadding: Theme.spacingXS + 2
                    bottomPadding: Theme.spacingXS + 2
                    leftPadding: Theme.spacingM
                    rightPadding: Theme.spacingM
                    onClicked: App.stopCapture()
                }
            }
            Text {
                objectName: "hud.zoomHotkeyHint"
                Layout.fillWidth: true
                text: Strings.t("hud.zoomHotkeyHint", "Ctrl+Shift+Z marks a zoom on the pointer")
                color: Theme.textTertiary
                font.family: Theme.fontFamily
                font.pixelSize: Theme.fontCaption
                elide: Text.ElideRight
            }
        }
    }
}
