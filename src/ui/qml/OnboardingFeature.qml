import QtQuick
import QtQuick.Layouts
import Orvane.Ui

// One thing the program does for a recording, as a tile: a tinted symbol, a title and a line.
Rectangle {
    id: feature
    property string iconName
    property color tint: Theme.accent
    property string title
    property string text

    implicitHeight: column.implicitHeight + 2 * Theme.spacingL
    radius: Theme.radiusMedium
    color: Theme.surface
    border.color: Theme.border
    Accessible.role: Accessible.StaticText
    Accessible.name: title
    Accessible.description: text

    ColumnLayout {
        id: column
        anchors.left: parent.left
        anchors.right: parent.right
        anchors.top: parent.top
        anchors.margins: Theme.spacingL
        spacing: Theme.spacingS
        Rectangle {
            Layout.preferredWidth: 32
            Layout.preferredHeight: 32
            Layout.bottomMargin: Theme.spacingXS
            radius: Theme.radiusSmall
            color: Qt.rgba(feature.tint.r, feature.tint.g, feature.tint.b, 0.16)
            Icon {
                anchors.centerIn: parent
                name: feature.iconName
                size: 17
                color: feature.tint
            }
        }
        Text {
            Layout.fillWidth: true
            text: feature.title
            color: Theme.textPrimary
            font.family: Theme.fontFamily
            font.pixelSize: Theme.fontBody
            font.weight: Font.DemiBold
            wrapMode: Text.Wrap
        }
        Text {
            Layout.fillWidth: true
            text: feature.text
            color: Theme.textSecondary
            font.family: Theme.fontFamily
            font.pixelSize: Theme.fontCaption
            lineHeight: 1.25
            wrapMode: Text.Wrap
        }
    }
}
