#include "ShortcutCatalog.h"

#include <QVariantMap>

namespace orvane {

const std::vector<ShortcutCatalog::Group>& ShortcutCatalog::groups() {
    static const std::vector<Group> catalog = {
        {QStringLiteral("shortcuts.group.transport"),
         QStringLiteral("Playback"),
         QStringLiteral("play.rectangle"),
         {
             {QStringLiteral("Space"), QStringLiteral("shortcuts.transport.playPause"),
              QStringLiteral("Play or pause")},
             {QStringLiteral("J"), QStringLiteral("shortcuts.transport.reverse"),
              QStringLiteral("Play backwards")},
             {QStringLiteral("K"), QStringLiteral("shortcuts.transport.pauseShuttle"),
              QStringLiteral("Pause")},
             {QStringLiteral("L"), QStringLiteral("shortcuts.transport.forward"),
              QStringLiteral("Play forwards")},
             {QStringLiteral("← →"), QStringLiteral("shortcuts.transport.stepFrame"),
              QStringLiteral("Step one frame")},
             {QStringLiteral("Shift+← Shift+→"), QStringLiteral("shortcuts.transport.stepTenFrames"),
              QStringLiteral("Step ten frames")},
             {QStringLiteral("Home"), QStringLiteral("shortcuts.transport.jumpStart"),
              QStringLiteral("Go to the start")},
             {QStringLiteral("End"), QStringLiteral("shortcuts.transport.jumpEnd"),
              QStringLiteral("Go to the end")},
         }},
        {QStringLiteral("shortcuts.group.editing"),
         QStringLiteral("Editing"),
         QStringLiteral("scissors"),
         {
             {QStringLiteral("Ctrl+K"), QStringLiteral("shortcuts.editing.splitClip"),
              QStringLiteral("Split the clip")},
             {QStringLiteral("Delete"), QStringLiteral("shortcuts.editing.deleteClip"),
              QStringLiteral("Delete the clip")},
             {QStringLiteral("I"), QStringLiteral("shortcuts.editing.setInPoint"),
              QStringLiteral("Set the in point")},
             {QStringLiteral("O"), QStringLiteral("shortcuts.editing.setOutPoint"),
              QStringLiteral("Set the out point")},
             {QStringLiteral("Ctrl+Z"), QStringLiteral("shortcuts.editing.undo"), QStringLiteral("Undo")},
             {QStringLiteral("Ctrl+Shift+Z"), QStringLiteral("shortcuts.editing.redo"),
              QStringLiteral("Redo")},
             {QStringLiteral("Ctrl+S"), QStringLiteral("shortcuts.editing.save"), QStringLiteral("Save")},
         }},
        {QStringLiteral("shortcuts.group.recording"),
         QStringLiteral("Recording"),
         QStringLiteral("record.circle"),
         {
             {QStringLiteral("Ctrl+Shift+R"), QStringLiteral("shortcuts.recording.start"),
              QStringLiteral("Start recording")},
             {QStringLiteral("Ctrl+Shift+Alt+R"), QStringLiteral("shortcuts.recording.stop"),
              QStringLiteral("Stop recording")},
             {QStringLiteral("Esc"), QStringLiteral("shortcuts.recording.cancelCountdown"),
              QStringLiteral("Cancel the countdown")},
             {QStringLiteral("Ctrl+Shift+Z"), QStringLiteral("shortcuts.recording.manualZoom"),
              QStringLiteral("Zoom on the pointer")},
         }},
        {QStringLiteral("shortcuts.group.import"),
         QStringLiteral("Projects and media"),
         QStringLiteral("square.and.arrow.down"),
         {
             {QStringLiteral("Ctrl+N"), QStringLiteral("shortcuts.import.newRecording"),
              QStringLiteral("New recording")},
             {QStringLiteral("Ctrl+O"), QStringLiteral("shortcuts.import.openProject"),
              QStringLiteral("Open a project")},
             {QStringLiteral("Ctrl+I"), QStringLiteral("shortcuts.import.importVideo"),
              QStringLiteral("Import video")},
             {QStringLiteral("Ctrl+Shift+I"), QStringLiteral("shortcuts.import.importAudio"),
              QStringLiteral("Import audio")},
         }},
        {QStringLiteral("shortcuts.group.zoom"),
         QStringLiteral("Timeline and export"),
         QStringLiteral("plus.magnifyingglass"),
         {
             {QStringLiteral("Ctrl+="), QStringLiteral("shortcuts.zoom.zoomIn"),
              QStringLiteral("Zoom the timeline in")},
             {QStringLiteral("Ctrl+−"), QStringLiteral("shortcuts.zoom.zoomOut"),
              QStringLiteral("Zoom the timeline out")},
             {QStringLiteral("Ctrl+E"), QStringLiteral("shortcuts.zoom.openExport"),
              QStringLiteral("Export")},
         }},
        {QStringLiteral("shortcuts.group.windows"),
         QStringLiteral("Windows"),
         QStringLiteral("macwindow"),
         {
             {QStringLiteral("Ctrl+/"), QStringLiteral("shortcuts.windows.showShortcuts"),
              QStringLiteral("Show these shortcuts")},
             {QStringLiteral("Ctrl+,"), QStringLiteral("shortcuts.windows.openPreferences"),
              QStringLiteral("Open the preferences")},
             {QStringLiteral("Ctrl+W"), QStringLiteral("shortcuts.windows.closeWindow"),
              QStringLiteral("Close the window")},
             {QStringLiteral("Ctrl+Q"), QStringLiteral("shortcuts.windows.quit"), QStringLiteral("Quit")},
         }},
    };
    return catalog;
}

QVariantList ShortcutCatalog::groupsForQml() const {
    QVariantList list;
    for (const Group& group : groups()) {
        QVariantList entries;
        for (const Entry& entry : group.entries)
            entries.push_back(QVariantMap{{QStringLiteral("keys"), entry.keys},
                                          {QStringLiteral("descriptionKey"), entry.descriptionKey},
                                          {QStringLiteral("description"), entry.description}});
        list.push_back(QVariantMap{{QStringLiteral("titleKey"), group.titleKey},
                                   {QStringLiteral("title"), group.title},
                                   {QStringLiteral("icon"), group.icon},
                                   {QStringLiteral("entries"), entries}});
    }
    return list;
}

} // namespace orvane
