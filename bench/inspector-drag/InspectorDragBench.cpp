// orvane-inspector-drag-bench [--seconds N]
//
// The editor on a private X server over a project with one 1920x1080 clip, paused. The inspector's
// Corner Radius slider is dragged through the same calls the slider row makes (begin, a change per pointer
// event, end) at 60 events a second for N seconds (10 by default), sweeping its range back and forth:
// - preview: composed frames put on screen during the drag, per second (goal at least 30);
// - undo: steps the whole drag left (goal one), and that one undo brings the radius back;
// - saves: project saves during the drag, and the most in any one second (goal at most one).
// The baseline, in the same run, is the same preview while the project's corner radius is changed at the
// same rate straight through the bundle, with no inspector, no undo bookkeeping and no saves' debounce
// logic of the slider: what the preview can show for a project that changes 60 times a second.
// The last line reads `inspector drag: N frames in S s (F fps, ratio R), undo steps U, saves W (max M/s)`.

#include "../window/PrivateDisplay.h"
#include "app/AppState.h"
#include "app/InspectorControls.h"
#include "media/GradientMovie.h"
#include "project/ProjectBundle.h"
#include "project/RecentProjectsStore.h"
#include "support/Clock.h"
#include "support/UserDefaults.h"
#include "ui/DesktopApplication.h"
#include "ui/EditorModel.h"
#include "ui/GraphicsBackend.h"
#include "ui/ItemTree.h"
#include "ui/PreviewItem.h"

#include <QDir>
#include <QElapsedTimer>
#include <QGuiApplication>
#include <QQmlExtensionPlugin>
#include <QQuickItem>
#include <QQuickStyle>
#include <QQuickWindow>
#include <QSGRendererInterface>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <functional>
#include <vector>

Q_IMPORT_QML_PLUGIN(Orvane_UiPlugin)

namespace {

using namespace orvane;

constexpr double eventsPerSecond = 60;

struct Run {
    int events = 0;
    int frames = 0;
    double seconds = 0;
    std::vector<double> saveTimes; // seconds from the start of the run
    double fps() const { return seconds > 0 ? frames / seconds : 0; }
};

// Calls `event(i, value)` at 60 events a second for `seconds`, the value sweeping [lo, hi] and back once
// a second, while counting the preview's presented frames and the bundle's saves. Paced on elapsed time, so
// a late tick catches up rather than stretching the run.
Run drive(PreviewItem& preview, const ProjectBundle& bundle, double seconds, double lo, double hi,
          const std::function<void(double)>& event) {
    Run run;
    const int total = int(std::lround(seconds * eventsPerSecond));
    const int framesBefore = preview.presentedFrames();
    QDateTime lastSave = bundle.lastSaveAt();
    QElapsedTimer clock;
    QTimer timer;
    timer.setTimerType(Qt::PreciseTimer);
    timer.setInterval(2);
    clock.start();
    QObject::connect(&timer, &QTimer::timeout, [&] {
        const double now = double(clock.nsecsElapsed()) / 1e9;
        if (bundle.lastSaveAt() != lastSave) {
            lastSave = bundle.lastSaveAt();
            run.saveTimes.push_back(now);
        }
        while (run.events < total && run.events <= int(now * eventsPerSecond)) {
            const double phase = std::fmod(double(run.events) / eventsPerSecond, 1.0);
            const double sweep = phase < 0.5 ? phase * 2 : (1 - phase) * 2;
            event(lo + (hi - lo) * sweep);
            ++run.events;
        }
    });
    timer.start();
    (void)QTest::qWaitFor([&] { return run.events >= total; }, int(seconds * 1000) + 10000);
    timer.stop();
    run.seconds = double(clock.nsecsElapsed()) / 1e9;
    run.frames = preview.presentedFrames() - framesBefore;
    return run;
}

int maxPerSecond(const std::vector<double>& times) {
    int most = 0;
    for (std::size_t i = 0; i < times.size(); ++i) {
        int inWindow = 0;
        for (std::size_t j = i; j < times.size() && times[j] < times[i] + 1.0; ++j)
            ++inWindow;
        most = std::max(most, inWindow);
    }
    return most;
}

} // namespace

