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
            id: property
            required property var modelData
            Layout.fillWidth: true
            spacing: 2

            RowLayout {
                Layout.fillWidth: true
                ActionButton {
                    objectName: "inspector.keyframes.expand." + property.modelData.id
                    kind: "plain"
                    text: (property.modelData.expanded ? "\u25BE " : "\u25B8 ") + property.modelData.name
                    font.pixelSize: Theme.fontCaption
                    leftPadding: Theme.spacingXS
                    rightPadding: Theme.spacingXS
                    Layout.fillWidth: true
                    Accessible.name: property.modelData.name
                    onClicked: form.inspector.expandedProperty = property.modelData.id
                }
                MiniCurveView {
                    samples: property.modelData.curve
                }
                Text {
                    text: property.modelData.count
                    color: Theme.textSecondary
                    font.family: Theme.monoFamily
                    font.pixelSize: Theme.fontCaption
                    Layout.preferredWidth: 18
                    horizontalAlignment: Text.AlignRight
                }
                ActionButton {
                    objectName: "inspector.keyframes.add." + property.modelData.id
                    kind: "plain"
                    iconName: "plus.circle.fill"
                    text: ""
                    Accessible.name: Strings.t("Add keyframe", "Add keyframe") + " " + property.modelData.name
                    leftPadding: Theme.spacingXS
                    rightPadding: Theme.spacingXS
                    onClicked: form.inspector.addKeyframe(property.modelData.id)
                }
            }
            Repeater {
                model: property.modelData.keyframes
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
                        onClicked: form.inspector.deleteKeyframe(property.modelData.id, modelData.index)
                    }
                }
            }
            ActionButton {
                visible: property.modelData.expanded && property.modelData.keyframes.length > 0
                Layout.leftMargin: Theme.spacingL
                kind: "plain"
                text: Strings.t("Remove All", "Remove All")
                font.pixelSize: Theme.fontCaption
                onClicked: form.inspector.removeAllKeyframes(property.modelData.id)
            }
        }
    }
}
