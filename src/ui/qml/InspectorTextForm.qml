import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Orvane.Ui

// Text overlays: four ways to add one, then a row per overlay to edit or delete it.
ColumnLayout {
    id: form
    property InspectorModel inspector
    spacing: Theme.spacingS

    readonly property var presets: [
        { key: "inspector.text.addTitleCard", label: "Add Title Card", textKey: "inspector.text.titleCard.default", text: "Your Title" },
        { key: "inspector.text.addLowerThird", label: "Add Lower Third", textKey: "inspector.text.lowerThird.default", text: "Name · Role" },
        { key: "inspector.text.addCaption", label: "Add Caption", textKey: "inspector.text.caption.default", text: "Caption" },
        { key: "inspector.text.addOverlay", label: "Add Text", textKey: "inspector.text.new.default", text: "New Text" }
    ]

    GridLayout {
        Layout.fillWidth: true
        columns: 2
        columnSpacing: Theme.spacingS
        rowSpacing: Theme.spacingS
        Repeater {
            model: form.presets
            delegate: ActionButton {
                required property var modelData
                required property int index
                objectName: modelData.key
                Layout.fillWidth: true
                text: Strings.t(modelData.key, modelData.label)
                font.pixelSize: Theme.fontCaption
                onClicked: form.inspector.addText(index, Strings.t(modelData.textKey, modelData.text))
            }
        }
    }

    InspectorNote {
        visible: (form.inspector.form.textOverlays ?? []).length === 0
        key: "inspector.text.empty"
        fallback: "No text on this clip yet."
    }

    Repeater {
        model: form.inspector.form.textOverlays ?? []
        delegate: RowLayout {
            required property var modelData
            Layout.fillWidth: true
            TextField {
                objectName: "inspector.text.field." + modelData.id
                Layout.fillWidth: true
                text: modelData.text
                color: Theme.textPrimary
                font.family: Theme.fontFamily
                font.pixelSize: Theme.fontBody
                Accessible.name: Strings.t("inspector.text.field", "Overlay text")
                onEditingFinished: if (text !== modelData.text) form.inspector.setText(modelData.id, text)
                background: Rectangle {
                    radius: Theme.radiusSmall
                    color: Theme.canvas
                    border.color: parent.activeFocus ? Theme.focusRing : Theme.border
                }
            }
            ActionButton {
                objectName: "inspector.text.delete"
                kind: "plain"
                iconName: "xmark"
                text: ""
                Accessible.name: Strings.t("inspector.text.delete", "Delete")
                hint: Strings.t("inspector.text.delete.hint", "Removes this text overlay")
                onClicked: form.inspector.deleteText(modelData.id)
            }
        }
    }
}
