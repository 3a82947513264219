import QtQuick
import QtQuick.Controls
import QtQuick.Dialogs
import QtQuick.Layouts
import Orvane.Ui

// Images over the clip: add one from a file; each card has its own sliders and a delete button.
ColumnLayout {
    id: form
    property InspectorModel inspector
    readonly property var stickers: inspector.stickerCards
    spacing: Theme.spacingS

    ActionButton {
        objectName: "inspector.stickers.add"
        text: Strings.t("inspector.stickers.add", "Add Image…")
        iconName: "plus.circle.fill"
        font.pixelSize: Theme.fontCaption
        onClicked: imageDialog.open()
    }
    InspectorNote {
        visible: form.stickers.length === 0
        key: "No image overlays yet. Add a PNG, JPG, or SVG to overlay on the clip."
        fallback: "No image overlays yet. Add a PNG, JPG, or SVG to overlay on the clip."
    }
    Repeater {
        model: form.stickers
        delegate: Rectangle {
            id: card
            required property var modelData
            Layout.fillWidth: true
            implicitHeight: cardColumn.implicitHeight + 2 * Theme.spacingS
            radius: Theme.radiusMedium
            color: Theme.surfaceRaised
            border.color: Theme.border
            ColumnLayout {
                id: cardColumn
                anchors.fill: parent
                anchors.margins: Theme.spacingS
                spacing: Theme.spacingS
                RowLayout {
                    Layout.fillWidth: true
                    Image {
                        source: "file://" + card.modelData.path
                        sourceSize.width: 48
                        sourceSize.height: 32
                        asynchronous: true
                        fillMode: Image.PreserveAspectFit
                        Layout.preferredWidth: 48
                        Layout.preferredHeight: 32
                    }
                    Text {
                        Layout.fillWidth: true
                        text: card.modelData.name
                        color: Theme.textPrimary
                        font.family: Theme.fontFamily
                        font.pixelSize: Theme.fontCaption
                        elide: Text.ElideMiddle
                    }
                    ActionButton {
                        kind: "plain"
                        iconName: "xmark"
                        text: ""
                        Accessible.name: Strings.t("Delete image overlay", "Delete image overlay")
                        onClicked: form.inspector.deleteSticker(card.modelData.id)
                    }
                }
                Repeater {
                    model: card.modelData.controls
                    delegate: InspectorSliderRow {
                        required property var modelData
                        inspector: form.inspector
                        control: modelData
                    }
                }
            }
        }
    }
    FileDialog {
        id: imageDialog
        title: Strings.t("inspector.stickers.add", "Add Image…")
        nameFilters: ["Images (*.png *.jpg *.jpeg *.svg)"]
        onAccepted: form.inspector.addSticker(selectedFile.toString())
    }
}
