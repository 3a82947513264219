// orvane-screenshots OUTPUT_DIR [--only NAME] [--suffix TEXT]
//
// Walks the desktop application through each of its surfaces and writes a PNG of each: the onboarding,
// the welcome screen with recent projects and their thumbnails, the source picker, the countdown, the
// recording control, the editor, the preferences, the shortcuts and help sheets and an error alert. It
// runs the real application objects with settings and projects of its own in a temporary folder, on the
// display it is given (scripts/screenshots starts a private X server with a few windows to pick from).

#include "app/AppState.h"
#include "app/InspectorControls.h"
#include "direction/ThumbnailGenerator.h"
#include "project/RecentProjectsStore.h"
#include "support/Clock.h"
#include "support/UserDefaults.h"
#include "ui/DesktopApplication.h"
#include "ui/EditorModel.h"
#include "ui/ExportSheetViewModel.h"
#include "ui/GraphicsBackend.h"
#include "ui/InspectorModel.h"
#include "ui/ItemTree.h"
#include "ui/RecordingHUDController.h"
#include "ui/VersionHistoryModel.h"

#include <QDir>
#include <QElapsedTimer>
#include <QGuiApplication>
#include <QProcess>
#include <QQmlExtensionPlugin>
#include <QQuickItem>
#include <QQuickStyle>
#include <QQuickWindow>
#include <QTemporaryDir>
#include <QThread>

#include <cstdio>
#include <functional>

Q_IMPORT_QML_PLUGIN(Orvane_UiPlugin)

namespace {

using namespace orvane;

void pump(int milliseconds) {
    QElapsedTimer timer;
    timer.start();
    while (timer.elapsed() < milliseconds) {
        QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
        QThread::msleep(5);
    }
}

bool pumpUntil(const std::function<bool()>& done, int milliseconds) {
    QElapsedTimer timer;
    timer.start();
    while (!done()) {
        if (timer.elapsed() > milliseconds)
            return false;
        QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
        QThread::msleep(5);
    }
    return true;
}

bool makeMovie(const QString& path, const QString& source, double seconds) {
    return QProcess::execute(QStringLiteral("ffmpeg"),
                             {QStringLiteral("-loglevel"), QStringLiteral("error"), QStringLiteral("-y"),
                              QStringLiteral("-f"), QStringLiteral("lavfi"), QStringLiteral("-i"), source,
                              QStringLiteral("-t"), QString::number(seconds), QStringLiteral("-pix_fmt"),
                              QStringLiteral("yuv420p"), path}) == 0;
}

class Tour {
public:
    Tour(QString output, QString only, QString suffix)
        : m_output(std::move(output))
        , m_only(std::move(only))
        , m_suffix(std::move(suffix)) {
        m_defaults = std::make_unique<UserDefaults>(m_dir.filePath(QStringLiteral("defaults.ini")));
        m_defaults->setValue(QString::fromLatin1(AppState::recordingSaveDirectoryKey),
                             m_dir.filePath(QStringLiteral("Projects")));
        // The editor's tour has a picture of its own; the other editor pictures show the editor.
        m_defaults->setValue(QString::fromLatin1(EditorModel::tutorialCompletedKey), true);
        m_recents = std::make_unique<RecentProjectsStore>(*m_defaults);
        m_recents->setThumbnailGenerator(&ThumbnailGenerator::generate);
        m_app = std::make_unique<AppState>(AppState::Services{*m_defaults, *m_recents, Clock::system()});
        m_desktop = std::make_unique<DesktopApplication>(*m_app, *m_recents, *m_defaults,
                                                         DesktopApplication::Options{std::nullopt});
    }

