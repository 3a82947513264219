// The command line, run as the real program in a private home.
#include "app/BundlePreviewRenderer.h"
#include "project/ProjectBundle.h"

#include <QDir>
#include <QFile>
#include <QImage>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QThread>

#include <gtest/gtest.h>

#include <csignal>
#include <functional>

using namespace orvane;

namespace {

struct Result {
    int exitCode;
    QString out;
    QString err;
};

Result run(const QTemporaryDir& home, const QStringList& args,
           const std::function<void(QProcessEnvironment&)>& adjust = {}) {
    QProcess process;
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert(QStringLiteral("HOME"), home.path());
    env.insert(QStringLiteral("XDG_CONFIG_HOME"), home.filePath(QStringLiteral(".config")));
    env.remove(QStringLiteral("XDG_VIDEOS_DIR"));
    if (adjust)
        adjust(env);
    process.setProcessEnvironment(env);
    process.start(QStringLiteral(ORVANE_SCREEN_BINARY), args);
    EXPECT_TRUE(process.waitForFinished(30000));
    return {process.exitCode(), QString::fromUtf8(process.readAllStandardOutput()),
            QString::fromUtf8(process.readAllStandardError())};
}

} // namespace

TEST(CommandLine, NewThenInfo) {
    QTemporaryDir home;
    const Result created =
        run(home, {QStringLiteral("new"), QStringLiteral("Launch Demo"), QStringLiteral("--width"),
                   QStringLiteral("1280"), QStringLiteral("--height"), QStringLiteral("720"),
                   QStringLiteral("--fps"), QStringLiteral("500")});
    ASSERT_EQ(created.exitCode, 0) << created.err.toStdString();
    EXPECT_TRUE(created.out.contains(QStringLiteral("Launch Demo.orvanescreen")))
        << created.out.toStdString();
    EXPECT_TRUE(created.out.contains(QStringLiteral("1280x720 at 120 fps"))) << created.out.toStdString();

    QString folder;
    for (const QString& line : created.out.split(u'\n'))
        if (line.startsWith(QStringLiteral("created ")))
            folder = line.mid(8, line.indexOf(QStringLiteral(" (")) - 8);
    ASSERT_TRUE(QDir(folder).exists()) << folder.toStdString();
    EXPECT_TRUE(folder.startsWith(home.path()));

    const QImage preview(QDir(folder).filePath(QStringLiteral("preview.jpg")));
    ASSERT_FALSE(preview.isNull());
    EXPECT_EQ(preview.size(), QSize(512, 320));

    const Result info = run(home, {QStringLiteral("info"), folder});
    ASSERT_EQ(info.exitCode, 0) << info.err.toStdString();
    EXPECT_TRUE(info.out.contains(QStringLiteral("name: Launch Demo")));
    EXPECT_TRUE(info.out.contains(QStringLiteral("canvas: 1280x720")));
    EXPECT_TRUE(info.out.contains(QStringLiteral("frame rate: 120 fps")));
    EXPECT_TRUE(info.out.contains(QStringLiteral("clips: 0")));
    EXPECT_TRUE(info.out.contains(QStringLiteral("duration: 00:00.000")));
    EXPECT_TRUE(info.out.contains(QStringLiteral("versions: 1")));
}

TEST(CommandLine, ErrorsPrintTheirTextAndFail) {
    QTemporaryDir home;
    const Result notAProject = run(home, {QStringLiteral("info"), home.path()});
    EXPECT_NE(notAProject.exitCode, 0);
    EXPECT_TRUE(notAProject.err.contains(QStringLiteral("This isn't a Orvane Screen project.")))
        << notAProject.err.toStdString();

    QDir(home.path()).mkpath(QStringLiteral("Future.orvanescreen"));
    QFile json(home.filePath(QStringLiteral("Future.orvanescreen/project.json")));
    ASSERT_TRUE(json.open(QIODevice::WriteOnly));
    json.write(R"({"schemaVersion": 3})");
    json.close();
    const Result newer =
        run(home, {QStringLiteral("info"), home.filePath(QStringLiteral("Future.orvanescreen"))});
    EXPECT_NE(newer.exitCode, 0);
    EXPECT_TRUE(newer.err.contains(QStringLiteral("newer version")));

    EXPECT_NE(run(home, {QStringLiteral("new")}).exitCode, 0);
    EXPECT_NE(run(home, {QStringLiteral("new"), QStringLiteral("x"), QStringLiteral("--fps"),
                         QStringLiteral("fast")})
                  .exitCode,
              0);
    EXPECT_NE(run(home, {QStringLiteral("bogus")}).exitCode, 0);
}

