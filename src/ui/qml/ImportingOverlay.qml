import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Orvane.Ui

// An import under way: the editor stays visible and the window keeps drawing behind it.
Rectangle {
    objectName: "editor.importingOverlay"
    color: Qt.rgba(0.06, 0.07, 0.08, 0.6)

    // Clicks stop here while the file is copied in.
    MouseArea {
        anchors.fill: parent
        acceptedButtons: Qt.AllButtons
        hoverEnabled: true
    }

    Rectangle {
        anchors.centerIn: parent
        width: row.implicitWidth + 2 * Theme.spacingXL
        height: 64
        radius: Theme.radiusMedium
        color: Theme.surfaceRaised
        border.color: Theme.borderStrong
        RowLayout {
            id: row
            anchors.centerIn: parent
            spacing: Theme.spacingM
            BusyIndicator {
                running: parent.visible
                Layout.preferredWidth: 28
                Layout.preferredHeight: 28
            }
            Text {
                text: Strings.t("editor.importing", "Importing…")
                color: Theme.textPrimary
                font.family: Theme.fontFamily
                font.pixelSize: Theme.fontBodyLarge
                Accessible.role: Accessible.StaticText
                Accessible.name: text
            }
        }
    }
}
