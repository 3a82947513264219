import QtQuick
import QtQuick.Controls
import Orvane.Ui

// The commands of the program with their shortcuts. Items hold no logic: each calls an operation of the
// application or raises one of its request counters. The shortcuts work whether a menu is open or not.
MenuBar {
    id: bar
    objectName: "menuBar"

    Action {
        id: newRecording
        objectName: "menu.newRecording"
        text: Strings.t("menu.newRecording", "New Recording")
        shortcut: "Ctrl+N"
        onTriggered: App.newRecording()
    }
    Action {
        id: openProject
        objectName: "menu.openProject"
        text: Strings.t("menu.openProject", "Open Project…")
        shortcut: "Ctrl+O"
        onTriggered: App.openProject()
    }
    Action {
        id: importVideo
        objectName: "menu.importVideo"
        text: Strings.t("menu.importVideo", "Import Video…")
        shortcut: "Ctrl+I"
        onTriggered: App.importVideo()
    }
    Action {
        id: importAudio
        objectName: "menu.importAudio"
        text: Strings.t("menu.importAudio", "Import Audio…")
        shortcut: "Ctrl+Shift+I"
        onTriggered: App.importAudio()
    }
    Action {
        id: save
        objectName: "menu.save"
        text: Strings.t("menu.save", "Save")
        shortcut: "Ctrl+S"
        onTriggered: App.requestSave()
    }
    Action {
        id: versionHistory
        objectName: "menu.versionHistory"
        text: Strings.t("menu.versionHistory", "Version History…")
        shortcut: "Ctrl+Y"
        onTriggered: App.showVersionHistory()
    }
    Action {
        id: preferences
        objectName: "menu.preferences"
        text: Strings.t("menu.preferences", "Preferences…")
        shortcut: "Ctrl+,"
        onTriggered: App.showPreferences()
    }
    Action {
        id: closeWindow
        objectName: "menu.closeWindow"
        text: Strings.t("menu.closeWindow", "Close Window")
        shortcut: "Ctrl+W"
        onTriggered: bar.Window.window.close()
    }
    Action {
        id: quit
        objectName: "menu.quit"
        text: Strings.t("menu.quit", "Quit Orvane Screen")
        shortcut: "Ctrl+Q"
        onTriggered: App.quit()
    }
    Action {
        id: undo
        objectName: "menu.undo"
        text: App.undoTitle
        shortcut: "Ctrl+Z"
        enabled: App.canUndo
        onTriggered: App.undo()
    }
    Action {
        id: redo
        objectName: "menu.redo"
        text: App.redoTitle
        shortcut: "Ctrl+Shift+Z"
        enabled: App.canRedo
        onTriggered: App.redo()
    }
    Action {
        id: startRecording
        objectName: "menu.startRecording"
        text: Strings.t("menu.startRecording", "Start Recording")
        shortcut: "Ctrl+Shift+R"
        enabled: App.canStartRecording
        onTriggered: App.beginCapture()
    }
    Action {
        id: stopRecording
        objectName: "menu.stopRecording"
        text: Strings.t("menu.stopRecording", "Stop Recording")
        shortcut: "Ctrl+Shift+Alt+R"
        enabled: App.isRecording
        onTriggered: App.stopCapture()
    }
    Action {
        id: exportAction
        objectName: "menu.export"
        text: Strings.t("menu.export", "Export…")
        shortcut: "Ctrl+E"
        onTriggered: App.requestExport()
    }
    Action {
        id: help
        objectName: "menu.help"
        text: Strings.t("menu.help", "Orvane Screen Help")
        onTriggered: App.requestHelpSheet()
    }
    Action {
        id: shortcuts
        objectName: "menu.shortcuts"
        text: Strings.t("menu.shortcuts", "Keyboard Shortcuts…")
        shortcut: "Ctrl+/"
        onTriggered: App.requestShortcutsSheet()
    }

    AppMenu {
        objectName: "menu.file"
        title: Strings.t("menu.file", "&File")
        AppMenuItem { action: newRecording }
        AppMenuItem { action: openProject }
        AppMenuItem { action: importVideo }
        AppMenuItem { action: importAudio }
        MenuSeparator { contentItem: Rectangle { implicitHeight: 1; color: Theme.border } }
        AppMenuItem { action: save }
        AppMenuItem { action: versionHistory }
        MenuSeparator { contentItem: Rectangle { implicitHeight: 1; color: Theme.border } }
        AppMenuItem { action: preferences }
        AppMenuItem { action: closeWindow }
        AppMenuItem { action: quit }
    }
    AppMenu {
        objectName: "menu.edit"
        title: Strings.t("menu.edit", "&Edit")
        AppMenuItem { action: undo }
        AppMenuItem { action: redo }
    }
    AppMenu {
        objectName: "menu.record"
        title: Strings.t("menu.record", "&Record")
        AppMenuItem { action: startRecording }
        AppMenuItem { action: stopRecording }
        MenuSeparator { contentItem: Rectangle { implicitHeight: 1; color: Theme.border } }
        AppMenuItem { action: exportAction }
    }
    AppMenu {
        objectName: "menu.helpMenu"
        title: Strings.t("menu.helpMenu", "&Help")
        AppMenuItem { action: help }
        AppMenuItem { action: shortcuts }
    }

    delegate: MenuBarItem {
        id: barItem
        objectName: menu ? menu.objectName + ".title" : ""
        Accessible.name: text.replace("&", "")
        font.family: Theme.fontFamily
        font.pixelSize: Theme.fontBody
        leftPadding: Theme.spacingM
        rightPadding: Theme.spacingM
        contentItem: Text {
            text: barItem.text.replace("&", "")
            font: barItem.font
            color: Theme.textPrimary
            verticalAlignment: Text.AlignVCenter
        }
        background: Rectangle {
            implicitHeight: 32
            radius: Theme.radiusSmall
            color: barItem.highlighted ? Theme.surfaceHover : "transparent"
            border.width: barItem.visualFocus ? Theme.focusRingWidth : 0
            border.color: Theme.focusRing
        }
    }

    background: Rectangle {
        implicitHeight: 36
        color: Theme.surface
        Rectangle {
            anchors.bottom: parent.bottom
            width: parent.width
            height: 1
            color: Theme.border
        }
    }
}
