import QtQuick
import QtQuick.Layouts
import Orvane.Ui

// The rows a tab shows from the inspector's table: segmented pickers, switches, sliders, menus, in the
// order the model gives them. `controls` changes only when the tab's rows do, so a row's view (and a
// slider under the hand) survives every change of its value.
ColumnLayout {
    id: rows
    property InspectorModel inspector
    property var controls: inspector ? inspector.controls : []
    spacing: Theme.spacingM
    Layout.fillWidth: true

    Repeater {
        model: rows.controls
        delegate: Loader {
            id: loader
            required property var modelData
            Layout.fillWidth: true
            sourceComponent: {
                switch (modelData.kind) {
                case "slider": return sliderRow
                case "toggle": return toggleRow
                case "segmented": return segmentedRow
                }
                return menuRow
            }
            Component {
                id: sliderRow
                InspectorSliderRow {
                    inspector: rows.inspector
                    control: loader.modelData
                }
            }
            Component {
                id: toggleRow
                InspectorToggleRow {
                    key: loader.modelData.key
                    label: loader.modelData.label
                    checked: rows.inspector.values[loader.modelData.id] === true
                    onToggled: (on) => rows.inspector.setToggle(loader.modelData.id, on)
                }
            }
            Component {
                id: segmentedRow
                InspectorSegmented {
                    key: loader.modelData.key
                    label: loader.modelData.label
                    options: loader.modelData.options
                    currentIndex: rows.inspector.values[loader.modelData.id] ?? -1
                    onChosen: (index) => rows.inspector.setChoice(loader.modelData.id, index)
                }
            }
            Component {
                id: menuRow
                InspectorMenuRow {
                    key: loader.modelData.key
                    label: loader.modelData.label
                    options: loader.modelData.options
                    currentIndex: rows.inspector.values[loader.modelData.id] ?? -1
                    onChosen: (index) => rows.inspector.setChoice(loader.modelData.id, index)
                }
            }
        }
    }
}
