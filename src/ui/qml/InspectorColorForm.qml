import QtQuick
import QtQuick.Controls
import QtQuick.Dialogs
import QtQuick.Layouts
import Orvane.Ui

// After the grade's sliders: the look-up table and the reset.
ColumnLayout {
    id: form
    property InspectorModel inspector
    spacing: Theme.spacingS

    readonly property var luts: inspector.form.luts ?? []

    InspectorMenuRow {
        key: "Look-up Table (LUT)"
        label: "Look-up Table (LUT)"
        options: form.luts.map(l => l.label)
        currentIndex: form.luts.findIndex(l => l.tag === form.inspector.form.lutTag)
        onChosen: (index) => form.inspector.chooseLUT(form.luts[index].tag)
    }
    RowLayout {
        Layout.fillWidth: true
        ActionButton {
            objectName: "Load custom LUT"
            text: Strings.t("Load custom LUT", "Load custom LUT")
            hint: Strings.t("Choose a .cube file from disk to apply as a color look-up table", "Choose a .cube file from disk to apply as a color look-up table")
            font.pixelSize: Theme.fontCaption
            onClicked: lutDialog.open()
        }
        Text {
            visible: form.inspector.form.customLUTLoaded === true
            text: Strings.t("Custom LUT loaded", "Custom LUT loaded")
            color: Theme.success
            font.family: Theme.fontFamily
            font.pixelSize: Theme.fontCaption
        }
    }
    Text {
        objectName: "inspector.color.lutError"
        visible: form.inspector.lutError.length > 0
        Layout.fillWidth: true
        text: form.inspector.lutError
        color: Theme.record
        font.family: Theme.fontFamily
        font.pixelSize: Theme.fontCaption
        wrapMode: Text.Wrap
    }
    ActionButton {
        objectName: "inspector.color.reset"
        text: Strings.t("inspector.color.reset", "Reset")
        hint: Strings.t("inspector.color.reset.hint", "Sets exposure, contrast, saturation, vibrance, white balance, and tone to default values")
        font.pixelSize: Theme.fontCaption
        onClicked: form.inspector.resetGrade()
    }
    FileDialog {
        id: lutDialog
        title: Strings.t("Load custom LUT", "Load custom LUT")
        nameFilters: ["Look-up tables (*.cube)"]
        onAccepted: form.inspector.loadCustomLUT(selectedFile.toString())
    }
}