    int run() {
        if (!m_desktop->load())
            return 1;
        QQuickWindow* window = m_desktop->mainWindow();
        pumpUntil([&] { return window->isExposed(); }, 10000);
        pump(800);
        shoot(QStringLiteral("onboarding"), window);

        m_desktop->viewModel().completeOnboarding();
        prepareRecentProjects();
        pumpUntil([&] { return !m_app->availableSources().empty(); }, 10000);
        pump(900);
        shoot(QStringLiteral("welcome"), window);
        if (!m_only.isEmpty() && m_only == QLatin1String("welcome"))
            return finish();

        m_desktop->viewModel().newRecording();
        pump(2500); // sources and their live thumbnails
        shoot(QStringLiteral("picker"), window);
        if (QQuickItem* windows =
                findVisibleItem(window->contentItem(), QStringLiteral("source.filter.windows"))) {
            QMetaObject::invokeMethod(windows, "clicked");
            pump(1500);
            shoot(QStringLiteral("picker-windows"), window);
            if (QQuickItem* displays =
                    findVisibleItem(window->contentItem(), QStringLiteral("source.filter.displays")))
                QMetaObject::invokeMethod(displays, "clicked");
        }

        if (!m_app->availableSources().empty())
            m_app->setSelectedSourceID(m_app->availableSources().front().id);
        m_app->setCountdownTick(std::chrono::seconds(30));
        m_desktop->viewModel().beginCapture();
        pump(900);
        shoot(QStringLiteral("countdown"), window);
        m_app->cancelCountdown();
        pump(300);

        m_app->setCountdownTick(std::chrono::milliseconds(50));
        m_desktop->viewModel().beginCapture();
        if (pumpUntil([&] { return m_app->recordingPhase().isRecording(); }, 15000)) {
            pump(2300);
            shoot(QStringLiteral("hud"), m_desktop->hud().panel());
            m_desktop->viewModel().stopCapture();
            pumpUntil([&] { return m_app->screen() == AppScreen::editor; }, 30000);
        } else {
            std::fprintf(stderr, "orvane-screenshots: the recording did not start; no HUD picture\n");
        }
        pump(900);
        waitForClipMedia(window);
        shoot(QStringLiteral("editor"), window);
        shootEditorSurfaces(window);

        m_desktop->viewModel().showPreferences();
        pump(900);
        for (QWindow* top : QGuiApplication::topLevelWindows())
            if (top->objectName() == QLatin1String("preferencesWindow"))
                shoot(QStringLiteral("preferences"), qobject_cast<QQuickWindow*>(top));
        for (QWindow* top : QGuiApplication::topLevelWindows())
            if (top->objectName() == QLatin1String("preferencesWindow"))
                top->close();

        m_app->requestShortcutsSheet();
        pump(900);
        shoot(QStringLiteral("shortcuts"), window);
        closePopups(window);

        m_app->requestHelpSheet();
        pump(900);
        shoot(QStringLiteral("help"), window);
        closePopups(window);

        m_app->setScreen(AppScreen::welcome);
        m_app->openProject(m_dir.filePath(QStringLiteral("Moved Away.orvanescreen")));
        pump(900);
        shoot(QStringLiteral("error-alert"), window);
        return finish();
    }

private:
    EditorModel* editorModel(QQuickWindow* window) {
        QQuickItem* view = findVisibleItem(window->contentItem(), QStringLiteral("EditorView"));
        return view ? view->findChild<EditorModel*>() : nullptr;
    }

    // Until every clip bar of the editor has its filmstrip (if it has a movie) and its waveform (if it
    // has sound), or ten seconds have passed.
    void waitForClipMedia(QQuickWindow* window) {
        pumpUntil(
            [&] {
                EditorModel* editor = editorModel(window);
                if (!editor)
                    return false;
                for (const TimelineClipModel::Row& row : editor->clipModel().rows())
                    if ((row.hasVideo && row.stripFrames.isEmpty()) ||
                        (!row.hasVideo && row.waveform.isEmpty()))
                        return false;
                return true;
            },
            10000);
        pump(500);
    }

    // The sample project with music beside it, its first-run tour, an empty project and a drop over it.
    // Each of the inspector's tabs over the sample's first clip.
    void shootInspectorTabs(QQuickWindow* window) {
        EditorModel* editor = editorModel(window);
        QQuickItem* view = findVisibleItem(window->contentItem(), QStringLiteral("editor.inspector"));
        auto* inspector = view ? view->findChild<InspectorModel*>() : nullptr;
        if (!editor || !inspector || !m_app->currentBundle() ||
            m_app->currentBundle()->project().timeline.clips.empty())
            return;
        editor->setSelectedClipId(
            m_app->currentBundle()->project().timeline.clips.front().id.toString(QUuid::WithoutBraces));
        for (const InspectorTabInfo& tab : inspectorTabs()) {
            inspector->setSelectedTab(int(tab.tab));
            pump(400);
            shoot(QStringLiteral("inspector-") + QString::fromLatin1(tab.rawValue).toLower(), window);
        }
        inspector->setSelectedTab(0);
    }

    // The version history over the sample project after two more edits, the save before the last picked
    // with its notes and still; the edits are undone afterwards, so the pictures after this one show the
    // sample as it was.
    void shootVersionHistory(QQuickWindow* window) {
        const std::shared_ptr<ProjectBundle> bundle = m_app->currentBundle();
        if (!bundle || bundle->project().timeline.clips.empty())
            return;
        const auto edit = [&](const QString& name, const std::function<void(Project&)>& change) {
            pump(30);
            if (m_app->performEdit(name, change))
                (void)bundle->flushPendingSave();
        };
        edit(QStringLiteral("Add Notes"), [](Project& p) {
            p.notes = QStringLiteral("Tighter intro. Check the zoom on the settings page.");
        });
        edit(QStringLiteral("Change Background"), [](Project& p) {
            p.timeline.clips.front().background =
                BackgroundStyle::gradient(BackgroundStyle::presetGradients().front().fill);
        });
        m_desktop->viewModel().showVersionHistory();
        pump(500);
        QObject* sheet = window->findChild<QObject*>(QStringLiteral("versionHistory"));
        auto* history = sheet ? sheet->property("model").value<VersionHistoryModel*>() : nullptr;
        if (history && history->count() > 1) {
            history->setSelectedIndex(1);
            pumpUntil([&] { return history->hasPreviewImage() || history->hasPreviewError(); }, 10000);
            pump(400);
            shoot(QStringLiteral("version-history"), window);
        }
        closePopups(window);
        m_app->undo();
        m_app->undo();
        (void)bundle->flushPendingSave();
    }

