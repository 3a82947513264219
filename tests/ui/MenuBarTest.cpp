#include "UiTestSupport.h"
#include "ui/ShortcutCatalog.h"

#include <QSet>

namespace orvane::test {
namespace {

using namespace std::chrono_literals;

TEST(ShortcutCatalogTest, ListsTheRedoChordTwiceAndEveryDescriptionOnce) {
    const auto& groups = ShortcutCatalog::groups();
    ASSERT_EQ(groups.size(), 6u);
    QStringList redoChord;
    QSet<QString> descriptionKeys;
    int entries = 0;
    for (const auto& group : groups) {
        for (const auto& entry : group.entries) {
            ++entries;
            descriptionKeys.insert(entry.descriptionKey);
            if (entry.keys == QLatin1String("Ctrl+Shift+Z"))
                redoChord << entry.descriptionKey;
            // The desktop's Command and Option keys read as Ctrl and Alt here.
            EXPECT_FALSE(entry.keys.contains(QChar(0x2318)) || entry.keys.contains(QChar(0x2325)))
                << entry.keys.toStdString();
        }
    }
    EXPECT_EQ(redoChord, (QStringList{QStringLiteral("shortcuts.editing.redo"),
                                      QStringLiteral("shortcuts.recording.manualZoom")}));
    EXPECT_EQ(entries, 30);
    EXPECT_EQ(descriptionKeys.size(), entries);
}

class MenuBarTest : public UiTest {
protected:
    QObject* action(UiHarness& ui, const char* name) {
        auto* found = ui.window()->findChild<QObject*>(QString::fromLatin1(name));
        EXPECT_NE(found, nullptr) << name;
        return found;
    }
    // The launch's own permission check answers a moment after the window shows; a state set before it
    // would be overwritten.
    void setScreenRecording(UiHarness& ui, PermissionsState::Status status) {
        ASSERT_TRUE(waitUntil(
            [&] { return ui.app->permissions().screenRecording != PermissionsState::Status::unknown; }));
        PermissionsState permissions = ui.app->permissions();
        permissions.screenRecording = status;
        ui.app->setPermissions(permissions);
    }
    bool enabled(UiHarness& ui, const char* name) {
        QObject* found = action(ui, name);
        return found && found->property("enabled").toBool();
    }
};

TEST_F(MenuBarTest, CommandsAreEnabledAsTheRecordingStateAllows) {
    UiHarness ui;
    ASSERT_TRUE(ui.load());
    setScreenRecording(ui, PermissionsState::Status::denied);
    for (const char* always :
         {"menu.newRecording", "menu.openProject", "menu.importVideo", "menu.importAudio", "menu.save",
          "menu.versionHistory", "menu.export", "menu.help", "menu.shortcuts"})
        EXPECT_TRUE(enabled(ui, always)) << always;
    EXPECT_FALSE(enabled(ui, "menu.startRecording")) << "no screen permission";
    EXPECT_FALSE(enabled(ui, "menu.stopRecording"));

    setScreenRecording(ui, PermissionsState::Status::granted);
    EXPECT_TRUE(enabled(ui, "menu.startRecording"));
    EXPECT_FALSE(enabled(ui, "menu.stopRecording"));

    // A countdown counts as recording: start goes off and stop comes on; stopping is neither.
    ui.app->setRecordingPhase(RecordingPhase::countingDown(2));
    EXPECT_FALSE(enabled(ui, "menu.startRecording"));
    EXPECT_TRUE(enabled(ui, "menu.stopRecording"));
    ui.app->setRecordingPhase(RecordingPhase::recording(QDateTime::currentDateTime()));
    EXPECT_FALSE(enabled(ui, "menu.startRecording"));
    EXPECT_TRUE(enabled(ui, "menu.stopRecording"));
    ui.app->setRecordingPhase(RecordingPhase::stopping());
    EXPECT_FALSE(enabled(ui, "menu.stopRecording"));
    EXPECT_TRUE(enabled(ui, "menu.startRecording"));
    ui.app->setIsExporting(true);
    EXPECT_FALSE(enabled(ui, "menu.startRecording")) << "no recording while exporting";
    ui.app->setRecordingPhase(RecordingPhase::idle());
}

TEST_F(MenuBarTest, UndoAndRedoCarryTheEditsNameAndWorkFromTheKeyboard) {
    UiHarness ui;
    ASSERT_TRUE(ui.load());
    EXPECT_EQ(action(ui, "menu.undo")->property("text").toString(), QStringLiteral("Undo"));
    EXPECT_FALSE(enabled(ui, "menu.undo"));
    EXPECT_FALSE(enabled(ui, "menu.redo"));

    ASSERT_TRUE(ui.app->createProjectAt(ui.dir.filePath(QStringLiteral("Edits.orvanescreen"))).has_value());
    const QString before = ui.app->currentBundle()->project().name;
    ASSERT_TRUE(ui.app->performEdit(QStringLiteral("Rename Project"),
                                    [](Project& project) { project.name = QStringLiteral("Renamed"); }));
    EXPECT_EQ(action(ui, "menu.undo")->property("text").toString(), QStringLiteral("Undo Rename Project"));
    EXPECT_TRUE(enabled(ui, "menu.undo"));

    ui.key(Qt::Key_Z, Qt::ControlModifier);
    EXPECT_EQ(ui.app->currentBundle()->project().name, before);
    EXPECT_EQ(action(ui, "menu.redo")->property("text").toString(), QStringLiteral("Redo Rename Project"));
    EXPECT_FALSE(enabled(ui, "menu.undo"));
    ui.key(Qt::Key_Z, Qt::ControlModifier | Qt::ShiftModifier);
    EXPECT_EQ(ui.app->currentBundle()->project().name, QStringLiteral("Renamed"));
}

TEST_F(MenuBarTest, ShortcutsReachTheirCommandsWithoutOpeningAMenu) {
    UiHarness ui;
    ASSERT_TRUE(ui.load());
    ui.key(Qt::Key_N, Qt::ControlModifier);
    EXPECT_EQ(ui.app->screen(), AppScreen::sourcePicker);
    ui.key(Qt::Key_E, Qt::ControlModifier);
    EXPECT_EQ(ui.app->exportRequestNonce(), 1);
    ui.key(Qt::Key_S, Qt::ControlModifier);
    EXPECT_EQ(ui.app->saveAcknowledgementNonce(), 1);
    ui.key(Qt::Key_Slash, Qt::ControlModifier);
    EXPECT_EQ(ui.app->shortcutsSheetRequestNonce(), 1);
    QObject* sheet = nullptr;
    ASSERT_TRUE(waitUntil([&] {
        sheet = ui.window()->findChild<QObject*>(QStringLiteral("ShortcutsSheet"));
        return sheet && sheet->property("opened").toBool();
    }));
    ui.key(Qt::Key_Escape);
    EXPECT_TRUE(waitUntil([&] { return !sheet->property("visible").toBool(); }));

    int preferences = 0;
    QObject::connect(&ui.desktop->viewModel(), &AppViewModel::preferencesRequested, [&] { ++preferences; });
    ui.key(Qt::Key_Comma, Qt::ControlModifier);
    EXPECT_EQ(preferences, 1);
    for (QWindow* top : QGuiApplication::topLevelWindows())
        if (top->objectName() == QLatin1String("preferencesWindow"))
            top->close();
    ui.window()->requestActivate();
    ASSERT_TRUE(QTest::qWaitForWindowActive(ui.window()));
    // Quit goes through the same question as closing the window: with nothing recording, at once.
    ui.key(Qt::Key_Q, Qt::ControlModifier);
    EXPECT_TRUE(ui.desktop->isQuitApproved());
}

TEST_F(MenuBarTest, MenusOpenFromTheBarAndADisabledCommandDoesNothing) {
    UiHarness ui;
    ASSERT_TRUE(ui.load());
    setScreenRecording(ui, PermissionsState::Status::denied);
    const QPoint awayFromTheBar(ui.window()->width() / 2, ui.window()->height() - 40);

    ui.click(ui.waitFor(QStringLiteral("menu.record.title")));
    QQuickItem* start = ui.waitFor(QStringLiteral("menu.startRecording.item"));
    ASSERT_NE(start, nullptr);
    EXPECT_FALSE(start->isEnabled());
    ui.click(start);
    QTest::qWait(50);
    EXPECT_TRUE(ui.app->recordingPhase().isIdle());
    EXPECT_EQ(ui.app->screen(), AppScreen::welcome);
    // Off the bar's titles, so that the closed menu leaves the bar instead of following the pointer.
    QTest::mouseMove(ui.window(), awayFromTheBar);
    ui.key(Qt::Key_Escape);
    QObject* recordMenu = action(ui, "menu.record");
    EXPECT_TRUE(waitUntil([&] { return !recordMenu->property("visible").toBool(); }));
    // The shortcut is as disabled as the item.
    ui.key(Qt::Key_R, Qt::ControlModifier | Qt::ShiftModifier);
    QTest::qWait(50);
    EXPECT_TRUE(ui.app->recordingPhase().isIdle());
    EXPECT_EQ(ui.app->screen(), AppScreen::welcome);

    ui.click(ui.waitFor(QStringLiteral("menu.file.title")));
    QQuickItem* newRecording = ui.waitFor(QStringLiteral("menu.newRecording.item"));
    ASSERT_NE(newRecording, nullptr);
    EXPECT_EQ(newRecording->property("text").toString(), QStringLiteral("New Recording"));
    ui.click(newRecording);
    EXPECT_EQ(ui.app->screen(), AppScreen::sourcePicker);
    QObject* fileMenu = action(ui, "menu.file");
    EXPECT_TRUE(waitUntil([&] { return !fileMenu->property("visible").toBool(); }));
}

} // namespace
} // namespace orvane::test
