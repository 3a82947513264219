import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Orvane.Ui

// One yes-or-no preference: its label on the left, the switch on the right; the whole row toggles it.
Rectangle {
    id: row
    property alias text: label.text
    property string detail
    property bool checked
    signal toggled(bool on)

    Layout.fillWidth: true
    implicitHeight: Math.max(52, column.implicitHeight + 2 * Theme.spacingM)
    radius: Theme.radiusMedium
    color: area.containsMouse ? Theme.surfaceHover : Theme.surface
    border.color: toggle.visualFocus ? Theme.focusRing : Theme.border
    border.width: toggle.visualFocus ? Theme.focusRingWidth : 1

    ColumnLayout {
        id: column
        anchors.left: parent.left
        anchors.right: toggle.left
        anchors.leftMargin: Theme.spacingL
        anchors.rightMargin: Theme.spacingL
        anchors.verticalCenter: parent.verticalCenter
        spacing: 2
        Text {
            id: label
            Layout.fillWidth: true
            color: Theme.textPrimary
            font.family: Theme.fontFamily
            font.pixelSize: Theme.fontBody
            wrapMode: Text.Wrap
        }
        Text {
            Layout.fillWidth: true
            visible: row.detail.length > 0
            text: row.detail
            color: Theme.textTertiary
            font.family: Theme.fontFamily
            font.pixelSize: Theme.fontCaption
            wrapMode: Text.Wrap
        }
    }

    MouseArea {
        id: area
        anchors.fill: parent
        hoverEnabled: true
        onClicked: row.toggled(!row.checked)
    }

    Switch {
        id: toggle
        objectName: row.objectName + ".switch"
        anchors.right: parent.right
        anchors.rightMargin: Theme.spacingM
        anchors.verticalCenter: parent.verticalCenter
        checked: row.checked
        focusPolicy: Qt.StrongFocus
        Accessible.name: label.text
        Accessible.description: row.detail
        onToggled: row.toggled(checked)
        indicator: Rectangle {
            implicitWidth: 44
            implicitHeight: 24
            x: toggle.leftPadding
            y: (toggle.height - height) / 2
            radius: height / 2
            color: toggle.checked ? Theme.accent : Theme.surfaceHover
            border.color: toggle.checked ? Theme.accent : Theme.borderStrong
            Rectangle {
                x: toggle.checked ? parent.width - width - 3 : 3
                y: 3
                width: 18
                height: 18
                radius: 9
                color: Theme.textPrimary
                Behavior on x { NumberAnimation { duration: Theme.durationFast } }
            }
        }
    }
}
