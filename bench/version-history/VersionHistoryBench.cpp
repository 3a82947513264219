// orvane-version-history-bench [--rounds N]
//
// The version history sheet in the editor on a private X server, over a project of thirty saves of two
// hundred clips each, the first clip over a 1080p movie:
// - list: from the request to open the sheet to the first frame that shows its rows;
// - first preview: from the same request to the first frame that shows the newest save's composed still.
// Each is the median of N openings (10 by default) after a first, cold one, which is printed apart. The
// baseline is one plain decode of one save's file, measured in the same run; the goal for the first
// preview is under 300 ms.

#include "../window/PrivateDisplay.h"
#include "app/AppState.h"
#include "media/GradientMovie.h"
#include "project/ProjectBundle.h"
#include "project/RecentProjectsStore.h"
#include "support/Clock.h"
#include "support/UserDefaults.h"
#include "ui/DesktopApplication.h"
#include "ui/EditorModel.h"
#include "ui/GraphicsBackend.h"
#include "ui/ItemTree.h"
#include "ui/VersionHistoryModel.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QGuiApplication>
#include <QQmlExtensionPlugin>
#include <QQuickItem>
#include <QQuickStyle>
#include <QQuickWindow>
#include <QSGRendererInterface>
#include <QTemporaryDir>
#include <QTest>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <vector>

Q_IMPORT_QML_PLUGIN(Orvane_UiPlugin)

namespace {

using namespace orvane;

constexpr int savesKept = ProjectBundle::maxVersions;
constexpr int clipsPerSave = 200;

double median(std::vector<double> samples) {
    if (samples.empty())
        return 0;
    std::sort(samples.begin(), samples.end());
    return samples[samples.size() / 2];
}

// The time of the last frame the window showed.
class FrameClock : public QObject {
public:
    explicit FrameClock(QQuickWindow* window) {
        m_clock.start();
        connect(
            window, &QQuickWindow::frameSwapped, this,
            [this] {
                m_lastNs.store(m_clock.nsecsElapsed());
                m_frames.fetch_add(1);
            },
            Qt::DirectConnection);
    }
    qint64 now() const { return m_clock.nsecsElapsed(); }
    int frames() const { return m_frames.load(); }
    qint64 lastFrameNs() const { return m_lastNs.load(); }

    // Waits for `ready`, then for the first frame after it; the time of that frame, in ns.
    qint64 frameAfter(const std::function<bool()>& ready) {
        if (!QTest::qWaitFor(ready, 10000))
            return -1;
        const int before = frames();
        if (!QTest::qWaitFor([&] { return frames() > before; }, 2000))
            return -1;
        return lastFrameNs();
    }

private:
    QElapsedTimer m_clock;
    std::atomic<int> m_frames{0};
    std::atomic<qint64> m_lastNs{0};
};

// Thirty saves of the same long project, each a little different, as an afternoon of edits leaves them.
bool writeProject(const QString& folder) {
    const QString movie = QDir(folder).filePath(QStringLiteral("media/screen.mov"));
    if (!writeGradientMovie(movie, {1920, 1080}, 2, 30)) {
        std::fprintf(stderr, "orvane-version-history-bench: could not write the movie\n");
        return false;
    }
    Project project;
    project.name = QStringLiteral("Long Project");
    for (int i = 0; i < clipsPerSave; ++i) {
        Clip clip = project.makeClip(QStringLiteral("Take %1").arg(i + 1), ProjectTime(2), {1920, 1080});
        clip.sourceVideoPath = QStringLiteral("media/screen.mov");
        clip.timelineStart = ProjectTime(i * 2.0);
        clip.zoomTrack.keyframes = {{ProjectTime(0.3), {0.2, 0.2, 0.5, 0.5}},
                                    {ProjectTime(1.6), NormalizedRect::unit()}};
        project.timeline.add(clip);
    }
    ProjectBundle bundle(folder, project);
    if (!bundle.ensureOnDisk())
        return false;
    for (int save = 1; save < savesKept; ++save) {
        bundle.update([&](Project& p) {
            p.notes = QStringLiteral("Pass %1").arg(save);
            p.timeline.clips[std::size_t(save)].name = QStringLiteral("Retake %1").arg(save);
        });
        if (!bundle.save())
            return false;
    }
    return bundle.listVersions().size() == std::size_t(savesKept);
}

} // namespace

