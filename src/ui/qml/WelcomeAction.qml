import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Orvane.Ui

// One of the welcome screen's large actions: a symbol, a title and a line that says what it does.
Button {
    id: action
    property string iconName
    property string hint
    property color tint: Theme.accent

    focusPolicy: Qt.StrongFocus
    hoverEnabled: true
    Accessible.name: text
    Accessible.description: hint
    Keys.onReturnPressed: action.clicked()
    Keys.onEnterPressed: action.clicked()
    padding: Theme.spacingL

    contentItem: ColumnLayout {
        spacing: Theme.spacingS
        Rectangle {
            width: 40
            height: 40
            radius: Theme.radiusMedium
            color: Qt.rgba(action.tint.r, action.tint.g, action.tint.b, 0.16)
            Icon {
                anchors.centerIn: parent
                name: action.iconName
                size: 22
                color: action.tint
            }
        }
        Item { Layout.preferredHeight: Theme.spacingXS }
        Text {
            Layout.fillWidth: true
            text: action.text
            color: Theme.textPrimary
            font.family: Theme.fontFamily
            font.pixelSize: Theme.fontBodyLarge
            font.weight: Font.DemiBold
            elide: Text.ElideRight
        }
        Text {
            Layout.fillWidth: true
            Layout.fillHeight: true
            text: action.hint
            color: Theme.textSecondary
            font.family: Theme.fontFamily
            font.pixelSize: Theme.fontCaption
            wrapMode: Text.Wrap
            maximumLineCount: 3
            elide: Text.ElideRight
            verticalAlignment: Text.AlignTop
        }
    }

    background: Rectangle {
        radius: Theme.radiusLarge
        color: action.down ? Theme.surface : action.hovered ? Theme.surfaceHover : Theme.surfaceRaised
        border.width: action.visualFocus ? Theme.focusRingWidth : 1
        border.color: action.visualFocus ? Theme.focusRing : Theme.border
    }
}
