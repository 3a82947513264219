import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Orvane.Ui

// The selected clip: where it sits and what of its source it plays, with the edits that act on it and
// the playhead.
Rectangle {
    id: panel
    property EditorModel model
    objectName: "editor.clipPanel"
    color: Theme.surface

    component Field: RowLayout {
        property string label
        property string value
        Layout.fillWidth: true
        Text {
            Layout.fillWidth: true
            text: parent.label
            color: Theme.textSecondary
            font.family: Theme.fontFamily
            font.pixelSize: Theme.fontCaption
        }
        Text {
            text: parent.value
            color: Theme.textPrimary
            font.family: Theme.monoFamily
            font.pixelSize: Theme.fontCaption
            Accessible.role: Accessible.StaticText
            Accessible.name: parent.label + " " + text
        }
    }

    readonly property var clip: {
        const id = panel.model ? panel.model.selectedClipId : ""
        const clips = App.clips
        for (let i = 0; i < clips.length; ++i)
            if (clips[i].id === id)
                return clips[i]
        return null
    }

    ColumnLayout {
        anchors.fill: parent
        anchors.margins: Theme.spacingL
        spacing: Theme.spacingS

        Text {
            objectName: "editor.clipPanel.name"
            Layout.fillWidth: true
            text: panel.clip ? panel.clip.name : Strings.t("editor.clipPanel.none", "No clip selected")
            color: Theme.textPrimary
            font.family: Theme.fontFamily
            font.pixelSize: Theme.fontBodyLarge
            font.weight: Font.DemiBold
            elide: Text.ElideRight
            Accessible.role: Accessible.Heading
            Accessible.name: text
        }

        Field {
            visible: panel.clip !== null
            label: Strings.t("editor.clipPanel.start", "Starts at")
            value: panel.clip ? panel.clip.timelineStart.toFixed(2) + " s" : ""
        }
        Field {
            visible: panel.clip !== null
            label: Strings.t("editor.clipPanel.length", "Length")
            value: panel.clip ? panel.clip.duration.toFixed(2) + " s" : ""
        }
        Field {
            visible: panel.clip !== null
            label: Strings.t("editor.clipPanel.source", "Source")
            value: panel.clip ? panel.clip.sourceIn.toFixed(2) + " – " + panel.clip.sourceOut.toFixed(2) + " s" : ""
        }
        Field {
            visible: panel.clip !== null && panel.clip.width > 0
            label: Strings.t("editor.clipPanel.size", "Size")
            value: panel.clip ? Math.round(panel.clip.width) + " \u00D7 " + Math.round(panel.clip.height) : ""
        }

        Rectangle {
            Layout.fillWidth: true
            Layout.topMargin: Theme.spacingS
            Layout.bottomMargin: Theme.spacingS
            Layout.preferredHeight: 1
            color: Theme.border
        }

        GridLayout {
            Layout.fillWidth: true
            columns: 2
            columnSpacing: Theme.spacingS
            rowSpacing: Theme.spacingS
            ActionButton {
                objectName: "editor.split"
                Layout.fillWidth: true
                iconName: "scissors"
                enabled: panel.model && panel.model.canSplit
                text: Strings.t("editor.split", "Split")
                hint: Strings.t("editor.split.hint", "Splits the clip under the playhead (Ctrl+K)")
                onClicked: panel.model.splitAtPlayhead()
            }
            ActionButton {
                objectName: "editor.delete"
                Layout.fillWidth: true
                enabled: panel.clip !== null
                text: Strings.t("editor.delete", "Delete")
                hint: Strings.t("editor.delete.hint", "Removes the selected clip (Delete)")
                onClicked: panel.model.deleteSelectedClip()
            }
            ActionButton {
                objectName: "editor.setInPoint"
                Layout.fillWidth: true
                enabled: panel.clip !== null
                text: Strings.t("editor.setInPoint", "Set In")
                hint: Strings.t("editor.setInPoint.hint", "Starts the clip's source at the playhead (I)")
                onClicked: panel.model.setInPointAtPlayhead()
            }
            ActionButton {
                objectName: "editor.setOutPoint"
                Layout.fillWidth: true
                enabled: panel.clip !== null
                text: Strings.t("editor.setOutPoint", "Set Out")
                hint: Strings.t("editor.setOutPoint.hint", "Ends the clip's source at the playhead (O)")
                onClicked: panel.model.setOutPointAtPlayhead()
            }
        }

        Item { Layout.fillHeight: true }
    }
}
