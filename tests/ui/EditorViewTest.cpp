#include "UiTestSupport.h"
#include "ui/EditorModel.h"
#include "ui/ItemTree.h"

#include <QDropEvent>
#include <QMimeData>
#include <QProcess>

namespace orvane::test {
namespace {

using namespace std::chrono_literals;

// The editor on a real window: a project of clips whose media need not exist (the timeline's rules need
// none), real mouse gestures through the window, and the Edit menu's titles afterwards.
class EditorViewTest : public UiTest {
protected:
    struct Placed {
        double start;
        double length;
        int track = 0;
    };

    // Opens a new project holding clips placed as given, on the editor screen; their ids in that order.
    std::vector<QUuid> openEditor(UiHarness& ui, const std::vector<Placed>& placed) {
        auto bundle = ui.app->createProjectAt(ui.dir.filePath(QStringLiteral("Edit.orvanescreen")));
        EXPECT_TRUE(bundle.has_value());
        std::vector<QUuid> ids;
        (*bundle)->update([&](Project& project) {
            for (std::size_t i = 0; i < placed.size(); ++i) {
                Clip clip = project.makeClip(QStringLiteral("Clip %1").arg(i + 1),
                                             ProjectTime(placed[i].length), {1920, 1080});
                clip.sourceVideoPath = QStringLiteral("media/missing-%1.mov").arg(i);
                clip.timelineStart = ProjectTime(placed[i].start);
                clip.trackIndex = placed[i].track;
                ids.push_back(clip.id);
                project.timeline.add(clip);
            }
        });
        ui.app->setScreen(AppScreen::editor);
        EXPECT_NE(ui.waitFor(QStringLiteral("editor.timeline")), nullptr);
        return ids;
    }

    EditorModel* model(UiHarness& ui) {
        // A QML-made object is a child of the view that declares it, not of the window.
        QQuickItem* view = ui.find(QStringLiteral("EditorView"));
        return view ? view->findChild<EditorModel*>() : nullptr;
    }

    const Clip* clip(UiHarness& ui, const QUuid& id) {
        return ui.app->currentBundle()->project().timeline.clip(id);
    }

    QQuickItem* bar(UiHarness& ui, const QUuid& id) {
        return ui.waitFor(QStringLiteral("clip.") + id.toString(QUuid::WithoutBraces));
    }

    // A press, moves in small steps as a hand makes them, and a release, in window coordinates.
    void drag(UiHarness& ui, QPointF from, QPointF to, int steps = 12) {
        QTest::mousePress(ui.window(), Qt::LeftButton, Qt::NoModifier, from.toPoint());
        for (int i = 1; i <= steps; ++i) {
            const QPointF p = from + (to - from) * (double(i) / steps);
            QTest::mouseMove(ui.window(), p.toPoint(), 8);
        }
        QTest::mouseRelease(ui.window(), Qt::LeftButton, Qt::NoModifier, to.toPoint(), 8);
    }

    QString undoMenuTitle(UiHarness& ui) {
        QObject* undo = ui.window()->findChild<QObject*>(QStringLiteral("menu.undo"));
        return undo ? undo->property("text").toString() : QString();
    }

    void dropFiles(UiHarness& ui, const QList<QUrl>& urls, bool release = true) {
        const QPoint at(ui.window()->width() / 2, ui.window()->height() / 2);
        QMimeData mime;
        mime.setUrls(urls);
        QDragEnterEvent enter(at, Qt::CopyAction, &mime, Qt::LeftButton, Qt::NoModifier);
        QCoreApplication::sendEvent(ui.window(), &enter);
        QDragMoveEvent move(at + QPoint(4, 4), Qt::CopyAction, &mime, Qt::LeftButton, Qt::NoModifier);
        QCoreApplication::sendEvent(ui.window(), &move);
        if (!release)
            return;
        QDropEvent drop(QPointF(at + QPoint(4, 4)), Qt::CopyAction, &mime, Qt::LeftButton, Qt::NoModifier);
        QCoreApplication::sendEvent(ui.window(), &drop);
    }

