import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Orvane.Ui

// A first look at the editor in four steps: the preview, the timeline, Auto-Zoom and Export. Each step
// lights up its part of the screen; Skip or Done ends the tour for good, Esc too.
Item {
    id: overlay
    objectName: "editor.tutorial"
    property EditorModel model
    property Item previewArea
    property Item timelineArea
    property Item autoZoomButton
    property Item exportButton

    readonly property var steps: [
        { target: previewArea,
          title: Strings.t("editor.tutorial.preview.title", "Watch it as it will look"),
          body: Strings.t("editor.tutorial.preview.body", "The preview plays the selected clip with its background, frame, cursor and zoom. Space plays and pauses; J, K and L shuttle; the arrow keys step a frame.") },
        { target: timelineArea,
          title: Strings.t("editor.tutorial.timeline.title", "Shape it on the timeline"),
          body: Strings.t("editor.tutorial.timeline.body", "Drag a clip to move it, drag its edges to trim, and press Ctrl+K to split at the playhead. Every change can be undone with Ctrl+Z.") },
        { target: autoZoomButton,
          title: Strings.t("editor.tutorial.autoZoom.title", "Let the clicks direct"),
          body: Strings.t("editor.tutorial.autoZoom.body", "Auto-Zoom moves in where you clicked while recording and back out when you move on.") },
        { target: exportButton,
          title: Strings.t("editor.tutorial.export.title", "Share it"),
          body: Strings.t("editor.tutorial.export.body", "Export renders the project in the background while you keep working.") }
    ]
    readonly property var step: model ? steps[Math.min(model.tutorialStep, steps.length - 1)] : steps[0]
    readonly property rect spot: {
        const t = step.target
        if (!t || !t.visible || t.width <= 0)
            return Qt.rect(width / 2, height / 2, 0, 0)
        const p = t.mapToItem(overlay, 0, 0)
        return Qt.rect(p.x - 6, p.y - 6, t.width + 12, t.height + 12)
    }

    onVisibleChanged: if (visible) card.forceActiveFocus()

    // The scrim around the lit part; clicks on it do nothing.
    MouseArea {
        anchors.fill: parent
        acceptedButtons: Qt.AllButtons
    }
    Rectangle { x: 0; y: 0; width: parent.width; height: overlay.spot.y; color: Theme.scrim }
    Rectangle { x: 0; y: overlay.spot.y + overlay.spot.height; width: parent.width; height: parent.height - y; color: Theme.scrim }
    Rectangle { x: 0; y: overlay.spot.y; width: overlay.spot.x; height: overlay.spot.height; color: Theme.scrim }
    Rectangle {
        x: overlay.spot.x + overlay.spot.width
        y: overlay.spot.y
        width: parent.width - x
        height: overlay.spot.height
        color: Theme.scrim
    }
    Rectangle {
        x: overlay.spot.x
        y: overlay.spot.y
        width: overlay.spot.width
        height: overlay.spot.height
        radius: Theme.radiusMedium
        color: "transparent"
        border.width: 2
        border.color: Theme.accent
    }

    FocusScope {
        id: card
        objectName: "editor.tutorial.card"
        width: 380
        height: column.implicitHeight + 2 * Theme.spacingXL
        // Beside the lit part: below it when there is room, else above, kept inside the window.
        x: Math.max(Theme.spacingL, Math.min(overlay.width - width - Theme.spacingL,
                                             overlay.spot.x + overlay.spot.width / 2 - width / 2))
        y: overlay.spot.y + overlay.spot.height + height + Theme.spacingL < overlay.height
           ? overlay.spot.y + overlay.spot.height + Theme.spacingL
           : Math.max(Theme.spacingL, overlay.spot.y - height - Theme.spacingL)
        Accessible.role: Accessible.Dialog
        Accessible.name: overlay.step.title
        Keys.onEscapePressed: overlay.model.completeTutorial()

        Rectangle {
            anchors.fill: parent
            radius: Theme.radiusLarge
            color: Theme.surfaceRaised
            border.color: Theme.borderStrong
        }

        ColumnLayout {
            id: column
            anchors.fill: parent
            anchors.margins: Theme.spacingXL
            spacing: Theme.spacingM

            Text {
                text: Strings.f("editor.tutorial.progress", "Step %1 of %2",
                                [overlay.model ? overlay.model.tutorialStep + 1 : 1, overlay.steps.length])
                color: Theme.accentHover
                font.family: Theme.fontFamily
                font.pixelSize: Theme.fontCaption
                font.weight: Font.DemiBold
            }
            Text {
                objectName: "editor.tutorial.title"
                Layout.fillWidth: true
                wrapMode: Text.Wrap
                text: overlay.step.title
                color: Theme.textPrimary
                font.family: Theme.fontFamily
                font.pixelSize: Theme.fontTitle
                font.weight: Font.Bold
                Accessible.role: Accessible.Heading
                Accessible.name: text
            }
            Text {
                Layout.fillWidth: true
                wrapMode: Text.Wrap
                text: overlay.step.body
                color: Theme.textSecondary
                font.family: Theme.fontFamily
                font.pixelSize: Theme.fontBody
                lineHeight: 1.2
            }
            RowLayout {
                Layout.fillWidth: true
                Layout.topMargin: Theme.spacingS
                ActionButton {
                    objectName: "editor.tutorial.skip"
                    kind: "plain"
                    visible: overlay.model && overlay.model.tutorialStep + 1 < overlay.steps.length
                    text: Strings.t("editor.tutorial.skip", "Skip")
                    hint: Strings.t("editor.tutorial.skip.hint", "Ends the tour")
                    onClicked: overlay.model.completeTutorial()
                }
                Item { Layout.fillWidth: true }
                ActionButton {
                    objectName: "editor.tutorial.next"
                    kind: "primary"
                    focus: true
                    text: overlay.model && overlay.model.tutorialStep + 1 < overlay.steps.length
                          ? Strings.t("editor.tutorial.next", "Next") : Strings.t("editor.tutorial.done", "Done")
                    hint: Strings.t("editor.tutorial.next.hint", "Shows the next step")
                    onClicked: overlay.model.nextTutorialStep()
                }
            }
        }
    }
}
