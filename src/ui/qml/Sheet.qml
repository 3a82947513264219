import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Orvane.Ui

// A modal sheet over the window: a title, a close button, scrolling content; Esc closes it.
Popup {
    id: sheet
    property string title
    default property alias content: body.data

    parent: Overlay.overlay
    anchors.centerIn: parent
    width: Math.min(parent ? parent.width - 2 * Theme.spacingXXL : 900, 920)
    height: Math.min(parent ? parent.height - 2 * Theme.spacingXXL : 640, implicitHeight)
    modal: true
    focus: true
    padding: 0
    closePolicy: Popup.CloseOnEscape | Popup.CloseOnPressOutside
    Overlay.modal: Rectangle { color: Theme.scrim }

    background: Rectangle {
        color: Theme.surfaceRaised
        radius: Theme.radiusLarge
        border.color: Theme.borderStrong
        border.width: 1
    }

    contentItem: ColumnLayout {
        spacing: 0
        RowLayout {
            Layout.fillWidth: true
            Layout.margins: Theme.spacingXL
            Layout.bottomMargin: Theme.spacingL
            Text {
                Layout.fillWidth: true
                text: sheet.title
                color: Theme.textPrimary
                font.family: Theme.fontFamily
                font.pixelSize: Theme.fontTitle
                font.weight: Font.Bold
                Accessible.role: Accessible.Heading
                Accessible.name: text
            }
            ActionButton {
                id: closeButton
                objectName: sheet.objectName + ".close"
                kind: "plain"
                text: Strings.t("common.done", "Done")
                hint: Strings.t("common.done.hint", "Closes this sheet")
                onClicked: sheet.close()
            }
        }
        Flickable {
            Layout.fillWidth: true
            Layout.fillHeight: true
            Layout.preferredHeight: body.implicitHeight
            Layout.leftMargin: Theme.spacingXL
            Layout.rightMargin: Theme.spacingXL
            Layout.bottomMargin: Theme.spacingXL
            contentHeight: body.implicitHeight
            clip: true
            boundsBehavior: Flickable.StopAtBounds
            ScrollBar.vertical: ScrollBar {}
            Item {
                id: body
                width: parent.width
                implicitHeight: childrenRect.height
            }
        }
    }
    onOpened: closeButton.forceActiveFocus()
}
