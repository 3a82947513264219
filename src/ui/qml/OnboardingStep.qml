import QtQuick
import QtQuick.Layouts
import Orvane.Ui

// A numbered step of the way from a recording to a finished movie.
RowLayout {
    id: step
    property int number
    property string iconName
    property string title
    property string text

    spacing: Theme.spacingL
    Accessible.role: Accessible.StaticText
    Accessible.name: title
    Accessible.description: text

    Rectangle {
        Layout.alignment: Qt.AlignTop
        Layout.preferredWidth: 40
        Layout.preferredHeight: 40
        radius: 20
        color: Qt.rgba(Theme.accent.r, Theme.accent.g, Theme.accent.b, 0.16)
        border.color: Qt.rgba(Theme.accent.r, Theme.accent.g, Theme.accent.b, 0.45)
        Text {
            anchors.centerIn: parent
            text: step.number
            color: Theme.accentHover
            font.family: Theme.fontFamily
            font.pixelSize: Theme.fontBodyLarge
            font.weight: Font.Bold
        }
    }
    ColumnLayout {
        Layout.fillWidth: true
        spacing: Theme.spacingXS
        RowLayout {
            spacing: Theme.spacingS
            Icon {
                name: step.iconName
                size: 15
                color: Theme.textSecondary
            }
            Text {
                text: step.title
                color: Theme.textPrimary
                font.family: Theme.fontFamily
                font.pixelSize: Theme.fontBodyLarge
                font.weight: Font.DemiBold
            }
        }
        Text {
            Layout.fillWidth: true
            text: step.text
            color: Theme.textSecondary
            font.family: Theme.fontFamily
            font.pixelSize: Theme.fontBody
            lineHeight: 1.25
            wrapMode: Text.Wrap
        }
    }
}