TEST(CommandLine, WithoutADisplayTheWindowlessCommandsAreNamedInsteadOfACrash) {
    QTemporaryDir home;
    const QString silentSocket = home.filePath(QStringLiteral("wayland-0"));
    const std::vector<std::function<void(QProcessEnvironment&)>> noDisplay{
        [](QProcessEnvironment& env) {
            env.remove(QStringLiteral("DISPLAY"));
            env.remove(QStringLiteral("WAYLAND_DISPLAY"));
        },
        // Names that lead nowhere are as good as none.
        [&](QProcessEnvironment& env) {
            env.insert(QStringLiteral("DISPLAY"), QStringLiteral(":97"));
            env.insert(QStringLiteral("WAYLAND_DISPLAY"), silentSocket);
        }};
    for (const auto& adjust : noDisplay) {
        const Result result = run(home, {}, adjust);
        EXPECT_EQ(result.exitCode, 2) << result.err.toStdString();
        EXPECT_TRUE(result.err.contains(QStringLiteral("no display"))) << result.err.toStdString();
        EXPECT_TRUE(result.err.contains(QStringLiteral("DISPLAY"))) << result.err.toStdString();
        for (const char* command : {"orvane-screen render", "orvane-screen record", "orvane-screen recover"})
            EXPECT_TRUE(result.err.contains(QLatin1StringView(command))) << command;
    }

    const Result version = run(home, {QStringLiteral("--version")});
    EXPECT_EQ(version.exitCode, 0);
    EXPECT_TRUE(version.out.trimmed().startsWith(QStringLiteral("orvane-screen ")));
    EXPECT_NE(version.out.trimmed(), QStringLiteral("orvane-screen 0.0.0"));
}

TEST(BundlePreviewRenderer, GradientWithTheNameOrTheFirstFilmstripFrame) {
    QTemporaryDir dir;
    Project p;
    p.name = QStringLiteral("Preview");
    const QImage card = BundlePreviewRenderer::render(p, dir.path());
    ASSERT_EQ(card.size(), QSize(512, 320));
    // Violet at one end, near black at the other, white text in the middle.
    const QColor topLeft = card.pixelColor(2, 2);
    const QColor bottomRight = card.pixelColor(509, 317);
    EXPECT_GT(topLeft.blueF(), bottomRight.blueF() + 0.3);
    EXPECT_GT(topLeft.redF(), topLeft.greenF());
    int whitish = 0;
    for (int x = 150; x < 362; ++x)
        whitish += card.pixelColor(x, 160).lightnessF() > 0.9;
    EXPECT_GT(whitish, 5);

    Clip clip;
    clip.id = QUuid::createUuid();
    p.timeline.clips.push_back(clip);
    const QString strip = dir.filePath(QStringLiteral("thumbnails/clip-%1-strip").arg(uuidString(clip.id)));
    QDir().mkpath(strip);
    QImage red(64, 36, QImage::Format_RGB32);
    red.fill(Qt::red);
    QImage green(64, 36, QImage::Format_RGB32);
    green.fill(Qt::green);
    ASSERT_TRUE(green.save(strip + QStringLiteral("/frame-002.JPG"), "jpeg"));
    ASSERT_TRUE(red.save(strip + QStringLiteral("/frame-001.jpg"), "jpeg"));
    const QImage fromStrip = BundlePreviewRenderer::render(p, dir.path());
    EXPECT_EQ(fromStrip.size(), QSize(64, 36));
    EXPECT_GT(fromStrip.pixelColor(10, 10).redF(), 0.8);
    EXPECT_TRUE(BundlePreviewRenderer::renderJPEG(p, dir.path())->startsWith("\xff\xd8"));
}

