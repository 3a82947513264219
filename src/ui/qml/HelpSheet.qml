import QtQuick
import QtQuick.Layouts
import Orvane.Ui

// The program's help: what it does, the way from a source to a finished movie, where things are kept.
Sheet {
    id: sheet
    objectName: "HelpSheet"
    title: Strings.t("help.title", "Orvane Screen Help")
    width: Math.min(parent ? parent.width - 2 * Theme.spacingXXL : 720, 720)

    ColumnLayout {
        width: parent.width
        spacing: Theme.spacingL

        Text {
            Layout.fillWidth: true
            wrapMode: Text.Wrap
            text: Strings.t("help.intro", "Orvane Screen records your screen with the pointer and your clicks beside the movie, then directs the recording for you: it zooms where you click, sets the picture on a styled background with a rounded, shadowed frame, smooths the pointer and exports a polished movie.")
            color: Theme.textSecondary
            font.family: Theme.fontFamily
            font.pixelSize: Theme.fontBody
            lineHeight: 1.3
        }

        Repeater {
            model: [
                { key: "help.step.source", title: "1. Pick what to record", text: "New Recording (Ctrl+N) opens the source picker: a display, one window or every window of an application. Choose whether to record the system's sound, your microphone and your camera." },
                { key: "help.step.record", title: "2. Record", text: "Start counts down from three; Esc cancels. While recording, the window steps aside and a small control at the top of the screen shows the time, with Stop and Discard. Ctrl+Shift+Z marks a zoom on the pointer." },
                { key: "help.step.edit", title: "3. Edit", text: "The recording opens as a clip of your project. Every change is saved as you make it, with versions to go back to (Ctrl+Y), and Ctrl+Z undoes it." },
                { key: "help.step.export", title: "4. Export", text: "Export (Ctrl+E) renders H.264, HEVC, ProRes or GIF in the background while you keep working." }
            ]
            ColumnLayout {
                required property var modelData
                Layout.fillWidth: true
                spacing: Theme.spacingXS
                Text {
                    text: Strings.t(parent.modelData.key + ".title", parent.modelData.title)
                    color: Theme.textPrimary
                    font.family: Theme.fontFamily
                    font.pixelSize: Theme.fontBodyLarge
                    font.weight: Font.DemiBold
                }
                Text {
                    Layout.fillWidth: true
                    wrapMode: Text.Wrap
                    text: Strings.t(parent.modelData.key + ".text", parent.modelData.text)
                    color: Theme.textSecondary
                    font.family: Theme.fontFamily
                    font.pixelSize: Theme.fontBody
                    lineHeight: 1.3
                }
            }
        }

        Text {
            objectName: "help.folder"
            Layout.fillWidth: true
            wrapMode: Text.WrapAnywhere
            Accessible.role: Accessible.StaticText
            Accessible.name: text
            text: Strings.f("help.folder", "New projects are kept in %1.", [App.recordingsRootDirectory])
            color: Theme.textTertiary
            font.family: Theme.fontFamily
            font.pixelSize: Theme.fontCaption
        }

        ActionButton {
            objectName: "help.shortcuts"
            text: Strings.t("help.shortcuts", "Keyboard Shortcuts…")
            hint: Strings.t("help.shortcuts.hint", "Shows every keyboard shortcut")
            onClicked: {
                sheet.close()
                App.requestShortcutsSheet()
            }
        }
    }
}
