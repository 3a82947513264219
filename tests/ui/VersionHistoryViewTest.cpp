#include "UiTestSupport.h"
#include "ui/ItemTree.h"
#include "ui/VersionHistoryModel.h"
#include "ui/VersionPreviewItem.h"

#include <QDir>
#include <QFile>
#include <QProcess>

namespace orvane::test {
namespace {

using namespace std::chrono_literals;

// The version history sheet on a real window: a project whose saves differ in what the sheet shows (the
// counts, the notes and the first clip's look), opened with Ctrl+Y as a user would.
class VersionHistoryViewTest : public UiTest {
protected:
    // A project of one clip over a real movie, written with its first save and opened in the editor.
    bool openProject(UiHarness& ui) {
        const QString folder = ui.dir.filePath(QStringLiteral("History.orvanescreen"));
        QDir().mkpath(QDir(folder).filePath(QStringLiteral("media")));
        const QString movie = QDir(folder).filePath(QStringLiteral("media/screen.mp4"));
        if (QProcess::execute(QStringLiteral("ffmpeg"),
                              {QStringLiteral("-loglevel"), QStringLiteral("error"), QStringLiteral("-y"),
                               QStringLiteral("-f"), QStringLiteral("lavfi"), QStringLiteral("-i"),
                               QStringLiteral("testsrc2=size=640x360:rate=30"), QStringLiteral("-t"),
                               QStringLiteral("2"), QStringLiteral("-pix_fmt"), QStringLiteral("yuv420p"),
                               movie}) != 0)
            return false;
        Project project;
        project.name = QStringLiteral("History");
        Clip clip = project.makeClip(QStringLiteral("Screen"), ProjectTime(2), {640, 360});
        clip.sourceVideoPath = QStringLiteral("media/screen.mp4");
        project.timeline.add(clip);
        ProjectBundle written(folder, project);
        if (!written.ensureOnDisk())
            return false;
        if (!ui.app->openProject(folder))
            return false;
        return ui.waitFor(QStringLiteral("editor.timeline")) != nullptr;
    }

    // An edit as the editor makes one, then its save, a moment apart from the last so that the saves'
    // times order them.
    void edit(UiHarness& ui, const QString& name, const std::function<void(Project&)>& change) {
        QTest::qWait(20);
        ASSERT_TRUE(ui.app->performEdit(name, change).has_value());
        ASSERT_TRUE(ui.app->currentBundle()->flushPendingSave().has_value());
    }

    // Ctrl+Y, and the sheet's model once the sheet has settled.
    VersionHistoryModel* openSheet(UiHarness& ui) {
        ui.window()->requestActivate();
        ui.key(Qt::Key_Y, Qt::ControlModifier);
        if (!ui.waitFor(QStringLiteral("versionHistory.restore")))
            return nullptr;
        QTest::qWait(300); // the opening transition
        QObject* sheet = ui.window()->findChild<QObject*>(QStringLiteral("versionHistory"));
        return sheet ? sheet->property("model").value<VersionHistoryModel*>() : nullptr;
    }

    static bool settled(VersionHistoryModel* model) {
        return !model->isLoading() &&
               (model->hasPreviewError() || !model->hasPreviewProject() || model->hasPreviewImage());
    }

    QString text(UiHarness& ui, const char* name) {
        QQuickItem* item = ui.find(QString::fromLatin1(name));
        return item ? item->property("text").toString() : QString();
    }

    QStringList summary(UiHarness& ui) {
        QStringList counts;
        for (QQuickItem* chip : findItems(ui.window()->contentItem(), [](const QQuickItem& item) {
                 return item.isVisible() && item.objectName() == QLatin1String("versionHistory.summary");
             }))
            counts << chip->property("modelData").toString();
        return counts;
    }

