import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Orvane.Ui

// Where the camera bubble sits: nine places on a 3 by 3 grid.
ColumnLayout {
    id: form
    property InspectorModel inspector
    spacing: Theme.spacingXS

    Text {
        text: Strings.t("inspector.camera.position", "Position")
        color: Theme.textSecondary
        font.family: Theme.fontFamily
        font.pixelSize: Theme.fontCaption
    }
    GridLayout {
        objectName: "inspector.camera.position"
        columns: 3
        columnSpacing: Theme.spacingXS
        rowSpacing: Theme.spacingXS
        Repeater {
            model: form.inspector.form.cameraGrid ?? []
            delegate: Rectangle {
                id: cell
                required property var modelData
                required property int index
                objectName: modelData.key
                width: 44
                height: 28
                radius: Theme.radiusSmall
                color: modelData.selected ? Theme.accent : (hover.hovered ? Theme.surfaceHover : Theme.surfaceRaised)
                activeFocusOnTab: true
                border.color: activeFocus ? Theme.focusRing : Theme.border
                border.width: activeFocus ? Theme.focusRingWidth : 1
                Accessible.role: Accessible.RadioButton
                Accessible.name: Strings.t(modelData.key, modelData.label)
                Accessible.checked: modelData.selected
                Keys.onReturnPressed: form.inspector.setCameraPosition(index)
                Keys.onSpacePressed: form.inspector.setCameraPosition(index)
                HoverHandler { id: hover }
                ToolTip.visible: hover.hovered
                ToolTip.text: Strings.t(modelData.key, modelData.label)
                Rectangle {
                    width: 8
                    height: 8
                    radius: 4
                    color: cell.modelData.selected ? Theme.textOnAccent : Theme.textTertiary
                    x: 4 + (parent.width - 16) * (cell.index % 3) / 2
                    y: 4 + (parent.height - 16) * Math.floor(cell.index / 3) / 2
                }
                MouseArea {
                    anchors.fill: parent
                    onClicked: form.inspector.setCameraPosition(cell.index)
                }
            }
        }
    }
}
