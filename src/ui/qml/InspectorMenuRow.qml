import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Orvane.Ui

// A picker of the inspector over a list of named values, as a pop-up menu.
RowLayout {
    id: row
    property string key
    property string label
    property var options: [] // [{ key, label }] or plain texts
    property int currentIndex: -1
    signal chosen(int index)
    readonly property string labelText: Strings.t(key, label)

    objectName: key
    Layout.fillWidth: true

    Text {
        text: row.labelText
        color: Theme.textSecondary
        font.family: Theme.fontFamily
        font.pixelSize: Theme.fontCaption
    }
    ComboBox {
        id: box
        objectName: row.key + ".menu"
        Layout.fillWidth: true
        model: row.options.map(o => typeof o === "string" ? o : Strings.t(o.key, o.label))
        currentIndex: row.currentIndex
        focusPolicy: Qt.StrongFocus
        Accessible.name: row.labelText
        font.family: Theme.fontFamily
        font.pixelSize: Theme.fontCaption
        onActivated: (index) => row.chosen(index)
        background: Rectangle {
            implicitHeight: 28
            radius: Theme.radiusSmall
            color: Theme.surfaceRaised
            border.color: box.visualFocus ? Theme.focusRing : Theme.border
            border.width: box.visualFocus ? Theme.focusRingWidth : 1
        }
        contentItem: Text {
            leftPadding: Theme.spacingS
            text: box.displayText
            color: Theme.textPrimary
            font: box.font
            verticalAlignment: Text.AlignVCenter
            elide: Text.ElideRight
        }
    }
}
