import QtQuick
import QtQuick.Layouts
import Orvane.Ui

// The editor's preview: the composed clip scaled into the view over black, and the transport under it.
// The editor forwards its key presses to handleKey, so the transport keys work wherever the focus is.
FocusScope {
    id: view
    objectName: "preview.view"
    property alias clipId: player.clipId
    property alias playheadTime: player.playheadTime
    property alias isPlaying: player.isPlaying
    readonly property alias preview: player

    // Returns true when the key belonged to the transport.
    function handleKey(event) {
        const shift = (event.modifiers & Qt.ShiftModifier) !== 0
        // Ctrl+K and its kind belong to the editor, not to the shuttle.
        if ((event.modifiers & ~Qt.ShiftModifier & ~Qt.KeypadModifier) !== 0)
            return false
        switch (event.key) {
        case Qt.Key_Space:
            player.togglePlay()
            return true
        case Qt.Key_L:
            player.shuttleForward()
            return true
        case Qt.Key_K:
            player.shuttlePause()
            return true
        case Qt.Key_J:
            player.shuttleReverse()
            return true
        case Qt.Key_Left:
            if (shift)
                player.jump(-1)
            else
                player.stepFrame(-1)
            return true
        case Qt.Key_Right:
            if (shift)
                player.jump(1)
            else
                player.stepFrame(1)
            return true
        case Qt.Key_Home:
            player.seekToStart()
            return true
        case Qt.Key_End:
            player.seekToEnd()
            return true
        }
        return false
    }

    Keys.onPressed: (event) => { event.accepted = view.handleKey(event) }

    ColumnLayout {
        anchors.fill: parent
        spacing: 0

        PreviewItem {
            id: player
            objectName: "preview.item"
            Layout.fillWidth: true
            Layout.fillHeight: true
            Accessible.role: Accessible.Animation
            Accessible.name: Strings.t("preview.name", "Preview")

            Text {
                objectName: "preview.noClip"
                visible: !player.hasClip
                anchors.centerIn: parent
                width: parent.width - 2 * Theme.spacingXL
                horizontalAlignment: Text.AlignHCenter
                wrapMode: Text.WordWrap
                text: Strings.t("preview.noClip", "No clip to preview")
                color: Theme.textSecondary
                font.family: Theme.fontFamily
                font.pixelSize: Theme.fontBodyLarge
            }
        }

        Rectangle {
            Layout.fillWidth: true
            implicitHeight: transport.implicitHeight + 2 * Theme.spacingS
            color: Theme.surface

            RowLayout {
                id: transport
                anchors.centerIn: parent
                spacing: Theme.spacingXS

                Text {
                    objectName: "preview.playhead"
                    text: player.formatTime(player.playheadTime)
                    color: Theme.textPrimary
                    font.family: Theme.monoFamily
                    font.pixelSize: Theme.fontBody
                    Accessible.role: Accessible.StaticText
                    Accessible.name: Strings.t("preview.playheadName", "Playhead") + " " + text
                    Layout.rightMargin: Theme.spacingM
                }
                TransportButton {
                    objectName: "preview.skipToStart"
                    iconName: "backward.end.fill"
                    accessibleName: Strings.t("preview.skipToStart", "Jump to Start")
                    onClicked: player.seekToStart()
                }
                TransportButton {
                    objectName: "preview.shuttleReverse"
                    iconName: "backward.fill"
                    accessibleName: Strings.t("preview.shuttleReverse", "Shuttle Reverse")
                    onClicked: player.shuttleReverse()
                }
                TransportButton {
                    objectName: "preview.playPause"
                    iconName: player.isPlaying ? "pause.fill" : "play.fill"
                    accessibleName: player.isPlaying ? Strings.t("preview.pause", "Pause")
                                                     : Strings.t("preview.play", "Play")
                    enabled: player.hasClip
                    onClicked: player.togglePlay()
                }
                TransportButton {
                    objectName: "preview.shuttleForward"
                    iconName: "forward.fill"
                    accessibleName: Strings.t("preview.shuttleForward", "Shuttle Forward")
                    onClicked: player.shuttleForward()
                }
                TransportButton {
                    objectName: "preview.skipToEnd"
                    iconName: "forward.end.fill"
                    accessibleName: Strings.t("preview.skipToEnd", "Jump to End")
                    onClicked: player.seekToEnd()
                }
                Text {
                    objectName: "preview.duration"
                    text: player.formatTime(player.duration)
                    color: Theme.textSecondary
                    font.family: Theme.monoFamily
                    font.pixelSize: Theme.fontBody
                    Accessible.role: Accessible.StaticText
                    Accessible.name: Strings.t("preview.durationName", "Length") + " " + text
                    Layout.leftMargin: Theme.spacingM
                }
            }
        }
    }

    component TransportButton: ActionButton {
        property string accessibleName
        kind: "plain"
        text: ""
        enabled: player.hasClip
        Accessible.name: accessibleName
        hint: accessibleName
        leftPadding: Theme.spacingS
        rightPadding: Theme.spacingS
        // The transport keys act on the preview, not on the button that has the focus.
        Keys.onPressed: (event) => {
            if (event.key !== Qt.Key_Space && event.key !== Qt.Key_Return && event.key !== Qt.Key_Enter)
                event.accepted = view.handleKey(event)
        }
    }
}