int main(int argc, char** argv) {
    const auto server = bench::startPrivateDisplay("orvane-version-history-bench");
    if (!server)
        return 1;
    QQuickStyle::setStyle(QStringLiteral("Basic"));
    QGuiApplication application(argc, argv);
    chooseGraphicsBackend();
    int rounds = 10;
    const QStringList args = QGuiApplication::arguments();
    if (args.size() == 3 && args[1] == QLatin1String("--rounds"))
        rounds = std::max(1, args[2].toInt());

    QTemporaryDir dir;
    const QString folder = dir.filePath(QStringLiteral("Long Project.orvanescreen"));
    if (!writeProject(folder)) {
        std::fprintf(stderr, "orvane-version-history-bench: could not write the project\n");
        return 1;
    }

    UserDefaults defaults(dir.filePath(QStringLiteral("defaults.ini")));
    defaults.setValue(QStringLiteral("orvane.screen.hasCompletedOnboarding"), true);
    defaults.setValue(QString::fromLatin1(EditorModel::tutorialCompletedKey), true);
    RecentProjectsStore recents(defaults);
    AppState app({defaults, recents, Clock::system()});
    DesktopApplication desktop(app, recents, defaults, {std::nullopt});
    if (!desktop.load())
        return 1;
    QQuickWindow* window = desktop.mainWindow();
    window->resize(1600, 1000);
    (void)QTest::qWaitForWindowExposed(window);
    if (!app.openProject(folder)) {
        std::fprintf(stderr, "orvane-version-history-bench: could not open the project\n");
        return 1;
    }
    (void)QTest::qWaitFor(
        [&] { return findVisibleItem(window->contentItem(), QStringLiteral("editor.timeline")); }, 5000);
    QTest::qWait(800);
    FrameClock clock(window);

    // One opening: the request, the rows on screen, the newest save's still on screen, then Esc.
    VersionHistoryModel* history = nullptr;
    QObject* sheet = nullptr;
    auto open = [&](double& listMs, double& previewMs) {
        const qint64 start = clock.now();
        desktop.viewModel().showVersionHistory();
        if (!sheet)
            sheet = window->findChild<QObject*>(QStringLiteral("versionHistory"));
        if (sheet && !history)
            history = sheet->property("model").value<VersionHistoryModel*>();
        if (!history)
            return false;
        const qint64 listed = clock.frameAfter([&] {
            return findVisibleItem(window->contentItem(), QStringLiteral("versionHistory.row")) != nullptr;
        });
        const qint64 previewed = clock.frameAfter([&] { return history->hasPreviewImage(); });
        if (listed < 0 || previewed < 0)
            return false;
        listMs = double(listed - start) / 1e6;
        previewMs = double(previewed - start) / 1e6;
        QMetaObject::invokeMethod(sheet, "close");
        (void)QTest::qWaitFor([&] { return !sheet->property("visible").toBool(); }, 2000);
        QTest::qWait(100);
        return true;
    };

    double coldList = 0;
    double coldPreview = 0;
    if (!open(coldList, coldPreview)) {
        std::fprintf(stderr, "orvane-version-history-bench: the sheet did not show its saves\n");
        return 1;
    }
    std::vector<double> listTimes;
    std::vector<double> previewTimes;
    for (int i = 0; i < rounds; ++i) {
        double listMs = 0;
        double previewMs = 0;
        if (!open(listMs, previewMs)) {
            std::fprintf(stderr, "orvane-version-history-bench: round %d did not finish\n", i + 1);
            return 1;
        }
        listTimes.push_back(listMs);
        previewTimes.push_back(previewMs);
    }

    // The baseline: one save read and decoded, nothing else.
    const std::vector<VersionSnapshot> saves = app.currentBundle()->listVersions();
    std::vector<double> decodeTimes;
    for (int i = 0; i < std::max(rounds, 5); ++i) {
        QElapsedTimer timer;
        timer.start();
        QFile file(saves.front().path);
        if (!file.open(QIODevice::ReadOnly) || !decodeProject(file.readAll()))
            return 1;
        decodeTimes.push_back(double(timer.nsecsElapsed()) / 1e6);
    }
    const double listMs = median(listTimes);
    const double previewMs = median(previewTimes);
    const double decodeMs = median(decodeTimes);

    std::printf("version history, %d saves of %d clips (%lld KB each; %s):\n", savesKept, clipsPerSave,
                QFileInfo(saves.front().path).size() / 1024,
                window->rendererInterface()->graphicsApi() == QSGRendererInterface::Software
                    ? "software renderer"
                    : "GPU renderer");
    std::printf("  first opening (the sheet made): list on screen %.1f ms, first preview on screen %.1f ms\n",
                coldList, coldPreview);
    std::printf(
        "  median of %d openings: list on screen %.1f ms, first preview on screen %.1f ms (goal under "
        "300 ms)\n",
        rounds, listMs, previewMs);
    std::printf("  baseline, one plain decode of one save: %.1f ms; ratios: list %.2f, first preview %.2f\n",
                decodeMs, decodeMs > 0 ? listMs / decodeMs : 0.0, decodeMs > 0 ? previewMs / decodeMs : 0.0);
    return 0;
}