int main(int argc, char** argv) {
    const auto server = bench::startPrivateDisplay("orvane-inspector-drag-bench");
    if (!server)
        return 1;
    QQuickStyle::setStyle(QStringLiteral("Basic"));
    QGuiApplication application(argc, argv);
    chooseGraphicsBackend();
    double seconds = 10;
    const QStringList args = QGuiApplication::arguments();
    if (args.size() == 3 && args[1] == QLatin1String("--seconds"))
        seconds = std::max(1.0, args[2].toDouble());

    QTemporaryDir dir;
    const QString folder = dir.filePath(QStringLiteral("Drag.orvanescreen"));
    const QString movie = QDir(folder).filePath(QStringLiteral("media/screen.mov"));
    QDir().mkpath(QDir(folder).filePath(QStringLiteral("media")));
    if (!writeGradientMovie(movie, {1920, 1080}, 4, 30)) {
        std::fprintf(stderr, "orvane-inspector-drag-bench: could not write the movie\n");
        return 1;
    }
    {
        Project project;
        project.name = QStringLiteral("Drag");
        Clip clip = project.makeClip(QStringLiteral("Screen"), ProjectTime(4), {1920, 1080});
        clip.sourceVideoPath = QStringLiteral("media/screen.mov");
        project.timeline.add(clip);
        ProjectBundle bundle(folder, project);
        if (!bundle.ensureOnDisk())
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
        std::fprintf(stderr, "orvane-inspector-drag-bench: could not open the project\n");
        return 1;
    }
    auto* preview =
        qobject_cast<PreviewItem*>(findVisibleItem(window->contentItem(), QStringLiteral("preview.item")));
    (void)QTest::qWaitFor(
        [&] {
            preview = qobject_cast<PreviewItem*>(
                findVisibleItem(window->contentItem(), QStringLiteral("preview.item")));
            return preview && preview->presentedFrames() > 0;
        },
        10000);
    QObject* inspector = window->findChild<QObject*>(QStringLiteral("inspectorModel"));
    const std::shared_ptr<ProjectBundle> bundle = app.currentBundle();
    if (!preview || !inspector || !bundle) {
        std::fprintf(stderr, "orvane-inspector-drag-bench: the editor did not show the clip (%s)\n",
                     !preview ? "no preview" : (!inspector ? "no inspector" : "no project"));
        return 1;
    }
    const QUuid clipID = bundle->project().timeline.clips.front().id;
    inspector->setProperty("clipId", clipID.toString(QUuid::WithoutBraces));

    const std::vector<InspectorSlider>& sliders = inspectorSliders();
    const auto found = std::find_if(sliders.begin(), sliders.end(), [](const InspectorSlider& s) {
        return s.keyPath == QLatin1String("frame.cornerRadius");
    });
    if (found == sliders.end())
        return 1;
    const QString sliderID = QStringLiteral("slider:%1").arg(found - sliders.begin());
    const double lo = found->minimum;
    const double hi = found->maximum;
    QTest::qWait(1500); // the opening's own saves and media work settle

    // Baseline: the project changed straight through the bundle at the same rate.
    const Run baseline = drive(*preview, *bundle, seconds, lo, hi, [&](double value) {
        bundle->update([&](Project& p) { p.timeline.clips.front().frame.cornerRadius = value; });
    });
    (void)bundle->flushPendingSave();
    QTest::qWait(1500);

    // The drag, through the calls the slider row makes.
    const double radiusBefore = bundle->project().timeline.clips.front().frame.cornerRadius;
    const std::size_t stepsBefore = app.undoManager().undoCount();
    QMetaObject::invokeMethod(inspector, "beginSlider", Q_ARG(QString, sliderID));
    const Run drag = drive(*preview, *bundle, seconds, lo, hi, [&](double value) {
        QMetaObject::invokeMethod(inspector, "changeSlider", Q_ARG(QString, sliderID), Q_ARG(double, value));
    });
    QMetaObject::invokeMethod(inspector, "endSlider", Q_ARG(QString, sliderID));
    const std::size_t steps = app.undoManager().undoCount() - stepsBefore;
    const QString undoTitle = app.undoTitle();
    app.undo();
    const bool undone = bundle->project().timeline.clips.front().frame.cornerRadius == radiusBefore;

    const double ratio = baseline.fps() > 0 ? drag.fps() / baseline.fps() : 0;
    std::printf("inspector slider drag over a 1920x1080 clip, %d events at %.0f/s (%s):\n", drag.events,
                eventsPerSecond,
                window->rendererInterface()->graphicsApi() == QSGRendererInterface::Software
                    ? "software renderer"
                    : "GPU renderer");
    std::printf(
        "  baseline, the project changed directly: %d frames in %.2f s = %.1f fps; saves %zu (max %d/s)\n",
        baseline.frames, baseline.seconds, baseline.fps(), baseline.saveTimes.size(),
        maxPerSecond(baseline.saveTimes));
    std::printf("  drag: %d frames in %.2f s = %.1f fps (goal at least 30), ratio %.2f to the baseline\n",
                drag.frames, drag.seconds, drag.fps(), ratio);
    std::printf("  undo: %zu step(s), \"%s\"; one undo restores the radius: %s\n", steps,
                qPrintable(undoTitle), undone ? "yes" : "no");
    std::printf("  saves during the drag: %zu (max %d in one second; goal at most 1)\n",
                drag.saveTimes.size(), maxPerSecond(drag.saveTimes));
    std::printf(
        "inspector drag: %d frames in %.1f s (%.1f fps, ratio %.2f), undo steps %zu, saves %zu (max %d/s)\n",
        drag.frames, drag.seconds, drag.fps(), ratio, steps, drag.saveTimes.size(),
        maxPerSecond(drag.saveTimes));
    return 0;
}
