import QtQuick
import QtQuick.Layouts
import Orvane.Ui

// One thing the recorder uses: what it is for, whether it may be used now, and a button that asks again.
Rectangle {
    id: row
    property string iconName
    property string title
    property string detail
    property string status // "checking", "granted", "denied", "notDetermined"
    property string actionName
    property string actionText
    property string actionHint
    signal actionClicked()

    readonly property color statusColor: status === "granted" ? Theme.success
                                       : status === "denied" ? Theme.record
                                       : status === "notDetermined" ? Theme.warning : Theme.textTertiary

    Layout.fillWidth: true
    implicitHeight: Math.max(68, content.implicitHeight + 2 * Theme.spacingM)
    radius: Theme.radiusMedium
    color: Theme.surface
    border.color: Theme.border
    Accessible.role: Accessible.StaticText
    Accessible.name: title + ": " + badge.text
    Accessible.description: detail

    RowLayout {
        id: content
        anchors.fill: parent
        anchors.leftMargin: Theme.spacingL
        anchors.rightMargin: Theme.spacingM
        spacing: Theme.spacingM
        Rectangle {
            Layout.preferredWidth: 36
            Layout.preferredHeight: 36
            radius: Theme.radiusSmall
            color: Theme.surfaceRaised
            Icon {
                anchors.centerIn: parent
                name: row.iconName
                size: 18
                color: Theme.textSecondary
            }
        }
        ColumnLayout {
            Layout.fillWidth: true
            spacing: 2
            Text {
                Layout.fillWidth: true
                text: row.title
                color: Theme.textPrimary
                font.family: Theme.fontFamily
                font.pixelSize: Theme.fontBody
                font.weight: Font.DemiBold
                elide: Text.ElideRight
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
            objectName: "onboarding.permission.badge"
            Layout.preferredWidth: badgeRow.implicitWidth + 2 * Theme.spacingM
            Layout.preferredHeight: 26
            radius: 13
            color: Qt.rgba(row.statusColor.r, row.statusColor.g, row.statusColor.b, 0.14)
            Row {
                id: badgeRow
                anchors.centerIn: parent
                spacing: 6
                Rectangle {
                    anchors.verticalCenter: parent.verticalCenter
                    width: 7
                    height: 7
                    radius: 3.5
                    color: row.statusColor
                }
                Text {
                    id: badge
                    anchors.verticalCenter: parent.verticalCenter
                    text: row.status === "granted" ? Strings.t("onboarding.permission.granted", "Ready")
                        : row.status === "denied" ? Strings.t("onboarding.permission.denied", "Not available")
                        : row.status === "notDetermined" ? Strings.t("onboarding.permission.notDetermined", "Not asked yet")
                        : Strings.t("onboarding.permission.checking", "Checking…")
                    color: row.status === "checking" ? Theme.textSecondary : row.statusColor
                    font.family: Theme.fontFamily
                    font.pixelSize: Theme.fontCaption
                    font.weight: Font.DemiBold
                }
            }
        }
        ActionButton {
            objectName: row.actionName
            enabled: row.status !== "checking"
            text: row.actionText
            hint: row.actionHint
            onClicked: row.actionClicked()
        }
    }
}