    // The export sheet as it opens and set for a vertical movie with recomposing; then the queue's panel
    // with one export finished, one rendering and one waiting, and the editor's toolbar meanwhile. The
    // jobs are stopped afterwards and the panel sent away.
    void shootExport(QQuickWindow* window) {
        const std::shared_ptr<ProjectBundle> bundle = m_app->currentBundle();
        if (!bundle || bundle->project().timeline.clips.empty())
            return;
        m_app->requestExport();
        pump(700);
        shoot(QStringLiteral("export-sheet"), window);
        if (auto* sheet = window->findChild<ExportSheetViewModel*>(QStringLiteral("exportSheetModel"))) {
            sheet->setPreset(3);
            sheet->setAutoRecompose(true);
            pump(400);
            shoot(QStringLiteral("export-sheet-social"), window);
        }
        closePopups(window);

        // The sample has music beside its video, which only a whole-project export renders; the queue's
        // jobs come from one of the single-clip projects of the welcome screen instead.
        auto single =
            ProjectBundle::load(m_dir.filePath(QStringLiteral("Projects/Product Tour.orvanescreen")));
        if (!single)
            return;
        ExportQueue& queue = m_app->exportQueue();
        const QString folder = m_dir.filePath(QStringLiteral("Exports"));
        QDir().mkpath(folder);
        ExportConfiguration quick;
        quick.outputPath = QDir(folder).filePath(QStringLiteral("Product Tour (preview).mp4"));
        quick.preset = ExportConfiguration::Preset::custom(320, 180, 30, 1'000'000);
        ExportConfiguration full;
        full.outputPath = QDir(folder).filePath(QStringLiteral("Product Tour.mp4"));
        ExportConfiguration vertical = full;
        vertical.outputPath = QDir(folder).filePath(QStringLiteral("Product Tour (vertical).mp4"));
        vertical.preset = ExportConfiguration::Preset::socialVertical();
        const QUuid first = queue.enqueue(*single, quick);
        const QUuid second = queue.enqueue(*single, full);
        queue.enqueue(*single, vertical);
        pumpUntil(
            [&] {
                const ExportQueue::Job* done = queue.job(first);
                const ExportQueue::Job* running = queue.job(second);
                const auto* state =
                    running ? std::get_if<ExportQueue::JobState::Running>(&running->state.value) : nullptr;
                return done && done->state.isFinished() && state && state->progress > 0.3;
            },
            60000);
        pump(500);
        shoot(QStringLiteral("export-queue"), m_desktop->exportQueuePanel());
        shoot(QStringLiteral("editor-exporting"), window);
        queue.cancelAll();
        pumpUntil([&] { return !queue.hasActiveWork(); }, 30000);
        m_app->exportQueueController().hide(true);
        pump(500);
    }

    void shootEditorSurfaces(QQuickWindow* window) {
        bool opened = false;
        auto opening = [&]() -> QCoro::Task<void> {
            co_await m_app->openSampleProject();
            const QString music = m_dir.filePath(QStringLiteral("Music.wav"));
            if (QProcess::execute(
                    QStringLiteral("ffmpeg"),
                    {QStringLiteral("-loglevel"), QStringLiteral("error"), QStringLiteral("-y"),
                     QStringLiteral("-f"), QStringLiteral("lavfi"), QStringLiteral("-i"),
                     QStringLiteral("aevalsrc=0.6*sin(2*PI*220*t)*(0.55+0.45*sin(2*PI*0.7*t)):d=8"),
                     music}) == 0)
                (void)co_await m_app->importAudio(music);
            opened = true;
        };
        opening();
        pumpUntil([&] { return opened; }, 30000);
        m_app->setScreen(AppScreen::editor);
        pump(900);
        waitForClipMedia(window);
        shoot(QStringLiteral("editor-sample"), window);
        shootInspectorTabs(window);
        shootVersionHistory(window);
        shootExport(window);

        if (EditorModel* editor = editorModel(window)) {
            m_defaults->setValue(QString::fromLatin1(EditorModel::tutorialCompletedKey), false);
            editor->appear();
            pump(EditorModel::tutorialDelayMs + 700);
            shoot(QStringLiteral("editor-tutorial"), window);
            editor->completeTutorial();
        }

        if (m_app->createProjectAt(m_dir.filePath(QStringLiteral("Projects/Untitled.orvanescreen")))) {
            m_app->setScreen(AppScreen::editor);
            pump(900);
            shoot(QStringLiteral("editor-empty"), window);
            if (EditorModel* editor = editorModel(window)) {
                editor->setIsDropTargeted(true);
                pump(500);
                shoot(QStringLiteral("editor-drop"), window);
                editor->setIsDropTargeted(false);
            }
        }
    }

