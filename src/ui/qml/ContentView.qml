import QtQuick
import QtQuick.Controls
import Orvane.Ui

// What the main window shows: the onboarding until it has been completed, then the view of the current
// screen. Only the view on screen is loaded. Above them: the saved toast, the error alert and the sheets
// that the Help menu asks for.
Item {
    id: content
    objectName: "contentView"

    readonly property string route: !App.onboardingCompleted ? "onboarding" : App.screen

    Loader {
        id: view
        objectName: "screenLoader"
        anchors.fill: parent
        focus: true
        sourceComponent: {
            switch (content.route) {
            case "onboarding": return onboarding
            case "sourcePicker": return sourcePicker
            case "recording": return recording
            case "editor":
            case "exporting": return editor
            case "live": return live
            }
            return welcome
        }
        onLoaded: {
            item.forceActiveFocus()
            fadeIn.restart()
        }
        NumberAnimation {
            id: fadeIn
            target: view.item
            property: "opacity"
            from: 0
            to: 1
            duration: Theme.durationMedium
            easing.type: Easing.InOutQuad
        }
    }

    Component { id: onboarding; OnboardingView {} }
    Component { id: welcome; WelcomeView {} }
    Component { id: sourcePicker; SourcePickerView {} }
    Component { id: recording; RecordingView {} }
    Component { id: editor; EditorView {} }
    Component { id: live; LiveView {} }

    SavedToast {
        id: savedToast
        anchors.horizontalCenter: parent.horizontalCenter
    }

    ErrorAlert {
        id: errorAlert
    }

    // The sheets are made the first time they are asked for.
    Loader {
        id: shortcutsSheet
        active: false
        sourceComponent: ShortcutsSheet {}
    }

    Loader {
        id: helpSheet
        active: false
        sourceComponent: HelpSheet {}
    }

    function openSheet(loader) {
        loader.active = true
        loader.item.open()
    }

    Connections {
        target: App
        function onSaveAcknowledgementNonceChanged() { savedToast.show() }
        function onShortcutsSheetRequestNonceChanged() { content.openSheet(shortcutsSheet) }
        function onHelpSheetRequestNonceChanged() { content.openSheet(helpSheet) }
    }
}
