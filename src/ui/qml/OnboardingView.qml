import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Orvane.Ui

// The first run: what the program does, how, what it may use, and a first five-second recording. Left
// and Right move between pages, Esc skips to the welcome screen.
FocusScope {
    id: onboarding
    objectName: "OnboardingView"
    property int page: 0
    readonly property int pageCount: 4

    function next() { if (page < pageCount - 1) page += 1 }
    function back() { if (page > 0) page -= 1 }

    Keys.onRightPressed: next()
    Keys.onLeftPressed: back()
    Keys.onEscapePressed: App.completeOnboarding()

    Component.onCompleted: forceActiveFocus()

    Rectangle {
        id: panel
        anchors.centerIn: parent
        width: Math.min(parent.width - 2 * Theme.spacingXXL, 720)
        height: Math.min(parent.height - 2 * Theme.spacingXXL, 540)
        radius: Theme.radiusLarge
        color: Theme.surfaceRaised
        border.color: Theme.border

        ColumnLayout {
            anchors.fill: parent
            anchors.margins: Theme.spacingXXL
            spacing: Theme.spacingL

            StackLayout {
                objectName: "onboarding.pages"
                Layout.fillWidth: true
                Layout.fillHeight: true
                currentIndex: onboarding.page

                // 1. What it is.
                ColumnLayout {
                    objectName: "onboarding.page.0"
                    spacing: Theme.spacingL
                    Rectangle {
                        width: 64
                        height: 64
                        radius: 18
                        gradient: Gradient {
                            GradientStop { position: 0.0; color: Theme.accentHover }
                            GradientStop { position: 1.0; color: Theme.accentPressed }
                        }
                        Rectangle {
                            anchors.centerIn: parent
                            width: 26; height: 26; radius: 13
                            color: Theme.textOnAccent
                            Rectangle { anchors.centerIn: parent; width: 12; height: 12; radius: 6; color: Theme.record }
                        }
                    }
                    Text {
                        Layout.fillWidth: true
                        text: Strings.t("onboarding.welcome.title", "Welcome to Orvane Screen")
                        color: Theme.textPrimary
                        font.family: Theme.fontFamily
                        font.pixelSize: Theme.fontHeadline
                        font.weight: Font.Bold
                        wrapMode: Text.Wrap
                        Accessible.role: Accessible.Heading
                        Accessible.name: text
                    }
                    Text {
                        Layout.fillWidth: true
                        text: Strings.t("onboarding.welcome.message", "Record your screen once. Orvane Screen keeps the pointer and every click beside the movie, then directs it for you: zooms where you click, a styled background, a smooth pointer, a finished movie.")
                        color: Theme.textSecondary
                        font.family: Theme.fontFamily
                        font.pixelSize: Theme.fontBodyLarge
                        wrapMode: Text.Wrap
                        lineHeight: 1.3
                    }
                    Item { Layout.fillHeight: true }
                }

                // 2. How it works.
                ColumnLayout {
                    objectName: "onboarding.page.1"
                    spacing: Theme.spacingL
                    Text {
                        Layout.fillWidth: true
                        text: Strings.t("onboarding.how.title", "Record, direct, export")
                        color: Theme.textPrimary
                        font.family: Theme.fontFamily
                        font.pixelSize: Theme.fontHeadline
                        font.weight: Font.Bold
                        wrapMode: Text.Wrap
                    }
                    Repeater {
                        model: [
                            { key: "onboarding.how.record", icon: "record.circle.fill", title: "Record", text: "A display, one window or an application, with your microphone, the system's sound and your camera." },
                            { key: "onboarding.how.direct", icon: "wand.and.stars", title: "Direct", text: "Zooms follow your clicks; background, frame, shadow and pointer are styles you can change at any time." },
                            { key: "onboarding.how.export", icon: "square.and.arrow.down", title: "Export", text: "H.264, HEVC, ProRes or GIF, rendered in the background while you keep working." }
                        ]
                        RowLayout {
                            required property var modelData
                            Layout.fillWidth: true
                            spacing: Theme.spacingM
                            Rectangle {
                                Layout.alignment: Qt.AlignTop
                                width: 36; height: 36
                                radius: Theme.radiusMedium
                                color: Qt.rgba(0.49, 0.42, 1.0, 0.16)
                                Icon { anchors.centerIn: parent; name: parent.parent.modelData.icon; size: 18; color: Theme.accent }
                            }
                            ColumnLayout {
                                Layout.fillWidth: true
                                spacing: 2
                                Text {
                                    text: Strings.t(parent.parent.modelData.key + ".title", parent.parent.modelData.title)
                                    color: Theme.textPrimary
                                    font.family: Theme.fontFamily
                                    font.pixelSize: Theme.fontBodyLarge
                                    font.weight: Font.DemiBold
                                }
                                Text {
                                    Layout.fillWidth: true
                                    text: Strings.t(parent.parent.modelData.key + ".text", parent.parent.modelData.text)
                                    color: Theme.textSecondary
                                    font.family: Theme.fontFamily
                                    font.pixelSize: Theme.fontBody
                                    wrapMode: Text.Wrap
                                }
                            }
                        }
                    }
                    Item { Layout.fillHeight: true }
                }

                // 3. What it uses.
                ColumnLayout {
                    objectName: "onboarding.page.2"
                    spacing: Theme.spacingM
                    Text {
                        Layout.fillWidth: true
                        text: Strings.t("onboarding.permissions.title", "What Orvane Screen uses")
                        color: Theme.textPrimary
                        font.family: Theme.fontFamily
                        font.pixelSize: Theme.fontHeadline
                        font.weight: Font.Bold
                        wrapMode: Text.Wrap
                    }
                    OnboardingPermissionRow {
                        title: Strings.t("onboarding.permissions.screen", "Screen")
                        detail: Strings.t("onboarding.permissions.screen.detail", "To record displays, windows and applications")
                        status: App.screenRecordingGranted ? "granted" : (App.microphonePermission === "unknown" ? "unknown" : "denied")
                    }
                    OnboardingPermissionRow {
                        title: Strings.t("onboarding.permissions.microphone", "Microphone and system sound")
                        detail: Strings.t("onboarding.permissions.microphone.detail", "Through the sound server, when you ask for sound")
                        status: App.microphonePermission
                    }
                    OnboardingPermissionRow {
                        title: Strings.t("onboarding.permissions.camera", "Camera")
                        detail: Strings.t("onboarding.permissions.camera.detail", "Only when you turn the camera on")
                        status: App.cameraPermission
                    }
                    ActionButton {
                        objectName: "onboarding.permissions.check"
                        text: Strings.t("onboarding.permissions.check", "Check Again")
                        hint: Strings.t("onboarding.permissions.check.hint", "Looks again at the screen, the sound server and the camera")
                        onClicked: App.refreshPermissions()
                    }
                    Item { Layout.fillHeight: true }
                }

                // 4. A first recording.
                ColumnLayout {
                    objectName: "onboarding.page.3"
                    spacing: Theme.spacingL
                    Text {
                        Layout.fillWidth: true
                        text: Strings.t("onboarding.sample.title", "Try it with a five-second recording")
                        color: Theme.textPrimary
                        font.family: Theme.fontFamily
                        font.pixelSize: Theme.fontHeadline
                        font.weight: Font.Bold
                        wrapMode: Text.Wrap
                    }
                    Text {
                        Layout.fillWidth: true
                        text: Strings.t("onboarding.sample.message", "After a three-second countdown Orvane Screen records your main display for about five seconds and opens it in the editor. Move the pointer and click something to see the zooms it makes. Without a readable screen it opens a sample project instead.")
                        color: Theme.textSecondary
                        font.family: Theme.fontFamily
                        font.pixelSize: Theme.fontBodyLarge
                        wrapMode: Text.Wrap
                        lineHeight: 1.3
                    }
                    ActionButton {
                        objectName: "onboarding.recordSample"
                        kind: "destructive"
                        iconName: "record.circle.fill"
                        text: Strings.t("onboarding.recordSample", "Record a Sample")
                        hint: Strings.t("onboarding.recordSample.hint", "Records the main display for about five seconds")
                        onClicked: {
                            App.completeOnboarding()
                            App.recordOnboardingSample()
                        }
                    }
                    Item { Layout.fillHeight: true }
                }
            }

            RowLayout {
                Layout.fillWidth: true
                spacing: Theme.spacingS
                ActionButton {
                    objectName: "onboarding.skip"
                    kind: "plain"
                    text: Strings.t("onboarding.skip", "Skip")
                    hint: Strings.t("onboarding.skip.hint", "Go straight to the welcome screen")
                    onClicked: App.completeOnboarding()
                }
                Item { Layout.fillWidth: true }
                Row {
                    objectName: "onboarding.dots"
                    spacing: Theme.spacingS
                    Accessible.role: Accessible.StaticText
                    Accessible.name: Strings.f("onboarding.pageOf", "Page %1 of %2", [onboarding.page + 1, onboarding.pageCount])
                    Repeater {
                        model: onboarding.pageCount
                        Rectangle {
                            required property int index
                            width: index === onboarding.page ? 20 : 8
                            height: 8
                            radius: 4
                            color: index === onboarding.page ? Theme.accent : Theme.borderStrong
                            Behavior on width { NumberAnimation { duration: Theme.durationFast } }
                        }
                    }
                }
                Item { Layout.fillWidth: true }
                ActionButton {
                    objectName: "onboarding.back"
                    visible: onboarding.page > 0
                    text: Strings.t("onboarding.back", "Back")
                    hint: Strings.t("onboarding.back.hint", "The previous page")
                    onClicked: onboarding.back()
                }
                ActionButton {
                    objectName: onboarding.page < onboarding.pageCount - 1 ? "onboarding.next" : "onboarding.finish"
                    kind: "primary"
                    text: onboarding.page < onboarding.pageCount - 1 ? Strings.t("onboarding.next", "Continue")
                                                                     : Strings.t("onboarding.finish", "Get Started")
                    hint: onboarding.page < onboarding.pageCount - 1 ? Strings.t("onboarding.next.hint", "The next page")
                                                                     : Strings.t("onboarding.finish.hint", "Go to the welcome screen")
                    onClicked: onboarding.page < onboarding.pageCount - 1 ? onboarding.next() : App.completeOnboarding()
                }
            }
        }
    }
}
