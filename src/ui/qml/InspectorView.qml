import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Orvane.Ui

// The panel beside the preview that styles the selected clip: fourteen tabs, each a small form. The
// table's rows (sliders, switches, pickers) come from InspectorModel; each tab adds its own controls.
Rectangle {
    id: panel
    property string clipId
    property double playheadTime
    readonly property alias inspector: inspectorModel
    signal scrubRequested(double seconds)

    objectName: "InspectorView"
    color: Theme.surface

    InspectorModel {
        id: inspectorModel
        objectName: "inspectorModel"
        clipId: panel.clipId
        playheadTime: panel.playheadTime
        onScrubTo: (seconds) => panel.scrubRequested(seconds)
    }

    readonly property var tabGlyphs: ["\u25D0", "\u25A2", "\u27A4", "\u2295", "\u25C9", "\u25D1", "\u21C4",
        "T", "\u275D", "\u25C7", "\u25F7", "\u25C6", "\u2606", "\u223F"]
    readonly property var currentTab: inspectorModel.tabs[inspectorModel.selectedTab]
    // The transition's chips and the ramp sit above their rows, and the forms of the tabs that have no
    // rows go first too; the other forms follow their rows.
    readonly property bool formFirst: [6, 7, 8, 10, 11, 12].includes(inspectorModel.selectedTab)

    // With nothing selected.
    ColumnLayout {
        objectName: "inspector.empty"
        visible: !inspectorModel.hasClip
        anchors.centerIn: parent
        width: parent.width - 2 * Theme.spacingXL
        spacing: Theme.spacingS
        Text {
            Layout.fillWidth: true
            horizontalAlignment: Text.AlignHCenter
            text: Strings.t("inspector.empty.title", "No Clip Selected")
            color: Theme.textPrimary
            font.family: Theme.fontFamily
            font.pixelSize: Theme.fontBodyLarge
            font.weight: Font.DemiBold
            wrapMode: Text.Wrap
        }
        Text {
            Layout.fillWidth: true
            horizontalAlignment: Text.AlignHCenter
            text: Strings.t("inspector.empty.subtitle", "Select a clip on the timeline to style it.")
            color: Theme.textSecondary
            font.family: Theme.fontFamily
            font.pixelSize: Theme.fontCaption
            wrapMode: Text.Wrap
        }
    }

    ColumnLayout {
        visible: inspectorModel.hasClip
        anchors.fill: parent
        spacing: 0

        // The tab picker: one Tab stop; the arrow keys move between tabs.
        FocusScope {
            id: picker
            objectName: "inspector.tabs"
            Layout.fillWidth: true
            Layout.margins: Theme.spacingS
            implicitHeight: grid.implicitHeight
            activeFocusOnTab: true
            Accessible.role: Accessible.PageTabList
            Accessible.name: Strings.t("inspector.tabs", "Inspector")
            Accessible.description: Strings.t("inspector.tab.a11y.hint", "Chooses which part of the clip to style")
            Keys.onLeftPressed: inspectorModel.selectedTab = Math.max(0, inspectorModel.selectedTab - 1)
            Keys.onRightPressed: inspectorModel.selectedTab = Math.min(inspectorModel.tabs.length - 1, inspectorModel.selectedTab + 1)
            Keys.onUpPressed: inspectorModel.selectedTab = Math.max(0, inspectorModel.selectedTab - 7)
            Keys.onDownPressed: inspectorModel.selectedTab = Math.min(inspectorModel.tabs.length - 1, inspectorModel.selectedTab + 7)

            GridLayout {
                id: grid
                anchors.left: parent.left
                anchors.right: parent.right
                columns: 7
                columnSpacing: 2
                rowSpacing: 2
                Repeater {
                    model: inspectorModel.tabs
                    delegate: Rectangle {
                        id: tab
                        required property var modelData
                        required property int index
                        readonly property bool isSelected: index === inspectorModel.selectedTab
                        objectName: modelData.key
                        Layout.fillWidth: true
                        Layout.preferredHeight: 34
                        radius: Theme.radiusSmall
                        color: isSelected ? Theme.accent : (hover.hovered ? Theme.surfaceHover : "transparent")
                        border.color: picker.activeFocus && isSelected ? Theme.focusRing : "transparent"
                        border.width: Theme.focusRingWidth
                        Accessible.role: Accessible.PageTab
                        Accessible.name: Strings.t(modelData.key, modelData.label)
                        Accessible.selected: isSelected
                        HoverHandler { id: hover }
                        ToolTip.visible: hover.hovered
                        ToolTip.text: Strings.t(modelData.key, modelData.label)
                        Text {
                            anchors.centerIn: parent
                            text: panel.tabGlyphs[tab.index]
                            color: tab.isSelected ? Theme.textOnAccent : Theme.textSecondary
                            font.pixelSize: 15
                            font.weight: Font.DemiBold
                        }
                        MouseArea {
                            anchors.fill: parent
                            onClicked: {
                                picker.forceActiveFocus()
                                inspectorModel.selectedTab = tab.index
                            }
                        }
                    }
                }
            }
        }

        Text {
            objectName: "inspector.tabTitle"
            Layout.fillWidth: true
            Layout.leftMargin: Theme.spacingL
            Layout.rightMargin: Theme.spacingL
            Layout.bottomMargin: Theme.spacingS
            text: panel.currentTab ? Strings.t(panel.currentTab.key, panel.currentTab.label) : ""
            color: Theme.textPrimary
            font.family: Theme.fontFamily
            font.pixelSize: Theme.fontBodyLarge
            font.weight: Font.DemiBold
            Accessible.role: Accessible.Heading
            Accessible.name: text
        }

        Rectangle {
            Layout.fillWidth: true
            Layout.preferredHeight: 1
            color: Theme.border
        }

        ScrollView {
            id: scroll
            objectName: "inspector.scroll"
            Layout.fillWidth: true
            Layout.fillHeight: true
            contentWidth: availableWidth
            clip: true

            ColumnLayout {
                width: scroll.availableWidth - 2 * Theme.spacingL
                x: Theme.spacingL
                spacing: Theme.spacingM

                Item { Layout.preferredHeight: Theme.spacingXS }

                Loader {
                    id: formBefore
                    Layout.fillWidth: true
                    Layout.preferredHeight: item ? item.implicitHeight : 0
                    sourceComponent: panel.formFirst ? panel.formFor(inspectorModel.selectedTab) : null
                }
                InspectorControlRows {
                    Layout.fillWidth: true
                    inspector: inspectorModel
                }
                Loader {
                    id: formAfter
                    Layout.fillWidth: true
                    Layout.preferredHeight: item ? item.implicitHeight : 0
                    sourceComponent: panel.formFirst ? null : panel.formFor(inspectorModel.selectedTab)
                }
                Item { Layout.preferredHeight: Theme.spacingL }
            }
        }
    }

    function formFor(tab) {
        switch (tab) {
        case 0: return backgroundForm
        case 3: return zoomForm
        case 4: return cameraForm
        case 5: return colorForm
        case 6: return transitionForm
        case 7: return textForm
        case 8: return captionsForm
        case 9: return perspectiveForm
        case 10: return speedForm
        case 11: return keyframesForm
        case 12: return stickersForm
        }
        return null
    }

    Component { id: backgroundForm; InspectorBackgroundForm { inspector: inspectorModel } }
    Component { id: cameraForm; InspectorCameraForm { inspector: inspectorModel } }
    Component { id: colorForm; InspectorColorForm { inspector: inspectorModel } }
    Component { id: transitionForm; InspectorTransitionForm { inspector: inspectorModel } }
    Component { id: textForm; InspectorTextForm { inspector: inspectorModel } }
    Component { id: speedForm; InspectorSpeedForm { inspector: inspectorModel } }
    Component { id: keyframesForm; InspectorKeyframesForm { inspector: inspectorModel } }
    Component { id: stickersForm; InspectorStickersForm { inspector: inspectorModel } }
    Component {
        id: zoomForm
        Text {
            objectName: "inspector.zoom.keyframeCount"
            text: Strings.t("inspector.zoom.keyframeCount", "Zoom keyframes") + ": " + (inspectorModel.form.zoomKeyframeCount ?? 0)
            color: Theme.textSecondary
            font.family: Theme.fontFamily
            font.pixelSize: Theme.fontCaption
        }
    }
    Component {
        id: captionsForm
        ColumnLayout {
            spacing: Theme.spacingS
            Text {
                objectName: "inspector.captions.count"
                text: Strings.t("inspector.captions.count", "Captions") + ": " + (inspectorModel.form.captionCount ?? 0)
                color: Theme.textPrimary
                font.family: Theme.fontFamily
                font.pixelSize: Theme.fontBody
            }
            InspectorNote {
                key: "inspector.captions.note"
                fallback: "Captions come from the clip's speech or from an imported LRC file."
            }
        }
    }
    Component {
        id: perspectiveForm
        ColumnLayout {
            InspectorNote {
                key: "inspector.perspective.title"
                fallback: "Tilt the recording in 3D space."
            }
            ActionButton {
                objectName: "inspector.perspective.reset"
                text: Strings.t("inspector.perspective.reset", "Reset Tilt")
                font.pixelSize: Theme.fontCaption
                onClicked: inspectorModel.resetPerspective()
            }
        }
    }
}