namespace {
bool haveFfmpegTool() {
    return !QStandardPaths::findExecutable(QStringLiteral("ffmpeg")).isEmpty();
}
} // namespace

TEST(CommandLine, SampleImportAndAutoZoom) {
    if (!haveFfmpegTool())
        GTEST_SKIP() << "the ffmpeg tool is not installed (scripts/setup-deps installs it)";
    QTemporaryDir home;
    const QString folder = home.filePath(QStringLiteral("Sample.orvanescreen"));
    const Result sample = run(home, {QStringLiteral("sample"), folder});
    ASSERT_EQ(sample.exitCode, 0) << sample.err.toStdString();
    EXPECT_EQ(sample.out.trimmed(), folder);
    EXPECT_NE(run(home, {QStringLiteral("sample"), folder}).exitCode, 0); // never overwrites a project

    QProcess ffmpeg;
    const QString video = home.filePath(QStringLiteral("Second Take.mov"));
    ffmpeg.start(QStringLiteral("ffmpeg"),
                 {QStringLiteral("-v"), QStringLiteral("error"), QStringLiteral("-y"), QStringLiteral("-f"),
                  QStringLiteral("lavfi"), QStringLiteral("-i"),
                  QStringLiteral("testsrc2=size=640x360:rate=30:duration=2"), video});
    ASSERT_TRUE(ffmpeg.waitForFinished(60000));
    const Result imported =
        run(home, {QStringLiteral("import"), folder, video, home.filePath(QStringLiteral("x.webm")), video});
    EXPECT_NE(imported.exitCode, 0);
    EXPECT_TRUE(imported.out.contains(QStringLiteral("imported Second Take.mov as \"Second Take\" (2.00 s)")))
        << imported.out.toStdString();
    EXPECT_TRUE(imported.err.contains(QStringLiteral("x.webm — unsupported format.")))
        << imported.err.toStdString();
    auto bundle = ProjectBundle::load(folder);
    ASSERT_TRUE(bundle);
    const auto& clips = (*bundle)->project().timeline.clips;
    ASSERT_EQ(clips.size(), 2u); // the sample clip, then the first file only
    EXPECT_DOUBLE_EQ(clips[1].timelineStart.seconds, 10);

    // No clip has an events file yet.
    const Result none = run(home, {QStringLiteral("auto-zoom"), folder});
    EXPECT_NE(none.exitCode, 0);
    EXPECT_TRUE(none.err.contains(QStringLiteral("events file")));

    // Give the imported clip two clicks far apart in time: each makes a zoom in, a hold and a zoom out.
    const QString events = QStringLiteral("media/clicks-events.json");
    QFile file(QDir(folder).filePath(events));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(R"({"events": [
        {"leftMouseDown": {"time": {"seconds": 0.2}, "x": 100, "y": 80}},
        {"leftMouseUp": {"time": {"seconds": 0.25}, "x": 100, "y": 80}},
        {"leftMouseDown": {"time": {"seconds": 1.6}, "x": 500, "y": 300}}]})");
    file.close();
    (*bundle)->update([&](Project& p) { p.timeline.clips[1].sourceEventsPath = events; });
    ASSERT_TRUE((*bundle)->flushPendingSave());

    const Result zoomed = run(home, {QStringLiteral("auto-zoom"), folder});
    ASSERT_EQ(zoomed.exitCode, 0) << zoomed.err.toStdString();
    const int reported = zoomed.out.split(u' ').front().toInt();
    EXPECT_GE(reported, 2) << zoomed.out.toStdString();
    auto after = ProjectBundle::load(folder);
    EXPECT_EQ(int((*after)->project().timeline.clips[1].zoomTrack.count()), reported);
    EXPECT_TRUE((*after)->project().timeline.clips[0].zoomTrack.isEmpty());

    const Result badClip = run(home, {QStringLiteral("auto-zoom"), folder, QStringLiteral("--clip"),
                                      uuidString(QUuid::createUuid())});
    EXPECT_NE(badClip.exitCode, 0);
    EXPECT_TRUE(badClip.err.contains(QStringLiteral("Clip not found: ")));
}

