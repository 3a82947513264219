import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Orvane.Ui

// A choice of a few values side by side: one Tab stop; the arrow keys move the choice.
FocusScope {
    id: picker
    property string key
    property string label
    property var options: [] // [{ key, label }]
    property int currentIndex: -1
    signal chosen(int index)

    objectName: key
    Layout.fillWidth: true
    implicitHeight: frame.implicitHeight
    activeFocusOnTab: true
    Accessible.role: Accessible.PageTabList
    Accessible.name: Strings.t(key, label)

    Keys.onLeftPressed: if (currentIndex > 0) chosen(currentIndex - 1)
    Keys.onRightPressed: if (currentIndex < options.length - 1) chosen(currentIndex + 1)

    Rectangle {
        id: frame
        anchors.fill: parent
        implicitHeight: 30
        radius: Theme.radiusSmall
        color: Theme.canvas
        border.color: picker.activeFocus ? Theme.focusRing : Theme.border
        border.width: picker.activeFocus ? Theme.focusRingWidth : 1

        RowLayout {
            anchors.fill: parent
            anchors.margins: 2
            spacing: 2
            Repeater {
                model: picker.options
                delegate: Rectangle {
                    required property var modelData
                    required property int index
                    objectName: modelData.key
                    Layout.fillWidth: true
                    Layout.fillHeight: true
                    radius: Theme.radiusSmall - 2
                    color: index === picker.currentIndex ? Theme.accent : (area.containsMouse ? Theme.surfaceHover : "transparent")
                    Accessible.role: Accessible.PageTab
                    Accessible.name: Strings.t(modelData.key, modelData.label)
                    Accessible.selected: index === picker.currentIndex
                    Text {
                        anchors.centerIn: parent
                        width: parent.width - 4
                        horizontalAlignment: Text.AlignHCenter
                        text: Strings.t(modelData.key, modelData.label)
                        color: index === picker.currentIndex ? Theme.textOnAccent : Theme.textSecondary
                        font.family: Theme.fontFamily
                        font.pixelSize: 11
                        elide: Text.ElideRight
                    }
                    MouseArea {
                        id: area
                        anchors.fill: parent
                        hoverEnabled: true
                        onClicked: {
                            picker.forceActiveFocus()
                            picker.chosen(index)
                        }
                    }
                }
            }
        }
    }
}
