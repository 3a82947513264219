import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Orvane.Ui

// A switch of the inspector; it writes at once and makes no undo step.
RowLayout {
    id: row
    property string key
    property string label
    property bool checked
    signal toggled(bool on)
    readonly property string labelText: Strings.t(key, label)

    objectName: key
    Layout.fillWidth: true

    Text {
        Layout.fillWidth: true
        text: row.labelText
        color: Theme.textPrimary
        font.family: Theme.fontFamily
        font.pixelSize: Theme.fontBody
        elide: Text.ElideRight
        MouseArea {
            anchors.fill: parent
            onClicked: row.toggled(!row.checked)
        }
    }
    Switch {
        id: toggle
        objectName: row.key + ".switch"
        checked: row.checked
        focusPolicy: Qt.StrongFocus
        Accessible.name: row.labelText
        onToggled: row.toggled(checked)
        indicator: Rectangle {
            implicitWidth: 38
            implicitHeight: 22
            x: toggle.leftPadding
            y: (toggle.height - height) / 2
            radius: height / 2
            color: toggle.checked ? Theme.accent : Theme.surfaceHover
            border.color: toggle.visualFocus ? Theme.focusRing : (toggle.checked ? Theme.accent : Theme.borderStrong)
            border.width: toggle.visualFocus ? Theme.focusRingWidth : 1
            Rectangle {
                x: toggle.checked ? parent.width - width - 3 : 3
                y: 3
                width: 16
                height: 16
                radius: 8
                color: Theme.textPrimary
                Behavior on x { NumberAnimation { duration: Theme.durationFast } }
            }
        }
    }
}