TEST(CommandLine, RenderStillAndCancel) {
    QTemporaryDir home;
    const QString folder = home.filePath(QStringLiteral("Sample.orvanescreen"));
    ASSERT_EQ(run(home, {QStringLiteral("sample"), folder}).exitCode, 0);

    const QString still = home.filePath(QStringLiteral("still.png"));
    const Result stillResult = run(home, {QStringLiteral("still"), folder, QStringLiteral("--time"),
                                          QStringLiteral("2"), QStringLiteral("-o"), still});
    ASSERT_EQ(stillResult.exitCode, 0) << stillResult.err.toStdString();
    const QImage frame(still);
    ASSERT_EQ(frame.size(), QSize(1920, 1080));
    // The corner is padding, so it shows the default gradient background, not the movie.
    const QColor corner = frame.pixelColor(4, 4);
    EXPECT_GT(corner.blueF(), 0.8);
    EXPECT_GT(corner.redF(), 0.5);
    EXPECT_EQ(run(home, {QStringLiteral("still"), QStringLiteral("--demo"), QStringLiteral("-o"),
                         home.filePath(QStringLiteral("demo.png"))})
                  .exitCode,
              0);
    EXPECT_EQ(QImage(home.filePath(QStringLiteral("demo.png"))).size(), QSize(1920, 1080));

    const QString movie = home.filePath(QStringLiteral("out.mp4"));
    const Result rendered = run(home, {QStringLiteral("render"), folder, QStringLiteral("-o"), movie,
                                       QStringLiteral("--preset"), QStringLiteral("socialSquare")});
    ASSERT_EQ(rendered.exitCode, 0) << rendered.err.toStdString();
    EXPECT_TRUE(rendered.out.startsWith(movie)) << rendered.out.toStdString();
    EXPECT_TRUE(rendered.err.contains(QStringLiteral("100.0%")));
    QProcess probe;
    probe.start(QStringLiteral("ffprobe"),
                {QStringLiteral("-v"), QStringLiteral("error"), QStringLiteral("-show_entries"),
                 QStringLiteral("stream=codec_tag_string,width,height,nb_frames"), QStringLiteral("-of"),
                 QStringLiteral("csv=p=0"), movie});
    ASSERT_TRUE(probe.waitForFinished(30000));
    EXPECT_EQ(QString::fromUtf8(probe.readAllStandardOutput()).trimmed(),
              QStringLiteral("avc1,1080,1080,300"));

    EXPECT_NE(run(home, {QStringLiteral("render"), folder, QStringLiteral("--codec"), QStringLiteral("vp9")})
                  .exitCode,
              0);

    // Ctrl-C in the middle: the job is cancelled and no file is left.
    const QString cancelled = home.filePath(QStringLiteral("cancelled.mov"));
    QProcess render;
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert(QStringLiteral("HOME"), home.path());
    render.setProcessEnvironment(env);
    render.start(QStringLiteral(ORVANE_SCREEN_BINARY),
                 {QStringLiteral("render"), folder, QStringLiteral("-o"), cancelled,
                  QStringLiteral("--preset"), QStringLiteral("web4K"), QStringLiteral("--codec"),
                  QStringLiteral("prores")});
    ASSERT_TRUE(render.waitForStarted());
    // Wait until the render has written something, then interrupt it.
    for (int i = 0; i < 200 && !QFileInfo::exists(cancelled); ++i)
        QThread::msleep(25);
    QThread::msleep(300);
    ::kill(pid_t(render.processId()), SIGINT);
    ASSERT_TRUE(render.waitForFinished(30000));
    EXPECT_EQ(render.exitCode(), 130) << render.readAllStandardError().toStdString();
    EXPECT_TRUE(
        QString::fromUtf8(render.readAllStandardError()).contains(QStringLiteral("Export cancelled.")));
    EXPECT_FALSE(QFileInfo::exists(cancelled));
}
