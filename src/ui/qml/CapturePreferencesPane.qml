import QtQuick
import QtQuick.Layouts
import Orvane.Ui

// What a new recording captures and where it is kept.
ColumnLayout {
    required property PreferencesModel prefs
    signal changeFolderRequested()

    objectName: "CapturePreferencesPane"
    spacing: Theme.spacingS

    PreferencePaneHeader {
        title: Strings.t("prefs.tab.capture", "Capture")
        caption: Strings.t("prefs.capture.caption", "What new recordings capture and where they are kept.")
    }
    PreferenceFrameRatePicker {
        objectName: "prefs.capture.frameRate"
        value: prefs.frameRate
        onPicked: fps => prefs.frameRate = fps
    }
    PreferenceSwitch {
        objectName: "prefs.capture.systemAudioDefault"
        text: Strings.t("prefs.capture.systemAudioDefault", "Record system audio by default")
        checked: prefs.includeSystemAudio
        onToggled: on => prefs.includeSystemAudio = on
    }
    PreferenceSwitch {
        objectName: "prefs.capture.microphoneDefault"
        text: Strings.t("prefs.capture.microphoneDefault", "Record the microphone by default")
        checked: prefs.includeMicrophone
        onToggled: on => prefs.includeMicrophone = on
    }
    PreferenceFolderRow {
        objectName: "prefs.capture.recordingsFolder"
        path: prefs.recordingsFolder
        onReveal: prefs.revealRecordingsFolder()
        onChange: changeFolderRequested()
    }
    Item { Layout.fillHeight: true }
}
