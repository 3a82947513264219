import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Orvane.Ui

// The first run: what the program does, how a recording becomes a movie, what it may use, and a first
// five-second recording. Left and Right move between pages, Esc skips to the welcome screen.
FocusScope {
    id: onboarding
    objectName: "OnboardingView"
    property alias page: flow.page

    OnboardingModel {
        id: flow
    }

    Keys.onRightPressed: flow.next()
    Keys.onLeftPressed: flow.back()
    Keys.onEscapePressed: flow.finish()

    Rectangle {
        id: panel
        anchors.centerIn: parent
        width: Math.min(parent.width - 2 * Theme.spacingXXL, 760)
        height: Math.min(parent.height - 2 * Theme.spacingXL, 540)
        radius: Theme.radiusLarge + 4
        color: Theme.surfaceRaised
        border.color: Theme.border

        // A faint wash of the accent behind the top of the card.
        Rectangle {
            anchors.left: parent.left
            anchors.right: parent.right
            anchors.top: parent.top
            anchors.margins: 1
            height: 180
            radius: panel.radius
            gradient: Gradient {
                GradientStop { position: 0.0; color: Qt.rgba(Theme.accent.r, Theme.accent.g, Theme.accent.b, 0.10) }
                GradientStop { position: 1.0; color: Qt.rgba(Theme.accent.r, Theme.accent.g, Theme.accent.b, 0.0) }
            }
        }

        ColumnLayout {
            anchors.fill: parent
            anchors.margins: Theme.spacingXXL
            anchors.bottomMargin: Theme.spacingXL
            spacing: Theme.spacingL

            RowLayout {
                Layout.fillWidth: true
                Layout.fillHeight: false
                Text {
                    Layout.fillWidth: true
                    objectName: "onboarding.step"
                    text: Strings.f("onboarding.pageOf", "Step %1 of %2", [flow.page + 1, flow.pageCount]).toUpperCase()
                    color: Theme.accentHover
                    font.family: Theme.fontFamily
                    font.pixelSize: Theme.fontCaption
                    font.weight: Font.Bold
                    font.letterSpacing: 1.2
                }
                Row {
                    objectName: "onboarding.dots"
                    spacing: Theme.spacingS
                    Accessible.role: Accessible.StaticText
                    Accessible.name: Strings.f("onboarding.pageOf", "Step %1 of %2", [flow.page + 1, flow.pageCount])
                    Repeater {
                        model: flow.pageCount
                        Rectangle {
                            required property int index
                            objectName: "onboarding.dot." + index
                            anchors.verticalCenter: parent.verticalCenter
                            width: index === onboarding.page ? 22 : 8
                            height: 8
                            radius: 4
                            color: index === onboarding.page ? Theme.accent : Theme.borderStrong
                            Behavior on width { NumberAnimation { duration: Theme.durationMedium; easing.type: Easing.OutCubic } }
                            // A larger target than the dot itself.
                            TapHandler {
                                target: null
                                margin: 6
                                onTapped: onboarding.page = parent.index
                            }
                        }
                    }
                }
            }

            StackLayout {
                objectName: "onboarding.pages"
                Layout.fillWidth: true
                Layout.fillHeight: true
                currentIndex: flow.page

                // What it is.
                ColumnLayout {
                    objectName: "onboarding.page.0"
                    spacing: Theme.spacingL
                    RowLayout {
                        Layout.fillWidth: true
                        Layout.fillHeight: false
                        Layout.preferredHeight: 56
                        spacing: Theme.spacingL
                        Rectangle {
                            Layout.preferredWidth: 56
                            Layout.preferredHeight: 56
                            radius: 16
                            gradient: Gradient {
                                GradientStop { position: 0.0; color: Theme.accentHover }
                                GradientStop { position: 1.0; color: Theme.accentPressed }
                            }
                            Rectangle {
                                anchors.centerIn: parent
                                width: 22; height: 22; radius: 11
                                color: Theme.textOnAccent
                                Rectangle { anchors.centerIn: parent; width: 10; height: 10; radius: 5; color: Theme.record }
                            }
                        }
                        // One line beside the mark: a title that wraps would make the row's height
                        // depend on a width the row has not given it yet.
                        OnboardingTitle {
                            Layout.fillWidth: true
                            wrapMode: Text.NoWrap
                            elide: Text.ElideRight
                            text: Strings.t("onboarding.welcome.title", "Welcome to Orvane Screen")
                        }
                    }
                    OnboardingMessage {
                        text: Strings.t("onboarding.welcome.message", "Record your screen once. Orvane Screen keeps the pointer and every click beside the movie, then directs it for you.")
                    }
                    RowLayout {
                        Layout.fillWidth: true
                        Layout.fillHeight: false
                        Layout.topMargin: Theme.spacingS
                        spacing: Theme.spacingM
                        OnboardingFeature {
                            Layout.fillWidth: true
                            Layout.preferredWidth: 1
                            Layout.fillHeight: true
                            iconName: "plus.magnifyingglass"
                            title: Strings.t("onboarding.welcome.zoom.title", "Zooms that follow you")
                            text: Strings.t("onboarding.welcome.zoom.text", "Every click becomes a smooth zoom to where it happened.")
                        }
                        OnboardingFeature {
                            Layout.fillWidth: true
                            Layout.preferredWidth: 1
                            Layout.fillHeight: true
                            iconName: "wand.and.stars"
                            tint: Theme.warning
                            title: Strings.t("onboarding.welcome.style.title", "A styled frame")
                            text: Strings.t("onboarding.welcome.style.text", "Backgrounds, rounded corners and shadows, changed at any time.")
                        }
                        OnboardingFeature {
                            Layout.fillWidth: true
                            Layout.preferredWidth: 1
                            Layout.fillHeight: true
                            iconName: "record.circle"
                            tint: Theme.success
                            title: Strings.t("onboarding.welcome.pointer.title", "A calm pointer")
                            text: Strings.t("onboarding.welcome.pointer.text", "The pointer glides instead of jumping, and clicks show.")
                        }
                    }
                    Item { Layout.fillHeight: true }
                }

                // How a recording becomes a movie.
                ColumnLayout {
                    objectName: "onboarding.page.1"
                    spacing: Theme.spacingXL
                    OnboardingTitle {
                        Layout.fillWidth: true
                        text: Strings.t("onboarding.how.title", "Record, direct, export")
                    }
                    OnboardingStep {
                        Layout.fillWidth: true
                        number: 1
                        iconName: "record.circle.fill"
                        title: Strings.t("onboarding.how.record.title", "Record")
                        text: Strings.t("onboarding.how.record.text", "A display, one window or an application, with your microphone, the system's sound and your camera.")
                    }
                    OnboardingStep {
                        Layout.fillWidth: true
                        number: 2
                        iconName: "wand.and.stars"
                        title: Strings.t("onboarding.how.direct.title", "Direct")
                        text: Strings.t("onboarding.how.direct.text", "Zooms follow your clicks; background, frame, shadow and pointer are styles you can change at any time.")
                    }
                    OnboardingStep {
                        Layout.fillWidth: true
                        number: 3
                        iconName: "square.and.arrow.down"
                        title: Strings.t("onboarding.how.export.title", "Export")
                        text: Strings.t("onboarding.how.export.text", "H.264, HEVC, ProRes or GIF, rendered in the background while you keep working.")
                    }
                    Item { Layout.fillHeight: true }
                }

                // What it uses.
                ColumnLayout {
                    objectName: "onboarding.page.2"
                    spacing: Theme.spacingM
                    OnboardingTitle {
                        Layout.fillWidth: true
                        text: Strings.t("onboarding.permissions.title", "What Orvane Screen uses")
                    }
                    OnboardingMessage {
                        Layout.bottomMargin: Theme.spacingXS
                        text: Strings.t("onboarding.permissions.message", "Nothing is recorded until you press Start. The microphone and the camera are used only when you turn them on.")
                    }
                    OnboardingPermissionRow {
                        objectName: "onboarding.permissions.screen"
                        iconName: "display"
                        title: Strings.t("onboarding.permissions.screen", "Screen")
                        detail: Strings.t("onboarding.permissions.screen.detail", "To record displays, windows and applications")
                        status: flow.screenStatus
                        actionName: "onboarding.permissions.screen.check"
                        actionText: Strings.t("onboarding.permissions.screen.check", "Check Again")
                        actionHint: Strings.t("onboarding.permissions.screen.check.hint", "Looks again at whether the screen can be read")
                        onActionClicked: App.refreshPermissions()
                    }
                    OnboardingPermissionRow {
                        objectName: "onboarding.permissions.microphone"
                        iconName: "mic"
                        title: Strings.t("onboarding.permissions.microphone", "Microphone")
                        detail: Strings.t("onboarding.permissions.microphone.detail", "Your voice and the system's sound")
                        status: flow.microphoneStatus
                        actionName: "onboarding.permissions.microphone.request"
                        actionText: Strings.t("onboarding.permissions.microphone.request", "Check Again")
                        actionHint: Strings.t("onboarding.permissions.microphone.request.hint", "Asks the sound server whether the microphone can be recorded")
                        onActionClicked: flow.requestMicrophone()
                    }
                    OnboardingPermissionRow {
                        objectName: "onboarding.permissions.camera"
                        iconName: "video"
                        title: Strings.t("onboarding.permissions.camera", "Camera")
                        detail: Strings.t("onboarding.permissions.camera.detail", "A picture of you in a corner of the recording")
                        status: flow.cameraStatus
                        actionName: "onboarding.permissions.camera.request"
                        actionText: Strings.t("onboarding.permissions.camera.request", "Check Again")
                        actionHint: Strings.t("onboarding.permissions.camera.request.hint", "Looks for a camera that can be opened")
                        onActionClicked: flow.requestCamera()
                    }
                    Item { Layout.fillHeight: true }
                }

                // A first recording.
                ColumnLayout {
                    objectName: "onboarding.page.3"
                    spacing: Theme.spacingL
                    OnboardingTitle {
                        Layout.fillWidth: true
                        text: Strings.t("onboarding.sample.title", "Try it with a five-second recording")
                    }
                    OnboardingMessage {
                        text: Strings.t("onboarding.sample.message", "After a short countdown Orvane Screen records your main display for about five seconds and opens it in the editor. Move the pointer and click something to see the zooms it makes.")
                    }
                    OnboardingSampleTimeline {
                        Layout.fillWidth: true
                        Layout.topMargin: Theme.spacingS
                    }
                    Text {
                        Layout.fillWidth: true
                        text: Strings.t("onboarding.sample.fallback", "Where the screen can't be read, the sample project opens instead.")
                        color: Theme.textTertiary
                        font.family: Theme.fontFamily
                        font.pixelSize: Theme.fontCaption
                        wrapMode: Text.Wrap
                    }
                    Item { Layout.fillHeight: true }
                }
            }

            Rectangle {
                Layout.fillWidth: true
                Layout.preferredHeight: 1
                color: Theme.border
            }

            Item {
                Layout.fillWidth: true
                Layout.preferredHeight: nextButton.implicitHeight

                ActionButton {
                    objectName: "onboarding.back"
                    anchors.left: parent.left
                    anchors.verticalCenter: parent.verticalCenter
                    visible: !flow.onFirstPage
                    kind: "plain"
                    iconName: "chevron.left"
                    text: Strings.t("onboarding.back", "Back")
                    hint: Strings.t("onboarding.back.hint", "The previous page")
                    onClicked: flow.back()
                }

                Row {
                    anchors.right: parent.right
                    anchors.verticalCenter: parent.verticalCenter
                    spacing: Theme.spacingS
                    ActionButton {
                        objectName: "onboarding.skip"
                        kind: flow.onLastPage ? "secondary" : "plain"
                        text: Strings.t("onboarding.skip", "Skip")
                        hint: Strings.t("onboarding.skip.hint", "Go straight to the welcome screen")
                        onClicked: flow.finish()
                    }
                    ActionButton {
                        id: nextButton
                        objectName: "onboarding.next"
                        visible: !flow.onLastPage
                        focus: !flow.onLastPage
                        kind: "primary"
                        text: Strings.t("onboarding.next", "Continue")
                        hint: Strings.t("onboarding.next.hint", "The next page")
                        onClicked: flow.next()
                    }
                    ActionButton {
                        objectName: "onboarding.recordSample"
                        visible: flow.onLastPage
                        focus: flow.onLastPage
                        kind: "destructive"
                        iconName: "record.circle.fill"
                        text: Strings.t("onboarding.recordSample", "Record a 5-second sample")
                        hint: Strings.t("onboarding.recordSample.hint", "Records the main display for about five seconds and opens it in the editor")
                        onClicked: flow.recordSample()
                    }
                }
            }
        }
    }
}
