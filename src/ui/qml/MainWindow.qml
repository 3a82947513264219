import QtQuick
import Orvane.Ui
import QtQuick.Controls
import QtQuick.Dialogs

// The main window: the menu bar, the routed content, and the panels the application asks for.
ApplicationWindow {
    id: window
    objectName: "mainWindow"
    title: App.hasProject ? App.projectName + " \u2014 Orvane Screen" : "Orvane Screen"
    width: 1280
    height: 800
    minimumWidth: 1200
    minimumHeight: 760
    color: Theme.canvas
    font.family: Theme.fontFamily
    font.pixelSize: Theme.fontBody

    palette.window: Theme.canvas
    palette.windowText: Theme.textPrimary
    palette.base: Theme.surface
    palette.alternateBase: Theme.surfaceRaised
    palette.text: Theme.textPrimary
    palette.button: Theme.surfaceRaised
    palette.buttonText: Theme.textPrimary
    palette.highlight: Theme.accent
    palette.highlightedText: Theme.textOnAccent
    palette.placeholderText: Theme.textTertiary
    palette.mid: Theme.border
    palette.dark: Theme.surface
    palette.light: Theme.surfaceHover
    palette.toolTipBase: Theme.surfaceRaised
    palette.toolTipText: Theme.textPrimary

    menuBar: AppMenuBar {}

    ContentView {
        anchors.fill: parent
    }

    // Panels and the preferences window are made when first asked for: nothing the first frame needs
    // waits on them.
    Loader {
        id: openPanel
        active: false
        sourceComponent: FileDialog {
            objectName: "openPanel"
            title: Strings.t("app.openPanel.title", "Open Project")
            acceptLabel: Strings.t("app.openPanel.prompt", "Open")
            nameFilters: [Strings.t("app.openPanel.filter", "Orvane Screen projects") + " (*.orvanescreen project.json)"]
            onAccepted: {
                var path = selectedFile.toString()
                // A project is a folder; choosing its project.json opens the folder.
                if (path.endsWith("/project.json"))
                    path = path.substring(0, path.length - "/project.json".length)
                App.openProjectAt(path)
            }
        }
        function show() {
            active = true
            item.open()
        }
    }

    Loader {
        id: importPanel
        active: false
        property bool audio: false
        sourceComponent: FileDialog {
            objectName: "importPanel"
            fileMode: FileDialog.OpenFiles
            title: importPanel.audio ? Strings.t("app.importPanel.audioTitle", "Import Audio")
                                     : Strings.t("app.importPanel.videoTitle", "Import Video")
            nameFilters: importPanel.audio ? ["Audio (*.mp3 *.m4a *.wav *.aiff *.aif *.flac)"]
                                           : ["Video (*.mov *.mp4 *.m4v *.mkv)"]
            onAccepted: App.importFiles(selectedFiles, importPanel.audio)
        }
        function show(audio) {
            importPanel.audio = audio
            active = true
            item.open()
        }
    }

    Loader {
        id: preferences
        active: false
        sourceComponent: PreferencesWindow {}
        function show() {
            active = true
            item.show()
            item.raise()
            item.requestActivate()
        }
    }

    Connections {
        target: App
        function onOpenPanelRequested() { openPanel.show() }
        function onImportPanelRequested(audio) { importPanel.show(audio) }
        function onPreferencesRequested() { preferences.show() }
    }
}
