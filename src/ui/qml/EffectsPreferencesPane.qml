import QtQuick
import QtQuick.Layouts
import Orvane.Ui

// The effects a new recording starts with.
ColumnLayout {
    required property PreferencesModel prefs

    objectName: "EffectsPreferencesPane"
    spacing: Theme.spacingS

    PreferencePaneHeader {
        title: Strings.t("prefs.tab.effects", "Effects")
        caption: Strings.t("prefs.effects.caption", "The effects a new recording starts with.")
    }
    PreferenceSwitch {
        objectName: "prefs.effects.autoZoomDefault"
        text: Strings.t("prefs.effects.autoZoomDefault", "Zoom on clicks in new recordings")
        checked: prefs.autoZoomDefault
        onToggled: on => prefs.autoZoomDefault = on
    }
    PreferenceSwitch {
        objectName: "prefs.effects.clickRipplesDefault"
        text: Strings.t("prefs.effects.clickRipplesDefault", "Show click ripples in new recordings")
        checked: prefs.clickRipplesDefault
        onToggled: on => prefs.clickRipplesDefault = on
    }
    Item { Layout.fillHeight: true }
}
