import QtQuick
import QtQuick.Layouts
import Orvane.Ui

// The companion programs and the online service that recordings can go to.
ColumnLayout {
    required property PreferencesModel prefs

    objectName: "EcosystemPreferencesPane"
    spacing: Theme.spacingS

    PreferencePaneHeader {
        title: Strings.t("prefs.tab.ecosystem", "Ecosystem")
        caption: Strings.t("prefs.ecosystem.caption", "The companion programs and the online service your recordings can go to.")
    }
    PreferenceSwitch {
        objectName: "prefs.ecosystem.halyard"
        text: Strings.t("prefs.ecosystem.halyard", "Share recordings with Halyard")
        checked: prefs.halyardEnabled
        onToggled: on => prefs.halyardEnabled = on
    }
    PreferenceSwitch {
        objectName: "prefs.ecosystem.marigoldCaptions"
        text: Strings.t("prefs.ecosystem.marigoldCaptions", "Caption recordings with Marigold")
        checked: prefs.marigoldCaptions
        onToggled: on => prefs.marigoldCaptions = on
    }
    PreferenceSwitch {
        objectName: "prefs.ecosystem.uploadDefault"
        text: Strings.t("prefs.ecosystem.uploadDefault", "Upload exports to Orvane Online by default")
        checked: prefs.uploadToOrvaneOnline
        onToggled: on => prefs.uploadToOrvaneOnline = on
    }
    Item { Layout.fillHeight: true }
}
