import QtQuick
import QtQuick.Controls
import QtQuick.Dialogs
import QtQuick.Layouts
import Orvane.Ui

// The background's own form: gradient swatches, the solid colour, or the notes of the other kinds.
ColumnLayout {
    id: form
    property InspectorModel inspector
    readonly property int kind: inspector.form.backgroundKind ?? 0
    spacing: Theme.spacingS

    GridLayout {
        objectName: "inspector.bg.gradients"
        visible: form.kind === 0
        Layout.fillWidth: true
        columns: 4
        columnSpacing: Theme.spacingS
        rowSpacing: Theme.spacingS
        Repeater {
            model: form.inspector.form.gradients ?? []
            delegate: Rectangle {
                id: swatch
                required property var modelData
                required property int index
                objectName: "inspector.bg.gradient." + index
                Layout.fillWidth: true
                Layout.preferredHeight: 40
                radius: Theme.radiusSmall
                activeFocusOnTab: true
                border.color: activeFocus ? Theme.focusRing : (modelData.selected ? Theme.textPrimary : Theme.border)
                border.width: activeFocus || modelData.selected ? 2 : 1
                Accessible.role: Accessible.Button
                Accessible.name: modelData.name
                Accessible.checked: modelData.selected
                gradient: Gradient {
                    orientation: Gradient.Horizontal
                    GradientStop { position: 0; color: swatch.modelData.stops[0].color }
                    GradientStop { position: 1; color: swatch.modelData.stops[swatch.modelData.stops.length - 1].color }
                }
                Keys.onReturnPressed: form.inspector.selectGradient(index)
                Keys.onSpacePressed: form.inspector.selectGradient(index)
                MouseArea {
                    anchors.fill: parent
                    onClicked: form.inspector.selectGradient(swatch.index)
                }
                HoverHandler { id: hover }
                ToolTip.visible: hover.hovered
                ToolTip.text: modelData.name
            }
        }
    }

    RowLayout {
        visible: form.kind === 1
        Layout.fillWidth: true
        spacing: Theme.spacingS
        Rectangle {
            objectName: "inspector.bg.solid.pickColor"
            width: 40
            height: 28
            radius: Theme.radiusSmall
            color: form.inspector.solidColorHex
            activeFocusOnTab: true
            border.color: activeFocus ? Theme.focusRing : Theme.borderStrong
            border.width: activeFocus ? Theme.focusRingWidth : 1
            Accessible.role: Accessible.Button
            Accessible.name: Strings.t("inspector.bg.solid.pickColor", "Pick Color")
            Keys.onReturnPressed: colorDialog.open()
            Keys.onSpacePressed: colorDialog.open()
            MouseArea {
                anchors.fill: parent
                onClicked: colorDialog.open()
            }
        }
        TextField {
            objectName: "inspector.bg.solid.hex"
            Layout.fillWidth: true
            text: form.inspector.solidColorHex
            color: Theme.textPrimary
            font.family: Theme.monoFamily
            font.pixelSize: Theme.fontCaption
            Accessible.name: Strings.t("inspector.bg.solid.hex", "Color as hexadecimal")
            validator: RegularExpressionValidator { regularExpression: /#?[0-9A-Fa-f]{0,6}/ }
            onEditingFinished: form.inspector.solidColorHex = text.startsWith("#") ? text : "#" + text
            background: Rectangle {
                radius: Theme.radiusSmall
                color: Theme.canvas
                border.color: parent.activeFocus ? Theme.focusRing : Theme.border
            }
        }
        ColorDialog {
            id: colorDialog
            title: Strings.t("inspector.bg.solid.pickColor", "Pick Color")
            selectedColor: form.inspector.solidColorHex
            onAccepted: form.inspector.solidColorHex = selectedColor.toString().toUpperCase().substring(0, 7)
        }
    }

    InspectorNote {
        visible: form.kind === 2
        key: "inspector.bg.wallpaper.note"
        fallback: "The wallpaper fills the canvas behind the recording."
    }
    InspectorNote {
        visible: form.kind === 3
        key: "inspector.bg.image.note"
        fallback: "An image of your own fills the canvas behind the recording."
    }
    InspectorNote {
        visible: form.kind === 4
        key: "inspector.bg.blur.note"
        fallback: "The recording itself, blurred and enlarged, fills the canvas behind it."
    }
}
