import QtQuick
import QtQuick.Layouts
import Orvane.Ui

// One thing the recorder uses, whether it may, and what it is for.
Rectangle {
    id: row
    property string title
    property string detail
    property string status // "granted", "denied", "notDetermined", "unknown"

    Layout.fillWidth: true
    implicitHeight: 64
    radius: Theme.radiusMedium
    color: Theme.surface
    border.color: Theme.border
    Accessible.role: Accessible.StaticText
    Accessible.name: title + ": " + badge.text

    RowLayout {
        anchors.fill: parent
        anchors.leftMargin: Theme.spacingL
        anchors.rightMargin: Theme.spacingL
        spacing: Theme.spacingM
        ColumnLayout {
            Layout.fillWidth: true
            spacing: 2
            Text {
                text: row.title
                color: Theme.textPrimary
                font.family: Theme.fontFamily
                font.pixelSize: Theme.fontBody
                font.weight: Font.DemiBold
            }
            Text {
                Layout.fillWidth: true
                text: row.detail
                color: Theme.textTertiary
                font.family: Theme.fontFamily
                font.pixelSize: Theme.fontCaption
                elide: Text.ElideRight
            }
        }
        Rectangle {
            width: badge.implicitWidth + 2 * Theme.spacingM
            height: 26
            radius: 13
            color: row.status === "granted" ? Qt.rgba(0.24, 0.84, 0.55, 0.15)
                 : row.status === "denied" ? Qt.rgba(1.0, 0.30, 0.37, 0.15) : Theme.surfaceRaised
            Text {
                id: badge
                anchors.centerIn: parent
                text: row.status === "granted" ? Strings.t("onboarding.permission.granted", "Ready")
                    : row.status === "denied" ? Strings.t("onboarding.permission.denied", "Not available")
                    : Strings.t("onboarding.permission.unknown", "Checking…")
                color: row.status === "granted" ? Theme.success : row.status === "denied" ? Theme.record : Theme.textSecondary
                font.family: Theme.fontFamily
                font.pixelSize: Theme.fontCaption
                font.weight: Font.DemiBold
            }
        }
    }
}
