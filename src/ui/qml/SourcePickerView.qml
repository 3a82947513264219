import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Orvane.Ui

// What to record: displays, windows or applications, each with a live picture; which sounds and the
// camera go along; and Start.
FocusScope {
    id: picker
    objectName: "SourcePickerView"

    SourcesModel {
        id: sources
    }

    Component.onCompleted: {
        sources.refresh()
        grid.forceActiveFocus()
    }

    ColumnLayout {
        anchors.fill: parent
        anchors.margins: Theme.spacingXL
        spacing: Theme.spacingL

        RowLayout {
            Layout.fillWidth: true
            spacing: Theme.spacingM
            ActionButton {
                objectName: "source.back"
                kind: "plain"
                iconName: "chevron.left"
                text: Strings.t("source.back", "Back")
                hint: Strings.t("source.back.hint", "Back to the welcome screen")
                onClicked: App.goHome()
            }
            Text {
                Layout.fillWidth: true
                text: Strings.t("source.title", "What do you want to record?")
                color: Theme.textPrimary
                font.family: Theme.fontFamily
                font.pixelSize: Theme.fontHeadline
                font.weight: Font.Bold
                elide: Text.ElideRight
                Accessible.role: Accessible.Heading
                Accessible.name: text
            }
            // A refresh over cards already shown keeps them and says so here.
            Row {
                objectName: "source.loading"
                visible: sources.isLoading && sources.count > 0
                spacing: Theme.spacingS
                BusyIndicator {
                    anchors.verticalCenter: parent.verticalCenter
                    width: 20
                    height: 20
                    padding: 0
                    palette.dark: Theme.textSecondary
                    running: parent.visible
                }
                Text {
                    anchors.verticalCenter: parent.verticalCenter
                    text: Strings.t("source.loading", "Looking for things to record…")
                    color: Theme.textSecondary
                    font.family: Theme.fontFamily
                    font.pixelSize: Theme.fontBody
                }
            }
            ActionButton {
                objectName: "source.refresh"
                iconName: "arrow.clockwise"
                text: Strings.t("source.refresh", "Refresh")
                hint: Strings.t("source.refresh.hint", "Looks for displays, windows and applications again")
                enabled: !sources.isLoading
                onClicked: sources.refresh()
            }
        }

        // The filter: one kind of source at a time.
        Rectangle {
            Layout.preferredWidth: filterRow.implicitWidth + 8
            Layout.preferredHeight: 40
            radius: Theme.radiusMedium
            color: Theme.surface
            border.color: Theme.border
            Row {
                id: filterRow
                anchors.centerIn: parent
                spacing: 2
                // One stop for Tab, the shown kind; the arrow keys move between the kinds.
                Repeater {
                    id: filterTabs
                    model: [
                        { mode: "display", key: "source.filter.displays", text: "Displays" },
                        { mode: "window", key: "source.filter.windows", text: "Windows" },
                        { mode: "app", key: "source.filter.apps", text: "Applications" }
                    ]
                    ActionButton {
                        id: filterTab
                        required property var modelData
                        required property int index
                        readonly property bool shown: sources.filterMode === modelData.mode
                        objectName: modelData.key
                        kind: shown ? "primary" : "plain"
                        focusPolicy: shown ? Qt.StrongFocus : Qt.ClickFocus
                        text: Strings.t(modelData.key, modelData.text)
                        hint: Strings.t(modelData.key + ".hint", "Show " + modelData.text.toLowerCase())
                        topPadding: Theme.spacingXS + 2
                        bottomPadding: Theme.spacingXS + 2
                        Accessible.role: Accessible.PageTab
                        Accessible.checked: shown
                        onClicked: sources.filterMode = modelData.mode
                        function step(by) {
                            const next = filterTabs.itemAt((index + by + filterTabs.count) % filterTabs.count)
                            // Focus first: a button keeps its place in the Tab order while it holds focus.
                            next.forceActiveFocus(Qt.TabFocusReason)
                            sources.filterMode = next.modelData.mode
                        }
                        Keys.onLeftPressed: step(-1)
                        Keys.onRightPressed: step(1)
                    }
                }
            }
        }

        Item {
            Layout.fillWidth: true
            Layout.fillHeight: true

            GridView {
                id: grid
                objectName: "source.grid"
                // Each card keeps a gutter inside its cell; the grid reaches into the page's margins by as
                // much, so the cards line up with the header and the bar below.
                anchors.fill: parent
                anchors.leftMargin: -Theme.spacingS
                anchors.rightMargin: -Theme.spacingS
                clip: true
                model: sources
                focus: true
                activeFocusOnTab: true
                cellWidth: Math.floor(width / Math.max(1, Math.floor(width / 300)))
                cellHeight: Math.round(cellWidth * 9 / 16) + 64
                keyNavigationEnabled: true
                currentIndex: Math.max(0, sources.selectedRow)
                boundsBehavior: Flickable.StopAtBounds
                ScrollBar.vertical: ScrollBar {}
                Accessible.role: Accessible.List
                Accessible.name: Strings.t("source.title", "What do you want to record?")
                Keys.onSpacePressed: if (currentItem) sources.select(currentItem.sourceId)
                Keys.onReturnPressed: if (currentItem) sources.select(currentItem.sourceId)
                Keys.onEnterPressed: if (currentItem) sources.select(currentItem.sourceId)

                delegate: SourceCard {
                    id: delegateCard
                    width: GridView.view.cellWidth
                    height: GridView.view.cellHeight
                    current: GridView.isCurrentItem && grid.activeFocus
                    Component.onCompleted: sources.fetchThumbnail(delegateCard.index)
                    Connections {
                        target: sources
                        function onPicturesForgotten() { sources.fetchThumbnail(delegateCard.index) }
                    }
                    onChosen: {
                        grid.currentIndex = delegateCard.index
                        grid.forceActiveFocus()
                        sources.select(delegateCard.sourceId)
                    }
                }
            }

            ColumnLayout {
                anchors.centerIn: parent
                visible: sources.isLoading && sources.count === 0
                spacing: Theme.spacingM
                BusyIndicator {
                    Layout.alignment: Qt.AlignHCenter
                    palette.dark: Theme.textSecondary
                    running: parent.visible
                }
                Text {
                    objectName: "source.loading"
                    Layout.alignment: Qt.AlignHCenter
                    text: Strings.t("source.loading", "Looking for things to record…")
                    color: Theme.textSecondary
                    font.family: Theme.fontFamily
                    font.pixelSize: Theme.fontBody
                }
            }

            ColumnLayout {
                objectName: "source.empty"
                anchors.centerIn: parent
                width: Math.min(parent.width, 460)
                visible: !sources.isLoading && sources.count === 0
                spacing: Theme.spacingS
                Rectangle {
                    Layout.alignment: Qt.AlignHCenter
                    Layout.bottomMargin: Theme.spacingS
                    width: 72
                    height: 72
                    radius: 36
                    color: Theme.surfaceRaised
                    border.color: Theme.border
                    Icon {
                        anchors.centerIn: parent
                        name: sources.filterMode === "display" ? "display" : sources.filterMode === "window" ? "macwindow" : "app"
                        size: 32
                        color: Theme.textSecondary
                    }
                }
                Text {
                    objectName: "source.empty." + sources.filterMode + ".title"
                    Layout.fillWidth: true
                    horizontalAlignment: Text.AlignHCenter
                    text: sources.filterMode === "display" ? Strings.t("source.empty.display.title", "No displays found")
                        : sources.filterMode === "window" ? Strings.t("source.empty.window.title", "No windows to record")
                        : Strings.t("source.empty.app.title", "No applications to record")
                    color: Theme.textPrimary
                    font.family: Theme.fontFamily
                    font.pixelSize: Theme.fontTitle
                    font.weight: Font.DemiBold
                    wrapMode: Text.Wrap
                }
                Text {
                    objectName: "source.empty." + sources.filterMode + ".subtitle"
                    Layout.fillWidth: true
                    horizontalAlignment: Text.AlignHCenter
                    text: sources.filterMode === "display" ? Strings.t("source.empty.display.subtitle", "Orvane Screen could not read any screen. Check that it may record the display, then refresh.")
                        : sources.filterMode === "window" ? Strings.t("source.empty.window.subtitle", "Open the window you want to record, then refresh.")
                        : Strings.t("source.empty.app.subtitle", "Start the application you want to record, then refresh.")
                    color: Theme.textSecondary
                    font.family: Theme.fontFamily
                    font.pixelSize: Theme.fontBody
                    wrapMode: Text.Wrap
                }
            }
        }

        // What goes along, and Start.
        Rectangle {
            Layout.fillWidth: true
            Layout.preferredHeight: 64
            radius: Theme.radiusLarge
            color: Theme.surface
            border.color: Theme.border
            RowLayout {
                anchors.fill: parent
                anchors.leftMargin: Theme.spacingL
                anchors.rightMargin: Theme.spacingM
                spacing: Theme.spacingS
                SourceToggle {
                    objectName: "source.toggle.systemAudio"
                    text: Strings.t("source.toggle.systemAudio", "System audio")
                    hint: Strings.t("source.toggle.systemAudio.hint", "Records what the computer plays")
                    checked: App.includesSystemAudio
                    onToggled: App.includesSystemAudio = checked
                }
                SourceToggle {
                    objectName: "source.toggle.microphone"
                    text: Strings.t("source.toggle.microphone", "Microphone")
                    hint: Strings.t("source.toggle.microphone.hint", "Records your voice")
                    checked: App.includesMicrophone
                    onToggled: App.includesMicrophone = checked
                }
                SourceToggle {
                    objectName: "source.toggle.webcam"
                    text: Strings.t("source.toggle.webcam", "Camera")
                    hint: Strings.t("source.toggle.webcam.hint", "Records your camera beside the screen")
                    checked: App.includesCamera
                    onToggled: App.includesCamera = checked
                }
                Item { Layout.fillWidth: true }
                ActionButton {
                    objectName: "source.startRecording"
                    kind: "destructive"
                    iconName: "record.circle.fill"
                    enabled: App.canStartRecording && App.selectedSourceID.length > 0
                    text: Strings.t("source.startRecording", "Start Recording")
                    hint: Strings.t("source.startRecording.hint", "Counts down from three, then records the chosen source")
                    onClicked: App.beginCapture()
                }
            }
        }
    }
}
