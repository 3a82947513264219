import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Orvane.Ui

// One slider of the inspector: its label, the value as the control reads it, the slider. A drag writes
// live and makes one undo step when it ends (for the rows that have an undo name); a key press is a step
// of its own.
ColumnLayout {
    id: row
    property InspectorModel inspector
    property var control: ({})
    readonly property var current: inspector && inspector.values[control.id] ? inspector.values[control.id] : ({ value: control.minimum, display: "" })
    readonly property string labelText: Strings.t(control.key, control.label)

    objectName: control.key
    Layout.fillWidth: true
    spacing: 2

    RowLayout {
        Layout.fillWidth: true
        Text {
            Layout.fillWidth: true
            text: row.labelText
            color: Theme.textSecondary
            font.family: Theme.fontFamily
            font.pixelSize: Theme.fontCaption
            elide: Text.ElideRight
        }
        Text {
            objectName: row.control.key + ".value"
            text: row.current.display
            color: Theme.textPrimary
            font.family: Theme.monoFamily
            font.pixelSize: Theme.fontCaption
        }
    }

    Slider {
        id: slider
        objectName: row.control.key + ".slider"
        Layout.fillWidth: true
        from: row.control.minimum
        to: row.control.maximum
        stepSize: (to - from) / 100
        snapMode: Slider.NoSnap
        focusPolicy: Qt.StrongFocus
        Accessible.name: row.labelText
        Accessible.description: row.current.display

        // The project's value, except while the hand is on it.
        Binding on value {
            value: row.current.value
            when: !slider.pressed
            restoreMode: Binding.RestoreNone
        }
        onPressedChanged: pressed ? row.inspector.beginSlider(row.control.id) : row.inspector.endSlider(row.control.id)
        onMoved: {
            if (pressed) {
                row.inspector.changeSlider(row.control.id, value)
            } else {
                row.inspector.beginSlider(row.control.id)
                row.inspector.changeSlider(row.control.id, value)
                row.inspector.endSlider(row.control.id)
            }
        }

        background: Rectangle {
            x: slider.leftPadding
            y: slider.topPadding + slider.availableHeight / 2 - height / 2
            width: slider.availableWidth
            height: 4
            radius: 2
            color: Theme.surfaceHover
            Rectangle {
                width: slider.visualPosition * parent.width
                height: parent.height
                radius: 2
                color: Theme.accent
            }
        }
        handle: Rectangle {
            x: slider.leftPadding + slider.visualPosition * (slider.availableWidth - width)
            y: slider.topPadding + slider.availableHeight / 2 - height / 2
            width: 16
            height: 16
            radius: 8
            color: slider.pressed ? Theme.accentHover : Theme.textPrimary
            border.color: slider.visualFocus ? Theme.focusRing : Theme.borderStrong
            border.width: slider.visualFocus ? Theme.focusRingWidth + 1 : 1
        }
    }
}
