import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Orvane.Ui

// A recent project: its picture, its name, when it was last opened and how long it runs.
Button {
    id: card
    required property string name
    required property string path
    required property string thumbnail
    required property string lastOpenedText
    required property string durationText
    required property int index

    objectName: "welcome.recent.card." + index
    focusPolicy: Qt.StrongFocus
    hoverEnabled: true
    padding: Theme.spacingS
    Accessible.name: name
    Accessible.description: Strings.t("welcome.recent.openHint", "Open this recent project in the editor")
    Keys.onReturnPressed: card.clicked()
    Keys.onEnterPressed: card.clicked()

    contentItem: ColumnLayout {
        spacing: Theme.spacingS
        Rectangle {
            objectName: "welcome.recent.frame"
            Layout.fillWidth: true
            Layout.preferredHeight: width * 9 / 16
            radius: Theme.radiusMedium
            color: Theme.canvas
            clip: true
            Icon {
                anchors.centerIn: parent
                visible: picture.status !== Image.Ready
                name: "video.fill"
                size: 28
                color: Theme.textTertiary
            }
            Image {
                id: picture
                objectName: "welcome.recent.thumbnail"
                anchors.fill: parent
                source: card.thumbnail
                asynchronous: true
                cache: false
                fillMode: Image.PreserveAspectCrop
                sourceSize.width: 320
                sourceSize.height: 180
                visible: status === Image.Ready
            }
            Rectangle {
                anchors.right: parent.right
                anchors.bottom: parent.bottom
                anchors.margins: Theme.spacingS
                visible: card.durationText.length > 0
                width: durationLabel.implicitWidth + Theme.spacingM
                height: durationLabel.implicitHeight + Theme.spacingXS
                radius: Theme.radiusSmall
                color: Theme.scrim
                Text {
                    id: durationLabel
                    anchors.centerIn: parent
                    text: card.durationText
                    color: Theme.textPrimary
                    font.family: Theme.fontFamily
                    font.pixelSize: Theme.fontCaption
                    font.weight: Font.DemiBold
                }
            }
        }
        Text {
            Layout.fillWidth: true
            Layout.leftMargin: Theme.spacingXS
            text: card.name
            color: Theme.textPrimary
            font.family: Theme.fontFamily
            font.pixelSize: Theme.fontBody
            font.weight: Font.DemiBold
            elide: Text.ElideRight
        }
        Text {
            Layout.fillWidth: true
            Layout.leftMargin: Theme.spacingXS
            Layout.bottomMargin: Theme.spacingXS
            text: card.lastOpenedText
            color: Theme.textTertiary
            font.family: Theme.fontFamily
            font.pixelSize: Theme.fontCaption
            elide: Text.ElideRight
        }
    }

    background: Rectangle {
        radius: Theme.radiusLarge
        color: card.hovered ? Theme.surfaceHover : Theme.surface
        border.width: card.visualFocus ? Theme.focusRingWidth : 1
        border.color: card.visualFocus ? Theme.focusRing : Theme.border
    }
}
