import QtQuick
import QtQuick.Layouts
import Orvane.Ui

// How the program starts and sounds.
ColumnLayout {
    required property PreferencesModel prefs

    objectName: "GeneralPreferencesPane"
    spacing: Theme.spacingS

    PreferencePaneHeader {
        title: Strings.t("prefs.tab.general", "General")
        caption: Strings.t("prefs.general.caption", "How Orvane Screen starts and sounds.")
    }
    PreferenceSwitch {
        objectName: "prefs.general.launchAtLogin"
        text: Strings.t("prefs.general.launchAtLogin", "Open Orvane Screen when you log in")
        checked: prefs.launchAtLogin
        onToggled: on => prefs.launchAtLogin = on
    }
    PreferenceSwitch {
        objectName: "prefs.general.showInMenuBar"
        text: Strings.t("prefs.general.showInMenuBar", "Show in the panel's status area")
        checked: prefs.showInMenuBar
        onToggled: on => prefs.showInMenuBar = on
    }
    PreferenceSwitch {
        objectName: "prefs.general.soundEffects"
        text: Strings.t("prefs.general.soundEffects", "Play sounds when a recording starts and stops")
        checked: prefs.soundEffectsEnabled
        onToggled: on => prefs.soundEffectsEnabled = on
    }
    Item { Layout.fillHeight: true }
}
