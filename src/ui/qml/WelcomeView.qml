import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Orvane.Ui

// The first screen: the brand, the four ways in, and the recent projects.
FocusScope {
    id: welcome
    objectName: "WelcomeView"

    RecentProjectsModel {
        id: recents
    }

    // Projects moved or deleted since they were opened leave the list as it appears.
    Component.onCompleted: {
        recents.prune()
        newRecording.forceActiveFocus()
    }

    // Keeps the item the keyboard reached inside the visible part of the page.
    function reveal(item) {
        const top = item.mapToItem(page.contentItem, 0, 0).y - Theme.spacingXL
        const bottom = top + item.height + 2 * Theme.spacingXL
        if (top < page.contentY)
            page.contentY = Math.max(0, top)
        else if (bottom > page.contentY + page.height)
            page.contentY = Math.min(Math.max(0, page.contentHeight - page.height), bottom - page.height)
    }

    Flickable {
        id: page
        anchors.fill: parent
        contentHeight: column.implicitHeight + 2 * Theme.spacingXXL
        boundsBehavior: Flickable.StopAtBounds
        clip: true
        ScrollBar.vertical: ScrollBar {}

        ColumnLayout {
            id: column
            x: Theme.spacingXXL
            y: Theme.spacingXXL
            width: parent.width - 2 * Theme.spacingXXL
            spacing: Theme.spacingXL

            RowLayout {
                spacing: Theme.spacingL
                Rectangle {
                    width: 56
                    height: 56
                    radius: 16
                    gradient: Gradient {
                        GradientStop { position: 0.0; color: Theme.accentHover }
                        GradientStop { position: 1.0; color: Theme.accentPressed }
                    }
                    Rectangle {
                        anchors.centerIn: parent
                        width: 22
                        height: 22
                        radius: 11
                        color: Theme.textOnAccent
                        Rectangle {
                            anchors.centerIn: parent
                            width: 10
                            height: 10
                            radius: 5
                            color: Theme.record
                        }
                    }
                }
                ColumnLayout {
                    spacing: 2
                    Text {
                        text: Strings.t("welcome.brandName", "Orvane Screen")
                        color: Theme.textPrimary
                        font.family: Theme.fontFamily
                        font.pixelSize: Theme.fontDisplay - 6
                        font.weight: Font.Bold
                        Accessible.role: Accessible.Heading
                        Accessible.name: text
                    }
                    Text {
                        text: Strings.t("welcome.tagline", "Screen recordings that look directed, not captured.")
                        color: Theme.textSecondary
                        font.family: Theme.fontFamily
                        font.pixelSize: Theme.fontBodyLarge
                    }
                }
            }

            PermissionsBanner {
                Layout.fillWidth: true
                visible: !App.screenRecordingGranted
            }

            GridLayout {
                Layout.fillWidth: true
                columns: 4
                columnSpacing: Theme.spacingM
                rowSpacing: Theme.spacingM

                WelcomeAction {
                    id: newRecording
                    objectName: "welcome.newRecording"
                    Layout.fillWidth: true
                    Layout.preferredWidth: 1
                    Layout.preferredHeight: 150
                    iconName: "record.circle.fill"
                    tint: Theme.record
                    text: Strings.t("welcome.newRecording", "New Recording")
                    hint: Strings.t("welcome.newRecording.hint", "Record a display, a window or an application")
                    onClicked: App.newRecording()
                    KeyNavigation.right: openProject
                }
                WelcomeAction {
                    id: openProject
                    objectName: "welcome.openProject"
                    Layout.fillWidth: true
                    Layout.preferredWidth: 1
                    Layout.preferredHeight: 150
                    iconName: "folder"
                    text: Strings.t("welcome.openProject", "Open Project")
                    hint: Strings.t("welcome.openProject.hint", "Open a project folder from your disk")
                    onClicked: App.openProject()
                    KeyNavigation.left: newRecording
                    KeyNavigation.right: live
                }
                WelcomeAction {
                    id: live
                    objectName: "welcome.live"
                    Layout.fillWidth: true
                    Layout.preferredWidth: 1
                    Layout.preferredHeight: 150
                    iconName: "dot.radiowaves.left.and.right"
                    tint: Theme.success
                    text: Strings.t("welcome.live", "Live Mode")
                    hint: Strings.t("welcome.live.hint", "Connect to OBS to drive your livestream from Orvane Screen.")
                    onClicked: App.showLive()
                    KeyNavigation.left: openProject
                    KeyNavigation.right: sample
                }
                WelcomeAction {
                    id: sample
                    objectName: "welcome.openSample"
                    Layout.fillWidth: true
                    Layout.preferredWidth: 1
                    Layout.preferredHeight: 150
                    iconName: "play.rectangle"
                    tint: Theme.warning
                    text: Strings.t("welcome.openSample", "Open Sample Project")
                    hint: Strings.t("welcome.openSample.hint", "Open the bundled welcome project to explore the editor")
                    onClicked: App.openSampleProject()
                    KeyNavigation.left: live
                }
            }

            RowLayout {
                Layout.fillWidth: true
                Layout.topMargin: Theme.spacingS
                Text {
                    Layout.fillWidth: true
                    text: Strings.t("welcome.recent.header", "Recent Projects")
                    color: Theme.textPrimary
                    font.family: Theme.fontFamily
                    font.pixelSize: Theme.fontTitle
                    font.weight: Font.DemiBold
                    Accessible.role: Accessible.Heading
                    Accessible.name: text
                }
                ActionButton {
                    objectName: "welcome.recent.clear"
                    kind: "plain"
                    visible: recents.count > 0
                    text: Strings.t("welcome.recent.clear", "Clear")
                    hint: Strings.t("welcome.recent.clear.hint", "Forget the list of recent projects; the projects stay on disk")
                    onClicked: recents.clear()
                }
            }

            GridLayout {
                id: recentGrid
                objectName: "welcome.recent.grid"
                Layout.fillWidth: true
                visible: recents.count > 0
                columns: 4
                columnSpacing: 12
                rowSpacing: 12
                Repeater {
                    model: recents
                    RecentProjectCard {
                        Layout.fillWidth: true
                        Layout.preferredWidth: 1
                        Layout.alignment: Qt.AlignTop
                        onClicked: recents.open(index)
                        onActiveFocusChanged: if (activeFocus) welcome.reveal(this)
                    }
                }
                // Keep four columns when fewer projects are listed.
                Repeater {
                    model: Math.max(0, 4 - recents.count)
                    Item { Layout.fillWidth: true; Layout.preferredWidth: 1 }
                }
            }

            Rectangle {
                objectName: "welcome.recent.empty"
                Layout.fillWidth: true
                Layout.preferredHeight: emptyColumn.implicitHeight + 2 * Theme.spacingXL
                visible: recents.count === 0
                radius: Theme.radiusLarge
                color: Theme.surface
                border.color: Theme.border
                Accessible.role: Accessible.StaticText
                Accessible.name: emptyTitle.text
                Accessible.description: emptyMessage.text
                ColumnLayout {
                    id: emptyColumn
                    anchors.centerIn: parent
                    width: parent.width - 2 * Theme.spacingXL
                    spacing: Theme.spacingS
                    Rectangle {
                        Layout.alignment: Qt.AlignHCenter
                        Layout.preferredWidth: 44
                        Layout.preferredHeight: 44
                        Layout.bottomMargin: Theme.spacingXS
                        radius: 22
                        color: Theme.surfaceRaised
                        Icon {
                            anchors.centerIn: parent
                            name: "video.fill"
                            size: 20
                            color: Theme.textTertiary
                        }
                    }
                    Text {
                        id: emptyTitle
                        Layout.fillWidth: true
                        horizontalAlignment: Text.AlignHCenter
                        text: Strings.t("welcome.recent.empty.title", "No recent projects")
                        color: Theme.textSecondary
                        font.family: Theme.fontFamily
                        font.pixelSize: Theme.fontBody
                        font.weight: Font.DemiBold
                    }
                    Text {
                        id: emptyMessage
                        Layout.fillWidth: true
                        horizontalAlignment: Text.AlignHCenter
                        wrapMode: Text.Wrap
                        text: Strings.t("welcome.recent.empty", "Projects you record or open appear here.")
                        color: Theme.textTertiary
                        font.family: Theme.fontFamily
                        font.pixelSize: Theme.fontCaption
                    }
                }
            }
        }
    }
}
