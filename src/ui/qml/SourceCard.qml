import QtQuick
import QtQuick.Layouts
import Orvane.Ui

// One thing that can be recorded: its live picture, its name and what it belongs to. The chosen card
// wears the accent; the focused one a ring.
Item {
    id: card
    // The model's roles.
    required property string sourceId
    required property string kind
    required property string title
    required property string subtitle
    required property string sizeText
    required property string accessibleName
    required property bool selected
    required property int index
    property bool current
    signal chosen()

    objectName: "source.card." + sourceId
    Accessible.name: accessibleName
    Accessible.role: Accessible.RadioButton
    Accessible.checkable: true
    Accessible.checked: selected
    Accessible.description: Strings.t("source.card.a11y.hint", "Choose this source to record")
    Accessible.onPressAction: card.chosen()

    Rectangle {
        anchors.fill: parent
        anchors.margins: Theme.spacingS
        radius: Theme.radiusLarge
        color: area.containsMouse ? Theme.surfaceHover : Theme.surface
        border.width: card.selected ? 2 : 1
        border.color: card.selected ? Theme.accent : Theme.border

        // The keyboard's place, drawn outside the card so that it shows on the chosen card too.
        Rectangle {
            anchors.fill: parent
            anchors.margins: -4
            radius: parent.radius + 4
            color: "transparent"
            border.width: Theme.focusRingWidth
            border.color: Theme.focusRing
            visible: card.current
        }

        ColumnLayout {
            anchors.fill: parent
            anchors.margins: Theme.spacingM
            spacing: Theme.spacingS

            Rectangle {
                Layout.fillWidth: true
                Layout.fillHeight: true
                radius: Theme.radiusMedium
                color: Theme.canvas
                clip: true
                Icon {
                    anchors.centerIn: parent
                    visible: !picture.hasPicture
                    name: card.kind === "display" ? "display" : card.kind === "window" ? "macwindow" : "app"
                    size: 36
                    color: Theme.textTertiary
                }
                SourceThumbnailItem {
                    id: picture
                    anchors.fill: parent
                    anchors.margins: Theme.spacingXS
                    sourceID: card.sourceId
                }
            }
            RowLayout {
                Layout.fillWidth: true
                spacing: Theme.spacingS
                ColumnLayout {
                    Layout.fillWidth: true
                    spacing: 0
                    Text {
                        Layout.fillWidth: true
                        text: card.title
                        color: Theme.textPrimary
                        font.family: Theme.fontFamily
                        font.pixelSize: Theme.fontBody
                        font.weight: Font.DemiBold
                        elide: Text.ElideRight
                    }
                    Text {
                        Layout.fillWidth: true
                        text: card.subtitle
                        color: Theme.textTertiary
                        font.family: Theme.fontFamily
                        font.pixelSize: Theme.fontCaption
                        elide: Text.ElideRight
                    }
                }
                Rectangle {
                    visible: card.selected
                    width: 22
                    height: 22
                    radius: 11
                    color: Theme.accent
                    Icon {
                        anchors.centerIn: parent
                        name: "checkmark"
                        size: 13
                        color: Theme.textOnAccent
                    }
                }
            }
        }
        MouseArea {
            id: area
            anchors.fill: parent
            hoverEnabled: true
            onClicked: card.chosen()
        }
    }
}
