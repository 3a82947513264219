import QtQuick
import QtQuick.Layouts
import Orvane.Ui

// Shown while files are dragged over the editor.
Rectangle {
    objectName: "editor.dropOverlay"
    // Opaque: the empty state's own words sit where these do and would read through.
    color: Qt.rgba(0.06, 0.07, 0.08, 1.0)

    Rectangle {
        anchors.fill: parent
        anchors.margins: Theme.spacingXL
        radius: Theme.radiusLarge
        color: Qt.rgba(0.486, 0.424, 1.0, 0.08)
        border.width: 2
        border.color: Theme.accent

        ColumnLayout {
            anchors.centerIn: parent
            spacing: Theme.spacingM
            Icon {
                Layout.alignment: Qt.AlignHCenter
                name: "square.and.arrow.down.on.square"
                size: 56
                color: Theme.accentHover
            }
            Text {
                Layout.alignment: Qt.AlignHCenter
                text: Strings.t("editor.drop.title", "Drop to import")
                color: Theme.textPrimary
                font.family: Theme.fontFamily
                font.pixelSize: Theme.fontTitle
                font.weight: Font.Bold
                Accessible.role: Accessible.StaticText
                Accessible.name: text
            }
            Text {
                Layout.alignment: Qt.AlignHCenter
                text: Strings.t("editor.drop.formats", "MOV, MP4, M4V, MKV video · MP3, M4A, WAV, AIFF, FLAC audio")
                color: Theme.textSecondary
                font.family: Theme.fontFamily
                font.pixelSize: Theme.fontBody
            }
        }
    }
}
