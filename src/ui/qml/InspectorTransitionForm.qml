import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Orvane.Ui

// How the clip comes in: a chip per kind in its group; the duration and easing rows follow when one is
// set; a button that moves the playhead to the clip's start to see it.
ColumnLayout {
    id: form
    property InspectorModel inspector
    spacing: Theme.spacingS

    Text {
        text: Strings.t("Transition In", "Transition In")
        color: Theme.textPrimary
        font.family: Theme.fontFamily
        font.pixelSize: Theme.fontBody
        font.weight: Font.DemiBold
        Accessible.role: Accessible.Heading
        Accessible.name: text
    }
    Repeater {
        model: form.inspector.form.transitionGroups ?? []
        delegate: ColumnLayout {
            id: group
            required property var modelData
            Layout.fillWidth: true
            spacing: 2
            Text {
                text: group.modelData.name
                color: Theme.textTertiary
                font.family: Theme.fontFamily
                font.pixelSize: 11
            }
            Flow {
                Layout.fillWidth: true
                spacing: Theme.spacingXS
                Repeater {
                    model: group.modelData.kinds
                    delegate: Rectangle {
                        id: chip
                        required property var modelData
                        objectName: "inspector.transition.chip." + modelData.index
                        width: chipText.implicitWidth + 16
                        height: 24
                        radius: 12
                        color: modelData.selected ? Theme.accent : (hover.hovered ? Theme.surfaceHover : Theme.surfaceRaised)
                        activeFocusOnTab: true
                        border.color: activeFocus ? Theme.focusRing : Theme.border
                        border.width: activeFocus ? Theme.focusRingWidth : 1
                        Accessible.role: Accessible.RadioButton
                        Accessible.name: modelData.label
                        Accessible.checked: modelData.selected
                        Keys.onReturnPressed: form.inspector.chooseTransition(modelData.index)
                        Keys.onSpacePressed: form.inspector.chooseTransition(modelData.index)
                        HoverHandler { id: hover }
                        Text {
                            id: chipText
                            anchors.centerIn: parent
                            text: chip.modelData.label
                            color: chip.modelData.selected ? Theme.textOnAccent : Theme.textSecondary
                            font.family: Theme.fontFamily
                            font.pixelSize: 11
                        }
                        MouseArea {
                            anchors.fill: parent
                            onClicked: form.inspector.chooseTransition(chip.modelData.index)
                        }
                    }
                }
            }
        }
    }
    ActionButton {
        objectName: "inspector.transition.preview"
        text: Strings.t("inspector.transition.preview", "Preview")
        hint: Strings.t("Scrubs the playhead to the start of this clip", "Scrubs the playhead to the start of this clip")
        font.pixelSize: Theme.fontCaption
        onClicked: form.inspector.previewTransition()
    }
    InspectorNote {
        visible: form.inspector.form.transitionStartsAtZero === true
        key: "inspector.transition.startNote"
        fallback: "Transitions only apply between adjacent clips. This clip starts at 00:00, so any transition selected here will be ignored at export time."
    }
}
