import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Orvane.Ui

// A track's header: its name, mute, lock and visibility, and the divider at its foot that resizes it.
Rectangle {
    id: header
    required property int index
    required property string name
    required property string kind
    required property bool muted
    required property bool locked
    required property bool trackVisible
    required property real trackY
    required property real trackHeight
    property EditorModel editor

    objectName: "track." + index
    color: Theme.surfaceRaised

    component HeaderToggle: ToolButton {
        id: toggle
        property string iconName
        property bool on
        implicitWidth: 26
        implicitHeight: 24
        focusPolicy: Qt.StrongFocus
        Accessible.role: Accessible.CheckBox
        Accessible.checkable: true
        Accessible.checked: on
        contentItem: Icon {
            name: toggle.iconName
            size: 13
            color: toggle.on ? Theme.warning : Theme.textSecondary
        }
        background: Rectangle {
            radius: 4
            color: toggle.hovered ? Theme.surfaceHover : "transparent"
            border.width: toggle.visualFocus ? Theme.focusRingWidth : 0
            border.color: Theme.focusRing
        }
    }

    ColumnLayout {
        anchors.fill: parent
        anchors.leftMargin: Theme.spacingS
        anchors.rightMargin: Theme.spacingXS
        anchors.topMargin: 2
        anchors.bottomMargin: 4
        spacing: 0
        Text {
            Layout.fillWidth: true
            text: header.name
            elide: Text.ElideRight
            color: Theme.textPrimary
            font.family: Theme.fontFamily
            font.pixelSize: Theme.fontCaption
            font.weight: Font.DemiBold
        }
        RowLayout {
            spacing: 0
            visible: header.height >= 44
            HeaderToggle {
                objectName: "track." + header.index + ".mute"
                iconName: header.muted ? "speaker.slash" : "speaker"
                on: header.muted
                Accessible.name: Strings.f("timeline.track.mute", "Mute %1", [header.name])
                onClicked: header.editor.toggleTrackMuted(header.index)
            }
            HeaderToggle {
                objectName: "track." + header.index + ".lock"
                iconName: header.locked ? "lock" : "lock.open"
                on: header.locked
                Accessible.name: Strings.f("timeline.track.lock", "Lock %1", [header.name])
                onClicked: header.editor.toggleTrackLocked(header.index)
            }
            HeaderToggle {
                objectName: "track." + header.index + ".visible"
                iconName: header.trackVisible ? "eye" : "eye.slash"
                on: !header.trackVisible
                Accessible.name: Strings.f("timeline.track.visible", "Show %1", [header.name])
                onClicked: header.editor.toggleTrackVisible(header.index)
            }
        }
    }

    // The divider: drag to resize the track.
    MouseArea {
        objectName: "track." + header.index + ".divider"
        anchors.left: parent.left
        anchors.right: parent.right
        anchors.bottom: parent.bottom
        anchors.bottomMargin: -3
        height: 6
        cursorShape: Qt.SizeVerCursor
        property real pressY
        onPressed: (mouse) => pressY = mapToItem(null, mouse.x, mouse.y).y
        onPositionChanged: (mouse) => header.editor.trackResizeChanged(header.index, mapToItem(null, mouse.x, mouse.y).y - pressY)
        onReleased: header.editor.trackResizeEnded()
        onCanceled: header.editor.trackResizeEnded()
        Rectangle {
            anchors.bottom: parent.bottom
            anchors.bottomMargin: 3
            width: parent.width
            height: 1
            color: parent.containsMouse || parent.pressed ? Theme.accent : Theme.border
        }
    }
}
