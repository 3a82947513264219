import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Orvane.Ui

// A row per animatable property: its curve, its count, a button that adds a keyframe at the playhead;
// an expanded row lists its keyframes.
ColumnLayout {
    id: form
    property InspectorModel inspector
    spacing: Theme.spacingXS

    Repeater {
        model: form.inspector.form.properties ?? []
        delegate: ColumnLayout {
            id: propertyRow
            required property var modelData
            Layout.fillWidth: true
            spacing: 2

            RowLayout {
                Layout.fillWidth: true
                ActionButton {
                    objectName: "inspector.keyframes.expand." + propertyRow.modelData.id
                    kind: "plain"
                    text: (propertyRow.modelData.expanded ? "\u25BE " : "\u25B8 ") + propertyRow.modelData.name
                    font.pixelSize: Theme.fontCaption
                    leftPadding: Theme.spacingXS
                    rightPadding: Theme.spacingXS
                    Layout.fillWidth: true
                    Accessible.name: propertyRow.modelData.name
                    onClicked: form.inspector.expandedProperty = propertyRow.modelData.id
                }
                MiniCurveView {
                    samples: propertyRow.modelData.curve
                }
                Text {
                    text: propertyRow.modelData.count
                    color: Theme.textSecondary
                    font.family: Theme.monoFamily
                    font.pixelSize: Theme.fontCaption
                    Layout.preferredWidth: 18
                    horizontalAlignment: Text.AlignRight
                }
                ActionButton {
                    objectName: "inspector.keyframes.add." + propertyRow.modelData.id
                    kind: "plain"
                    iconName: "plus.circle.fill"
                    text: ""
                    Accessible.name: Strings.t("Add keyframe", "Add keyframe") + " " + propertyRow.modelData.name
                    leftPadding: Theme.spacingXS
                    rightPadding: Theme.spacingXS
                    onClicked: form.inspector.addKeyframe(propertyRow.modelData.id)
                }
            }
            Repeater {
                model: propertyRow.modelData.keyframes
                delegate: RowLayout {
                    required property var modelData
                    Layout.fillWidth: true
                    Layout.leftMargin: Theme.spacingL
                    Text {
                        text: modelData.time
                        color: Theme.textSecondary
                        font.family: Theme.monoFamily
                        font.pixelSize: Theme.fontCaption
                    }
                    Text {
                        Layout.fillWidth: true
                        text: modelData.value
                        color: Theme.textPrimary
                        font.family: Theme.monoFamily
                        font.pixelSize: Theme.fontCaption
                    }
                    ActionButton {
                        kind: "plain"
                        iconName: "xmark"
                        text: ""
                        Accessible.name: Strings.t("Delete keyframe", "Delete keyframe")
                        leftPadding: Theme.spacingXS
                        rightPadding: Theme.spacingXS
                        onClicked: form.inspector.deleteKeyframe(propertyRow.modelData.id, modelData.index)
                    }
                }
            }
            ActionButton {
                visible: propertyRow.modelData.expanded && propertyRow.modelData.keyframes.length > 0
                Layout.leftMargin: Theme.spacingL
                kind: "plain"
                text: Strings.t("Remove All", "Remove All")
                font.pixelSize: Theme.fontCaption
                onClicked: form.inspector.removeAllKeyframes(propertyRow.modelData.id)
            }
        }
    }
}