    int finish() {
        std::printf("orvane-screenshots: %d pictures in %s\n", m_written, qPrintable(m_output));
        return m_failed ? 1 : 0;
    }

    void closePopups(QQuickWindow* window) {
        QKeyEvent press(QEvent::KeyPress, Qt::Key_Escape, Qt::NoModifier);
        QKeyEvent release(QEvent::KeyRelease, Qt::Key_Escape, Qt::NoModifier);
        QCoreApplication::sendEvent(window, &press);
        QCoreApplication::sendEvent(window, &release);
        pump(400);
    }

    void prepareRecentProjects() {
        struct Sample {
            const char* name;
            const char* source;
        };
        const Sample samples[] = {
            {"Product Tour", "testsrc2=size=1280x720:rate=30"},
            {"Onboarding Walkthrough", "smptehdbars=size=1280x720:rate=30"},
            {"Bug Report 1432", "mandelbrot=size=1280x720:rate=30"},
        };
        for (const Sample& sample : samples) {
            const QString folder = m_dir.filePath(
                QStringLiteral("Projects/%1.orvanescreen").arg(QString::fromLatin1(sample.name)));
            auto bundle = m_app->createProjectAt(folder);
            if (!bundle)
                continue;
            const QString movie =
                m_dir.filePath(QStringLiteral("%1.mp4").arg(QString::fromLatin1(sample.name)));
            if (!makeMovie(movie, QString::fromLatin1(sample.source), 3))
                continue;
            bool imported = false;
            auto importing = [&]() -> QCoro::Task<void> {
                auto result = co_await m_app->importVideo(movie);
                imported = result.has_value();
            };
            importing();
            pumpUntil([&] { return imported; }, 20000);
            m_recents->registerBundle(**bundle);
        }
        // The cards show thumbnails once they are made.
        pumpUntil(
            [&] {
                for (const auto& entry : m_recents->projects())
                    if (!m_recents->thumbnailPath(entry))
                        return false;
                return true;
            },
            15000);
        m_app->setScreen(AppScreen::welcome);
    }

    void shoot(const QString& name, QQuickWindow* window) {
        if (!m_only.isEmpty() && name != m_only)
            return;
        if (!window) {
            std::fprintf(stderr, "orvane-screenshots: no window for %s\n", qPrintable(name));
            m_failed = true;
            return;
        }
        const QString path = QDir(m_output).filePath(name + m_suffix + QStringLiteral(".png"));
        if (!window->grabWindow().save(path)) {
            std::fprintf(stderr, "orvane-screenshots: cannot write %s\n", qPrintable(path));
            m_failed = true;
            return;
        }
        ++m_written;
    }

    QString m_output;
    QString m_only;
    QString m_suffix;
    QTemporaryDir m_dir;
    std::unique_ptr<UserDefaults> m_defaults;
    std::unique_ptr<RecentProjectsStore> m_recents;
    std::unique_ptr<AppState> m_app;
    std::unique_ptr<DesktopApplication> m_desktop;
    int m_written = 0;
    bool m_failed = false;
};

} // namespace

int main(int argc, char** argv) {
    qputenv("PULSE_SERVER",
            qgetenv("PULSE_SERVER").isEmpty() ? QByteArray("unix:/nonexistent") : qgetenv("PULSE_SERVER"));
    QQuickStyle::setStyle(QStringLiteral("Basic"));
    QGuiApplication application(argc, argv);
    // The pictures show what the program draws on this machine.
    chooseGraphicsBackend();
    QStringList args = QGuiApplication::arguments();
    args.removeFirst();
    if (args.isEmpty()) {
        std::fprintf(stderr, "usage: orvane-screenshots OUTPUT_DIR [--only NAME] [--suffix TEXT]\n");
        return 2;
    }
    const QString output = args.takeFirst();
    QString only;
    QString suffix;
    while (args.size() >= 2) {
        const QString option = args.takeFirst();
        const QString value = args.takeFirst();
        if (option == QLatin1String("--only"))
            only = value;
        else if (option == QLatin1String("--suffix"))
            suffix = value;
    }
    QDir().mkpath(output);
    Tour tour(output, only, suffix);
    return tour.run();
}