    static QString makeMovie(const QString& path) {
        const int status = QProcess::execute(
            QStringLiteral("ffmpeg"),
            {QStringLiteral("-loglevel"), QStringLiteral("error"), QStringLiteral("-y"), QStringLiteral("-f"),
             QStringLiteral("lavfi"), QStringLiteral("-i"), QStringLiteral("testsrc2=size=320x180:rate=30"),
             QStringLiteral("-t"), QStringLiteral("1"), QStringLiteral("-pix_fmt"), QStringLiteral("yuv420p"),
             path});
        return status == 0 ? path : QString();
    }
};

// Opening selects the first clip; dragging its bar by 100 points moves it 1.25 s at 80 points a second as
// one undo step named in the Edit menu, and Ctrl+Z puts it back.
TEST_F(EditorViewTest, DraggingAClipIsOneUndoableMove) {
    UiHarness ui;
    ASSERT_TRUE(ui.load());
    const std::vector<QUuid> ids = openEditor(ui, {{0, 4}, {6, 4}});
    EditorModel* editor = model(ui);
    ASSERT_NE(editor, nullptr);
    EXPECT_EQ(editor->selectedClipId(), ids[0].toString(QUuid::WithoutBraces));
    QQuickItem* first = bar(ui, ids[0]);
    ASSERT_NE(first, nullptr);
    EXPECT_DOUBLE_EQ(first->width(), 320.0);
    EXPECT_EQ(undoMenuTitle(ui), QStringLiteral("Undo"));

    const QPointF grip = first->mapToScene({first->width() / 2, first->height() / 2});
    drag(ui, grip, grip + QPointF(100, 0));
    ASSERT_TRUE(waitUntil([&] { return clip(ui, ids[0])->timelineStart.seconds > 1; }));
    EXPECT_NEAR(clip(ui, ids[0])->timelineStart.seconds, 1.25, 1e-9);
    EXPECT_EQ(clip(ui, ids[0])->trackIndex, 0);
    EXPECT_EQ(undoMenuTitle(ui), QStringLiteral("Undo Move Clip"));
    // The bar is drawn from the record again, not from the gesture.
    EXPECT_NEAR(first->x(), 100.0, 1e-6);

    ui.key(Qt::Key_Z, Qt::ControlModifier);
    ASSERT_TRUE(waitUntil([&] { return clip(ui, ids[0])->timelineStart.seconds == 0; }));
    EXPECT_FALSE(ui.app->undoManager().canUndo()) << "the whole drag was one step";
    EXPECT_EQ(undoMenuTitle(ui), QStringLiteral("Undo"));

    // A nudge under the drag's minimum distance changes nothing and leaves no step.
    drag(ui, grip, grip + QPointF(3, 0), 3);
    QTest::qWait(50);
    EXPECT_EQ(clip(ui, ids[0])->timelineStart.seconds, 0);
    EXPECT_FALSE(ui.app->undoManager().canUndo());
}

// Trimming the end of the first clip by 80 points takes a second off it and, with ripple on, pulls the next
// clip left by the same; the trim and its ripple undo together.
TEST_F(EditorViewTest, TrimmingAnEndRipplesAndUndoesInOneStep) {
    UiHarness ui;
    ASSERT_TRUE(ui.load());
    const std::vector<QUuid> ids = openEditor(ui, {{0, 4}, {6, 4, 1}});
    QQuickItem* first = bar(ui, ids[0]);
    ASSERT_NE(first, nullptr);
    QQuickItem* handle =
        findItem(first, [](const QQuickItem& item) { return item.objectName() == QLatin1String("trimEnd"); });
    ASSERT_NE(handle, nullptr);
    const QPointF grip = handle->mapToScene({handle->width() / 2, handle->height() / 2});

    QTest::mousePress(ui.window(), Qt::LeftButton, Qt::NoModifier, grip.toPoint());
    for (int i = 1; i <= 8; ++i)
        QTest::mouseMove(ui.window(), (grip - QPointF(10 * i, 0)).toPoint(), 8);
    // Live while the hand is down: the record follows, the tooltip shows the new length, nothing rippled.
    EXPECT_NEAR(clip(ui, ids[0])->sourceOut.seconds, 3.0, 1e-9);
    EXPECT_EQ(clip(ui, ids[1])->timelineStart.seconds, 6.0);
    QQuickItem* tooltip = ui.find(QStringLiteral("timeline.trimTooltip"));
    ASSERT_NE(tooltip, nullptr);
    EXPECT_NE(findItem(tooltip,
                       [](const QQuickItem& item) {
                           return item.property("text").toString() == QLatin1String("3.0 s");
                       }),
              nullptr);
    QTest::mouseRelease(ui.window(), Qt::LeftButton, Qt::NoModifier, (grip - QPointF(80, 0)).toPoint(), 8);

    ASSERT_TRUE(waitUntil([&] { return clip(ui, ids[1])->timelineStart.seconds < 6; }));
    EXPECT_NEAR(clip(ui, ids[1])->timelineStart.seconds, 5.0, 1e-9);
    EXPECT_NEAR(first->width(), 240.0, 1e-6);
    EXPECT_EQ(undoMenuTitle(ui), QStringLiteral("Undo Trim Clip End"));

    ui.app->undo();
    EXPECT_NEAR(clip(ui, ids[0])->sourceOut.seconds, 4.0, 1e-9);
    EXPECT_NEAR(clip(ui, ids[1])->timelineStart.seconds, 6.0, 1e-9);
    EXPECT_FALSE(ui.app->undoManager().canUndo());
    EXPECT_EQ(ui.desktop->viewModel().redoTitle(), QStringLiteral("Redo Trim Clip End"));
}

// A click in the ruler puts the playhead there; Ctrl+K splits the clip under it, and the split undoes.
TEST_F(EditorViewTest, ScrubbingTheRulerThenCtrlKSplits) {
    UiHarness ui;
    ASSERT_TRUE(ui.load());
    const std::vector<QUuid> ids = openEditor(ui, {{0, 4}});
    EditorModel* editor = model(ui);
    ASSERT_NE(editor, nullptr);
    QQuickItem* ruler = ui.waitFor(QStringLiteral("timeline.ruler"));
    ASSERT_NE(ruler, nullptr);
    const QPointF at = ruler->mapToScene({160, ruler->height() / 2});
    QTest::mouseClick(ui.window(), Qt::LeftButton, Qt::NoModifier, at.toPoint());
    ASSERT_TRUE(waitUntil([&] { return std::abs(editor->playheadTime() - 2.0) < 1e-9; }))
        << editor->playheadTime();
    QQuickItem* playhead = ui.find(QStringLiteral("timeline.playhead"));
    ASSERT_NE(playhead, nullptr);
    EXPECT_NEAR(playhead->x(), 160.0, 1e-6);

    ui.window()->requestActivate();
    ui.key(Qt::Key_K, Qt::ControlModifier);
    ASSERT_TRUE(waitUntil([&] { return ui.app->currentBundle()->project().timeline.clips.size() == 2; }));
    const Timeline& timeline = ui.app->currentBundle()->project().timeline;
    EXPECT_NEAR(timeline.clips[0].sourceOut.seconds, 2.0, 1e-9);
    EXPECT_EQ(timeline.clips[1].name, QStringLiteral("Clip 1 (2)"));
    EXPECT_EQ(undoMenuTitle(ui), QStringLiteral("Undo Split Clip"));
    ASSERT_TRUE(waitUntil([&] {
        return findItems(ui.window()->contentItem(), [](const QQuickItem& item) {
                   return item.isVisible() && item.objectName().startsWith(QLatin1String("clip."));
               }).size() == 2;
    }));

    ui.key(Qt::Key_Z, Qt::ControlModifier);
    ASSERT_TRUE(waitUntil([&] { return ui.app->currentBundle()->project().timeline.clips.size() == 1; }));
    EXPECT_NEAR(ui.app->currentBundle()->project().timeline.clips[0].sourceOut.seconds, 4.0, 1e-9);
}

// Track headers flip their flags without an undo step; the divider resizes as one step.
TEST_F(EditorViewTest, TrackHeaderTogglesAndResize) {
    UiHarness ui;
    ASSERT_TRUE(ui.load());
    openEditor(ui, {{0, 4}});
    QQuickItem* mute = ui.waitFor(QStringLiteral("track.0.mute"));
    ASSERT_NE(mute, nullptr);
    ui.click(mute);
    ASSERT_TRUE(waitUntil([&] { return ui.app->currentBundle()->project().timeline.tracks[0].muted; }));
    EXPECT_FALSE(ui.app->undoManager().canUndo());

    QQuickItem* divider = ui.find(QStringLiteral("track.0.divider"));
    ASSERT_NE(divider, nullptr);
    const QPointF grip = divider->mapToScene({divider->width() / 2, divider->height() / 2});
    drag(ui, grip, grip + QPointF(0, 40));
    EXPECT_NEAR(ui.app->currentBundle()->project().timeline.tracks[0].height, 104.0, 1e-9);
    EXPECT_EQ(undoMenuTitle(ui), QStringLiteral("Undo Resize Track"));
    ui.app->undo();
    EXPECT_NEAR(ui.app->currentBundle()->project().timeline.tracks[0].height, 64.0, 1e-9);
    EXPECT_TRUE(ui.app->currentBundle()->project().timeline.tracks[0].muted)
        << "the toggle was not part of it";
}

// An empty project shows the empty state. Dragging files over it shows the drop target; a text file
// alone is refused with what can be imported and a way to choose another file, which opens the panel; a
// movie dropped beside a text file is imported and the text file passed over in silence.
TEST_F(EditorViewTest, DropsOnTheEmptyStateImportOrExplain) {
    UiHarness ui;
    ASSERT_TRUE(ui.load());
    ASSERT_TRUE(ui.app->createProjectAt(ui.dir.filePath(QStringLiteral("Empty.orvanescreen"))).has_value());
    ui.app->setScreen(AppScreen::editor);
    ASSERT_NE(ui.waitFor(QStringLiteral("editor.emptyState")), nullptr);
    EXPECT_EQ(ui.find(QStringLiteral("editor.timeline")), nullptr);

    const QString notes = ui.dir.filePath(QStringLiteral("notes.txt"));
    QFile(notes).open(QIODevice::WriteOnly);
    dropFiles(ui, {QUrl::fromLocalFile(notes)}, false);
    EXPECT_NE(ui.waitFor(QStringLiteral("editor.dropOverlay")), nullptr);
    dropFiles(ui, {QUrl::fromLocalFile(notes)});
    EditorModel* editor = model(ui);
    ASSERT_NE(editor, nullptr);
    EXPECT_FALSE(editor->isDropTargeted());
    ASSERT_TRUE(ui.app->lastError().has_value());
    ASSERT_NE(ui.waitFor(QStringLiteral("errorAlert.title")), nullptr);
    EXPECT_EQ(ui.desktop->viewModel().errorTitle(), QStringLiteral("Unsupported file"));
    EXPECT_EQ(ui.desktop->viewModel().errorMessage(),
              QStringLiteral(
                  "Orvane Screen can import MOV, MP4, M4V, MKV video and MP3, M4A, WAV, AIFF, FLAC audio."));
    EXPECT_EQ(ui.find(QStringLiteral("editor.dropOverlay")), nullptr);
    QQuickItem* choose = ui.waitFor(QStringLiteral("errorAlert.action.0"));
    ASSERT_NE(choose, nullptr);
    EXPECT_EQ(choose->property("text").toString(), QStringLiteral("Choose a different file"));
    ui.click(choose);
    QObject* panel = nullptr;
    ASSERT_TRUE(waitUntil([&] {
        panel = ui.window()->findChild<QObject*>(QStringLiteral("importPanel"));
        return panel && panel->property("visible").toBool();
    }));
    EXPECT_EQ(panel->property("title").toString(), QStringLiteral("Import Video"));

    // The file chosen there is imported.
    const QString movie = makeMovie(ui.dir.filePath(QStringLiteral("Take.MP4")));
    ASSERT_FALSE(movie.isEmpty());
    // The dialog's own file list is the toolkit's; the choice it reports is what the program acts on.
    panel->setProperty("selectedFile", QUrl::fromLocalFile(movie));
    QMetaObject::invokeMethod(panel, "accepted");
    ASSERT_TRUE(
        waitUntil([&] { return ui.app->currentBundle()->project().timeline.clips.size() == 1; }, 15s));
    EXPECT_EQ(ui.app->currentBundle()->project().timeline.clips[0].name, QStringLiteral("Take"));
    EXPECT_NE(ui.waitFor(QStringLiteral("editor.timeline")), nullptr) << "the body replaces the empty state";

    dropFiles(ui, {QUrl::fromLocalFile(notes), QUrl::fromLocalFile(movie)});
    ASSERT_TRUE(
        waitUntil([&] { return ui.app->currentBundle()->project().timeline.clips.size() == 2; }, 15s));
    EXPECT_FALSE(ui.app->lastError().has_value());
}

// Ctrl+E opens the export sheet even when there is nothing to export.
TEST_F(EditorViewTest, ExportRequestOpensTheSheetOnTheEmptyState) {
    UiHarness ui;
    ASSERT_TRUE(ui.load());
    ui.app->setScreen(AppScreen::editor);
    ASSERT_NE(ui.waitFor(QStringLiteral("editor.emptyState")), nullptr);
    ui.window()->requestActivate();
    ui.key(Qt::Key_E, Qt::ControlModifier);
    ASSERT_NE(ui.waitFor(QStringLiteral("export.exportButton")), nullptr);
    EXPECT_FALSE(ui.find(QStringLiteral("export.exportButton"))->isEnabled());
}

// A first visit brings the tour up a moment after the editor shows; Next walks it, the last step's Done
// ends it for good, and Esc ends it from any step.
TEST_F(EditorViewTest, TheTourWalksItsStepsAndEndsForGood) {
    UiHarness ui({.onboardingCompleted = true, .apiPort = std::nullopt, .editorTutorialCompleted = false});
    ASSERT_TRUE(ui.load());
    openEditor(ui, {{0, 4}});
    ASSERT_NE(ui.waitFor(QStringLiteral("editor.tutorial.card")), nullptr);
    EditorModel* editor = model(ui);
    ASSERT_NE(editor, nullptr);
    QStringList titles;
    for (int step = 0; step < EditorModel::tutorialSteps; ++step) {
        QQuickItem* title = ui.waitFor(QStringLiteral("editor.tutorial.title"));
        ASSERT_NE(title, nullptr);
        titles << title->property("text").toString();
        ui.click(ui.find(QStringLiteral("editor.tutorial.next")));
    }
    EXPECT_EQ(titles.size(), 4);
    EXPECT_EQ(QSet<QString>(titles.begin(), titles.end()).size(), 4) << "each step says something new";
    ASSERT_TRUE(waitUntil([&] { return !editor->showTutorial(); }));
    EXPECT_TRUE(ui.defaults->boolean(QString::fromLatin1(EditorModel::tutorialCompletedKey)));

    // A new visit does not bring it back.
    ui.app->setScreen(AppScreen::welcome);
    ASSERT_TRUE(waitUntil([&] { return ui.find(QStringLiteral("EditorView")) == nullptr; }));
    ui.app->setScreen(AppScreen::editor);
    ASSERT_NE(ui.waitFor(QStringLiteral("editor.timeline")), nullptr);
    QTest::qWait(EditorModel::tutorialDelayMs + 200);
    EXPECT_EQ(ui.find(QStringLiteral("editor.tutorial.card")), nullptr);

    // Turned on again, Esc ends it at its first step.
    ui.defaults->setValue(QString::fromLatin1(EditorModel::tutorialCompletedKey), false);
    ui.app->setScreen(AppScreen::welcome);
    ASSERT_TRUE(waitUntil([&] { return ui.find(QStringLiteral("EditorView")) == nullptr; }));
    ui.app->setScreen(AppScreen::editor);
    ASSERT_NE(ui.waitFor(QStringLiteral("editor.tutorial.card")), nullptr);
    ui.window()->requestActivate();
    ui.key(Qt::Key_Escape);
    ASSERT_TRUE(waitUntil([&] { return ui.find(QStringLiteral("editor.tutorial.card")) == nullptr; }));
    EXPECT_TRUE(ui.defaults->boolean(QString::fromLatin1(EditorModel::tutorialCompletedKey)));
}

} // namespace
} // namespace orvane::test