    // The date that the list shows for row `index`.
    QString rowDate(UiHarness& ui, int index) {
        for (QQuickItem* row :
             findNamedItems(ui.window()->contentItem(), QStringLiteral("versionHistory.row")))
            if (row->property("index").toInt() == index)
                if (QQuickItem* date = findItem(row, [](const QQuickItem& item) {
                        return item.objectName() == QLatin1String("versionHistory.row.date");
                    }))
                    return date->property("text").toString();
        return {};
    }

    VersionPreviewItem* still(UiHarness& ui) {
        return qobject_cast<VersionPreviewItem*>(ui.find(QStringLiteral("versionHistory.preview")));
    }

    QString undoMenuTitle(UiHarness& ui) {
        QObject* undo = ui.window()->findChild<QObject*>(QStringLiteral("menu.undo"));
        return undo ? undo->property("text").toString() : QString();
    }

    static Project withoutSaveTime(Project project, const Project& like) {
        project.modifiedAt = like.modifiedAt;
        return project;
    }
};

// Three edits give four saves. The sheet opens on the newest; Down three times reaches the first save,
// whose name, counts and still are its own. Enter restores it as one undo step named after its date, and
// that one undo brings the newest state back.
TEST_F(VersionHistoryViewTest, RestoringTheFirstSaveIsOneUndoStep) {
    UiHarness ui;
    ASSERT_TRUE(ui.load());
    if (!openProject(ui))
        GTEST_SKIP() << "no ffmpeg tool to make the project's movie";
    edit(ui, QStringLiteral("Change Background"), [](Project& p) {
        p.timeline.clips[0].background = BackgroundStyle::solid({0.9, 0.2, 0.1, 1});
    });
    edit(ui, QStringLiteral("Add Zoom"), [](Project& p) {
        p.timeline.clips[0].zoomTrack.keyframes = {{ProjectTime(0.2), {0.1, 0.1, 0.5, 0.5}},
                                                   {ProjectTime(1.5), NormalizedRect::unit()}};
    });
    edit(ui, QStringLiteral("Add Clip"), [](Project& p) {
        p.name = QStringLiteral("History, edited");
        p.notes = QStringLiteral("Cut the intro.");
        Clip second = p.makeClip(QStringLiteral("Outro"), ProjectTime(1), {640, 360});
        second.captions = CaptionsTrack{};
        second.captions->captions.push_back(
            Caption::create(ProjectTime(0), ProjectTime(1), QStringLiteral("Bye")));
        p.timeline.add(second);
    });
    const std::shared_ptr<ProjectBundle> bundle = ui.app->currentBundle();
    const Project newest = bundle->project();
    const std::vector<VersionSnapshot> versions = bundle->listVersions();
    ASSERT_EQ(versions.size(), 4u);
    const auto first = bundle->loadVersion(versions.back());
    ASSERT_TRUE(first.has_value());
    ASSERT_EQ(first->timeline.clips.size(), 1u);

    VersionHistoryModel* history = openSheet(ui);
    ASSERT_NE(history, nullptr);
    EXPECT_EQ(text(ui, "versionHistory.title"), QStringLiteral("Version History"));
    EXPECT_EQ(text(ui, "versionHistory.subtitle"), QStringLiteral("Up to 30 recent saves are kept on disk."));
    EXPECT_EQ(text(ui, "versionHistory.count"), QStringLiteral("4 versions"));
    ASSERT_TRUE(waitUntil([&] { return settled(history); }, 10s));
    EXPECT_EQ(history->selection(), versions.front().path) << "the newest is picked";
    EXPECT_EQ(text(ui, "versionHistory.projectName"), QStringLiteral("History, edited"));
    EXPECT_EQ(summary(ui), (QStringList{QStringLiteral("2 clips"), QStringLiteral("2 zoom keyframes"),
                                        QStringLiteral("1 caption")}));
    EXPECT_EQ(text(ui, "versionHistory.notes"), QStringLiteral("Cut the intro."));
    ASSERT_TRUE(waitUntil([&] { return still(ui) && still(ui)->hasPicture(); }));
    const QImage newestStill = still(ui)->image();

    for (int i = 0; i < 3; ++i)
        ui.key(Qt::Key_Down);
    EXPECT_EQ(history->selectedIndex(), 3);
    EXPECT_EQ(history->selection(), versions.back().path);
    ASSERT_TRUE(waitUntil([&] { return settled(history) && history->hasPreviewImage(); }, 10s));
    EXPECT_EQ(text(ui, "versionHistory.projectName"), QStringLiteral("History"));
    EXPECT_EQ(summary(ui), (QStringList{QStringLiteral("1 clip"), QStringLiteral("0 zoom keyframes"),
                                        QStringLiteral("0 captions")}));
    EXPECT_EQ(ui.find(QStringLiteral("versionHistory.notesLabel")), nullptr) << "the first save has no notes";
    ASSERT_TRUE(waitUntil([&] { return still(ui)->hasPicture() && still(ui)->image() != newestStill; }))
        << "the still shows the first save's background, not the newest's red one";
    // The newest save's solid red background fills the still's corner; the first one's gradient does not.
    const QColor newestCorner = newestStill.pixelColor(4, 4);
    const QColor firstCorner = still(ui)->image().pixelColor(4, 4);
    EXPECT_GT(newestCorner.red(), 200);
    EXPECT_LT(newestCorner.green(), 80);
    EXPECT_FALSE(firstCorner.red() > 200 && firstCorner.green() < 80);
    const QString firstDate = rowDate(ui, 3);
    ASSERT_FALSE(firstDate.isEmpty());

    ui.key(Qt::Key_Return);
    QObject* sheet = ui.window()->findChild<QObject*>(QStringLiteral("versionHistory"));
    ASSERT_TRUE(waitUntil([&] { return !sheet->property("visible").toBool(); }));
    EXPECT_EQ(withoutSaveTime(bundle->project(), *first), *first);
    EXPECT_EQ(undoMenuTitle(ui), QStringLiteral("Undo Restore Version from ") + firstDate);
    for (const VersionSnapshot& version : versions)
        EXPECT_TRUE(QFile::exists(version.path))
            << "a restore deletes no save: " << version.rawName.toStdString();

    ui.key(Qt::Key_Z, Qt::ControlModifier);
    ASSERT_TRUE(waitUntil([&] { return bundle->project().timeline.clips.size() == 2; }));
    EXPECT_EQ(withoutSaveTime(bundle->project(), newest), newest);
    EXPECT_EQ(undoMenuTitle(ui), QStringLiteral("Undo Add Clip"));
}

// A save that does not decode says so with the decoder's words and cannot be restored; the other saves
// stay usable, and picking one clears the error.
TEST_F(VersionHistoryViewTest, ACorruptSaveShowsWhyAndCannotBeRestored) {
    UiHarness ui;
    ASSERT_TRUE(ui.load());
    if (!openProject(ui))
        GTEST_SKIP() << "no ffmpeg tool to make the project's movie";
    const std::shared_ptr<ProjectBundle> bundle = ui.app->currentBundle();
    QTest::qWait(20);
    QFile corrupt(QDir(bundle->versionsDirectory()).filePath(QStringLiteral("29991231-235959.json")));
    ASSERT_TRUE(corrupt.open(QIODevice::WriteOnly));
    corrupt.write(R"({"timeline": {"clips": 7}})");
    corrupt.close();
    ASSERT_EQ(bundle->listVersions().front().rawName, QStringLiteral("29991231-235959"));

    VersionHistoryModel* history = openSheet(ui);
    ASSERT_NE(history, nullptr);
    ASSERT_TRUE(waitUntil([&] { return settled(history); }, 10s));
    EXPECT_EQ(text(ui, "versionHistory.error.title"), QStringLiteral("Couldn't load version"));
    const QString message = text(ui, "versionHistory.error.message");
    EXPECT_EQ(message, bundle->loadVersion(bundle->listVersions().front()).error().description);
    EXPECT_TRUE(message.contains(QStringLiteral("clips"))) << message.toStdString();
    QQuickItem* restore = ui.find(QStringLiteral("versionHistory.restore"));
    ASSERT_NE(restore, nullptr);
    EXPECT_FALSE(restore->isEnabled());
    ui.key(Qt::Key_Return);
    QTest::qWait(100);
    EXPECT_FALSE(ui.app->undoManager().canUndo()) << "Enter on a save that cannot load restores nothing";
    EXPECT_NE(ui.find(QStringLiteral("versionHistory.restore")), nullptr) << "and the sheet stays";

    ui.key(Qt::Key_Down);
    ASSERT_TRUE(waitUntil([&] { return settled(history); }, 10s));
    EXPECT_EQ(ui.find(QStringLiteral("versionHistory.error.title")), nullptr);
    EXPECT_EQ(text(ui, "versionHistory.projectName"), QStringLiteral("History"));
    EXPECT_TRUE(restore->isEnabled());

    ui.key(Qt::Key_Up);
    ASSERT_TRUE(waitUntil([&] { return settled(history); }, 10s));
    EXPECT_FALSE(restore->isEnabled());
    ui.key(Qt::Key_Escape);
    QObject* sheet = ui.window()->findChild<QObject*>(QStringLiteral("versionHistory"));
    ASSERT_TRUE(waitUntil([&] { return !sheet->property("visible").toBool(); }));
    EXPECT_FALSE(ui.app->undoManager().canUndo());
}

// A project whose saves are gone shows the empty list and the empty detail, with Restore off.
TEST_F(VersionHistoryViewTest, WithoutSavesTheListIsEmptyAndNothingCanBeRestored) {
    UiHarness ui;
    ASSERT_TRUE(ui.load());
    auto bundle = ui.app->createProjectAt(ui.dir.filePath(QStringLiteral("Empty.orvanescreen")));
    ASSERT_TRUE(bundle.has_value());
    ui.app->setScreen(AppScreen::editor);
    ASSERT_NE(ui.waitFor(QStringLiteral("editor.emptyState")), nullptr);
    QDir versions((*bundle)->versionsDirectory());
    for (const QString& name : versions.entryList(QDir::Files))
        ASSERT_TRUE(versions.remove(name));

    VersionHistoryModel* history = openSheet(ui);
    ASSERT_NE(history, nullptr);
    EXPECT_EQ(text(ui, "versionHistory.empty.title"), QStringLiteral("No saved versions yet"));
    EXPECT_EQ(text(ui, "versionHistory.empty.text"), QStringLiteral("Make an edit to start the history."));
    EXPECT_EQ(text(ui, "versionHistory.none.title"), QStringLiteral("Select a version"));
    EXPECT_EQ(text(ui, "versionHistory.none.text"), QStringLiteral("Pick a save from the left to preview."));
    EXPECT_EQ(text(ui, "versionHistory.count"), QStringLiteral("0 versions"));
    EXPECT_FALSE(ui.find(QStringLiteral("versionHistory.restore"))->isEnabled());
    EXPECT_EQ(ui.find(QStringLiteral("versionHistory.row")), nullptr);

    // Close from the keyboard: Tab reaches the Close button, whose focus shows, and Space presses it.
    QQuickItem* close = ui.find(QStringLiteral("versionHistory.close"));
    ASSERT_NE(close, nullptr);
    for (int i = 0; i < 4 && !close->hasActiveFocus(); ++i)
        ui.key(Qt::Key_Tab);
    ASSERT_TRUE(close->hasActiveFocus());
    EXPECT_TRUE(close->property("visualFocus").toBool());
    ui.key(Qt::Key_Space);
    QObject* sheet = ui.window()->findChild<QObject*>(QStringLiteral("versionHistory"));
    EXPECT_TRUE(waitUntil([&] { return !sheet->property("visible").toBool(); }));
}

} // namespace
} // namespace orvane::test
