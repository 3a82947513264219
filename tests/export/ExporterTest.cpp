// The single-clip render, checked on the files it writes: size, rate, every frame in order at its time,
// the composed look, codec tags, audio present or not, cancelling, failures and the texts they carry.
#include "ExportTestSupport.h"
#include "common/AllocationCounter.h"
#include "media/AssetProbe.h"
#include "media/FrameReader.h"

#include <QFile>

#include <gtest/gtest.h>
#include <sys/resource.h>

#include <csignal>
#include <future>

namespace orvane {
namespace {

using Codec = ExportConfiguration::Codec;
using Container = ExportConfiguration::Container;

// With 10% padding of 288 the picture, 320x240 fitted into 230.4 square, spans x 28.8...259.2 and
// y 57.6...230.4.
constexpr int canvasSide = 288;

class ExporterTest : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        if (!test::haveTool("ffmpeg") || !test::haveTool("ffprobe"))
            return;
        s_bundle = std::make_unique<QTemporaryDir>();
        QDir(s_bundle->path()).mkpath(QStringLiteral("media"));
        MediaWriterSettings withSound = test::smallVideoSettings();
        withSound.audio.push_back(AudioEncoderSettings{});
        s_made =
            test::writeTestMovie(s_bundle->filePath(QStringLiteral("media/colours.mov")), withSound, 30, 30)
                .has_value() &&
            test::writeTestMovie(s_bundle->filePath(QStringLiteral("media/long.mov")), withSound, 90, 30)
                .has_value() &&
            test::writeTestMovie(s_bundle->filePath(QStringLiteral("media/camera.mov")),
                                 test::smallVideoSettings(VideoCodec::h264, ContainerFormat::mov, 160, 120),
                                 10, 30)
                .has_value() &&
            test::writeTestMovie(s_bundle->filePath(QStringLiteral("media/mute.mov")),
                                 test::smallVideoSettings(), 15, 30)
                .has_value();
    }
    static void TearDownTestSuite() { s_bundle.reset(); }

    void SetUp() override {
        ORVANE_REQUIRE_FFMPEG();
        ASSERT_TRUE(s_made) << "the source movies could not be written";
        ASSERT_TRUE(out.isValid());
    }

    static QString bundlePath() { return s_bundle->path(); }
    QString output(const char* name) const { return out.filePath(QString::fromLatin1(name)); }
    static Project coloursProject() {
        return test::projectWith({test::exportClip(QStringLiteral("media/colours.mov"), {320, 240}, 1.0)});
    }

    QTemporaryDir out;
    static inline std::unique_ptr<QTemporaryDir> s_bundle;
    static inline bool s_made = false;
};

bool isBackground(std::uint32_t argb) {
    const int r = int((argb >> 16) & 0xff), g = int((argb >> 8) & 0xff), b = int(argb & 0xff);
    return std::abs(r - 26) <= 8 && std::abs(g - 153) <= 8 && std::abs(b - 77) <= 8;
}

TEST_F(ExporterTest, rendersEverySourceFrameOverTheBackgroundAtThePresetSize) {
    const QString movie = output("render.mp4");
    const test::ExportRun run = test::runExport(coloursProject(), bundlePath(), test::smallExport(movie));
    ASSERT_TRUE(run.result) << test::describe(run).toStdString();

    const auto info = probeAsset(movie);
    ASSERT_TRUE(info) << info.error().description.toStdString();
    ASSERT_EQ(info->videoTracks.size(), 1u);
    EXPECT_EQ(info->videoTracks[0].naturalSize, (Size{canvasSide, canvasSide}));
    EXPECT_EQ(info->videoTracks[0].codecTag, QStringLiteral("avc1"));
    EXPECT_NEAR(info->videoTracks[0].frameRate, 30, 0.01);
    EXPECT_EQ(info->brand, QStringLiteral("isom"));
    const auto stream = test::probeStream(
        movie, QStringLiteral("v:0"), QStringLiteral("codec_tag_string,avg_frame_rate,nb_read_frames"), true);
    EXPECT_EQ(stream.value(QStringLiteral("nb_read_frames")), QStringLiteral("30"));
    EXPECT_EQ(stream.value(QStringLiteral("avg_frame_rate")), QStringLiteral("30/1"));

    // Frame i of the result is frame i of the source at the source's time, framed by the background.
    auto reader = FrameReader::open(movie);
    ASSERT_TRUE(reader);
    int count = 0;
    while (true) {
        auto frame = (*reader)->next();
        ASSERT_TRUE(frame);
        if (!*frame)
            break;
        const VideoFrame& f = **frame;
        SCOPED_TRACE(count);
        EXPECT_NEAR(f.time().seconds(), count / 30.0, 1e-3);
        EXPECT_EQ(test::frameIndexOf(f.pixel(144, 144), 30), count);
        EXPECT_EQ(test::frameIndexOf(f.pixel(32, 62), 30), count);
        EXPECT_EQ(test::frameIndexOf(f.pixel(255, 226), 30), count);
        for (auto [x, y] :
             {std::pair{3, 3}, {144, 20}, {144, 52}, {144, 236}, {24, 144}, {264, 144}, {284, 284}})
            EXPECT_TRUE(isBackground(f.pixel(x, y))) << x << "," << y << " " << std::hex << f.pixel(x, y);
        ++count;
    }
    EXPECT_EQ(count, 30);

    // Progress only goes forward, stays within 0...1 and ends at 1.
    ASSERT_GE(run.progress.size(), 30u);
    EXPECT_TRUE(std::is_sorted(run.progress.begin(), run.progress.end()));
    EXPECT_GE(run.progress.front(), 0.0);
    EXPECT_EQ(run.progress.back(), 1.0);
}

TEST_F(ExporterTest, anOddCustomSizeRendersAtTheEvenSizeBelowItEdgeToEdge) {
    const QString movie = output("odd.mp4");
    ExportConfiguration config = test::smallExport(movie);
    config.preset = ExportConfiguration::Preset::custom(289, 287, 30, 1'000'000);
    const test::ExportRun run = test::runExport(coloursProject(), bundlePath(), config);
    ASSERT_TRUE(run.result) << test::describe(run).toStdString();
    const auto info = probeAsset(movie);
    ASSERT_TRUE(info) << info.error().description.toStdString();
    ASSERT_EQ(info->videoTracks.size(), 1u);
    EXPECT_EQ(info->videoTracks[0].naturalSize, (Size{288, 286}));
    EXPECT_EQ(info->videoTracks[0].frameCount.value_or(-1), 30);

    // The canvas is the frame: its background reaches the last row and column, which a canvas smaller
    // than the encoder's frame would leave unpainted.
    auto reader = FrameReader::open(movie);
    ASSERT_TRUE(reader);
    auto first = (*reader)->next();
    ASSERT_TRUE(first && *first);
    const VideoFrame& f = **first;
    for (auto [x, y] : {std::pair{0, 0}, {287, 0}, {0, 285}, {287, 285}, {144, 285}, {287, 143}})
        EXPECT_TRUE(isBackground(f.pixel(x, y))) << x << "," << y << " " << std::hex << f.pixel(x, y);
    EXPECT_EQ(test::frameIndexOf(f.pixel(144, 143), 30), 0);
}

TEST_F(ExporterTest, framesInTheMiddleOfTheRenderAllocateNothingOnThePumpsThread) {
    // The progress callback runs on the pump's thread, once a frame: the allocations counted between
    // half and nine tenths of the way are those of steady frames, once the writer's pool has filled;
    // audio mixing included.
    Project project =
        test::projectWith({test::exportClip(QStringLiteral("media/long.mov"), {320, 240}, 3.0)});
    project.timeline.clips[0].audio = AudioConfig{0.8, 1, false, false};
    std::optional<std::size_t> from, to;
    Exporter exporter;
    const auto result =
        exporter.exportProject(project, bundlePath(), test::smallExport(output("steady.mp4")), [&](double p) {
            if (p >= 0.5 && !from)
                from = test::allocationCount();
            if (p >= 0.9 && !to)
                to = test::allocationCount();
        });
    ASSERT_TRUE(result) << result.error().description().toStdString();
    ASSERT_TRUE(from && to);
    EXPECT_EQ(*to - *from, 0u);
}

TEST_F(ExporterTest, theCameraBubbleShowsTheLastCameraFrameAtOrBeforeEachScreenFrame) {
    // Ten camera frames against thirty screen frames: after the camera file ends, its last frame stays.
    // The bubble sits in the band of background above the picture.
    Project project = coloursProject();
    Clip& clip = project.timeline.clips[0];
    clip.camera.isEnabled = true;
    clip.camera.position = NormalizedPoint{0.5, 0.15};
    clip.camera.shadow = ShadowStyle::none();
    clip.sourceCameraPath = QStringLiteral("media/camera.mov");
    const QString movie = output("camera.mp4");
    const test::ExportRun run = test::runExport(project, bundlePath(), test::smallExport(movie));
    ASSERT_TRUE(run.result) << test::describe(run).toStdString();
    auto reader = FrameReader::open(movie);
    ASSERT_TRUE(reader);
    for (int k = 0;; ++k) {
        auto frame = (*reader)->next();
        ASSERT_TRUE(frame);
        if (!*frame) {
            EXPECT_EQ(k, 30);
            break;
        }
        EXPECT_EQ(test::frameIndexOf((*frame)->pixel(144, 43), 10), std::min(k, 9)) << "frame " << k;
        EXPECT_EQ(test::frameIndexOf((*frame)->pixel(144, 144), 30), k) << "frame " << k;
    }

    // A camera file that isn't there is no failure: the bubble is simply missing.
    clip.sourceCameraPath = QStringLiteral("media/no-camera.mov");
    const test::ExportRun without = test::runExport(project, bundlePath(), test::smallExport(movie));
    ASSERT_TRUE(without.result) << test::describe(without).toStdString();
    auto plain = FrameReader::open(movie);
    ASSERT_TRUE(plain);
    auto first = (*plain)->next();
    ASSERT_TRUE(first && *first);
    EXPECT_TRUE(isBackground((*first)->pixel(144, 43)));
}

TEST_F(ExporterTest, codecAndContainerChooseTheTrackTagAndFileType) {
    struct Case {
        Codec codec;
        Container container;
        const char* tag;
        const char* brand;
    };
    for (const Case& c : {Case{Codec::h264, Container::mp4, "avc1", "isom"},
                          Case{Codec::h264, Container::mov, "avc1", "qt  "},
                          Case{Codec::hevc, Container::mp4, "hvc1", "isom"},
                          Case{Codec::prores, Container::mov, "apcn", "qt  "}}) {
        SCOPED_TRACE(c.tag);
        const QString movie = output(c.container == Container::mov ? "tagged.mov" : "tagged.mp4");
        const test::ExportRun run = test::runExport(coloursProject(), bundlePath(),
                                                    test::smallExport(movie, c.codec, c.container, false));
        ASSERT_TRUE(run.result) << test::describe(run).toStdString();
        const auto info = probeAsset(movie);
        ASSERT_TRUE(info);
        ASSERT_EQ(info->videoTracks.size(), 1u);
        EXPECT_EQ(info->videoTracks[0].codecTag, QString::fromLatin1(c.tag));
        EXPECT_EQ(info->brand, QString::fromLatin1(c.brand));
        EXPECT_EQ(info->videoTracks[0].frameCount.value_or(-1), 30);
        EXPECT_TRUE(info->audioTracks.empty());
    }
}

TEST_F(ExporterTest, audioIsThereOnlyWhenAskedForAndTheSourceHasSome) {
    // Plain settings pass the first track along as AAC at 48 kHz, stereo, 192 kbit/s.
    const QString withSound = output("sound.mp4");
    const test::ExportRun run = test::runExport(coloursProject(), bundlePath(), test::smallExport(withSound));
    ASSERT_TRUE(run.result) << test::describe(run).toStdString();
    const auto audio = test::probeStream(withSound, QStringLiteral("a"),
                                         QStringLiteral("codec_name,sample_rate,channels,bit_rate,duration"));
    EXPECT_EQ(test::streamCount(withSound, QStringLiteral("a")), 1);
    EXPECT_EQ(audio.value(QStringLiteral("codec_name")), QStringLiteral("aac"));
    EXPECT_EQ(audio.value(QStringLiteral("sample_rate")), QStringLiteral("48000"));
    EXPECT_EQ(audio.value(QStringLiteral("channels")), QStringLiteral("2"));
    EXPECT_NEAR(audio.value(QStringLiteral("bit_rate")).toDouble(), 192000, 40000);
    EXPECT_NEAR(audio.value(QStringLiteral("duration")).toDouble(), 1.0, 0.05);
    const auto left = test::readLeftChannel(withSound);
    EXPECT_NEAR(test::toneAmplitude(test::slice(left, 0.2, 0.8), 440), 0.5, 0.05);

    // Not asked for: no audio track at all, whatever the clip's audio settings say.
    Project mixing = coloursProject();
    mixing.timeline.clips[0].audio = AudioConfig::defaults();
    const QString without = output("without.mp4");
    ASSERT_TRUE(
        test::runExport(mixing, bundlePath(), test::smallExport(without, Codec::h264, Container::mp4, false))
            .result);
    EXPECT_EQ(test::streamCount(without, QStringLiteral("a")), 0);
    EXPECT_EQ(test::streamCount(without, QStringLiteral("v")), 1);

    // A source without sound gives a silent result and no error, on either route.
    for (const AudioConfig& settings : {AudioConfig{1, 1, false, false}, AudioConfig::defaults()}) {
        Project mute =
            test::projectWith({test::exportClip(QStringLiteral("media/mute.mov"), {320, 240}, 0.5)});
        mute.timeline.clips[0].audio = settings;
        const QString silent = output("silent.mp4");
        const test::ExportRun quiet = test::runExport(mute, bundlePath(), test::smallExport(silent));
        ASSERT_TRUE(quiet.result) << test::describe(quiet).toStdString();
        EXPECT_EQ(test::streamCount(silent, QStringLiteral("a")), 0);
        EXPECT_EQ(test::probeStream(silent, QStringLiteral("v:0"), QStringLiteral("nb_read_frames"), true)
                      .value(QStringLiteral("nb_read_frames")),
                  QStringLiteral("15"));
    }
}

TEST_F(ExporterTest, cancellingLeavesNoFileBehind) {
    // Midway through the frames, with a file of an earlier export already at the target.
    const QString movie = output("cancelled.mp4");
    {
        QFile earlier(movie);
        ASSERT_TRUE(earlier.open(QIODevice::WriteOnly));
        earlier.write("an earlier export");
    }
    Exporter exporter;
    const test::ExportRun run =
        test::runExport(exporter, coloursProject(), bundlePath(), test::smallExport(movie), [&](double p) {
            if (p >= 0.3)
                exporter.cancel();
        });
    ASSERT_FALSE(run.result);
    EXPECT_EQ(run.result.error().kind, ExporterError::Kind::cancelled);
    EXPECT_EQ(run.result.error().description(), QStringLiteral("Export cancelled."));
    EXPECT_FALSE(QFile::exists(movie));
    ASSERT_FALSE(run.progress.empty());
    EXPECT_LT(run.progress.back(), 0.5) << "the pump stops at the next frame";
    EXPECT_TRUE(exporter.isCancelled());

    // Before the first frame.
    Exporter early;
    early.cancel();
    const test::ExportRun none =
        test::runExport(early, coloursProject(), bundlePath(), test::smallExport(movie));
    ASSERT_FALSE(none.result);
    EXPECT_EQ(none.result.error().kind, ExporterError::Kind::cancelled);
    EXPECT_FALSE(QFile::exists(movie));
}

TEST_F(ExporterTest, refusesWhatItCannotRenderWithItsText) {
    const QString movie = output("refused.mp4");
    auto failure = [&](const Project& project, ExportConfiguration config) {
        config.outputPath = movie;
        const test::ExportRun run = test::runExport(project, bundlePath(), config);
        EXPECT_FALSE(QFile::exists(movie));
        return run.result ? QStringLiteral("no failure") : run.result.error().description();
    };
    const ExportConfiguration config = test::smallExport(movie);
    const QString noSource = QStringLiteral("Could not find the source video for export.");

    EXPECT_EQ(failure(test::projectWith({test::exportClip(QStringLiteral("media/gone.mov"), {320, 240}, 1)}),
                      config),
              noSource);
    QFile text(QDir(bundlePath()).filePath(QStringLiteral("media/notes.mov")));
    ASSERT_TRUE(text.open(QIODevice::WriteOnly));
    text.write("not a movie");
    text.close();
    EXPECT_EQ(failure(test::projectWith({test::exportClip(QStringLiteral("media/notes.mov"), {320, 240}, 1)}),
                      config),
              noSource);
    // A folder where the movie should be.
    EXPECT_EQ(failure(test::projectWith({test::exportClip(QStringLiteral("media"), {320, 240}, 1)}), config),
              noSource);

    const QString noClips = QStringLiteral("Project has no clips to export.");
    EXPECT_EQ(failure(test::projectWith({}), config), noClips);
    Clip audioOnly = test::exportClip(QString(), {0, 0}, 1);
    audioOnly.sourceAudioPath = QStringLiteral("media/colours.mov");
    EXPECT_EQ(failure(test::projectWith({audioOnly}), config), noClips);

    // The routes that come later say so rather than render something else.
    auto expectLater = [&](const Project& project, const ExportConfiguration& c) {
        const QString text = failure(project, c);
        EXPECT_TRUE(text.contains(QStringLiteral("not available in this version"))) << text.toStdString();
    };
    ExportConfiguration gif = config;
    gif.container = Container::gif;
    gif.preset = ExportConfiguration::Preset::gif();
    expectLater(coloursProject(), gif);
    Project two = coloursProject();
    two.timeline.clips.push_back(test::exportClip(QStringLiteral("media/mute.mov"), {320, 240}, 0.5));
    two.timeline.clips[1].timelineStart = ProjectTime(1);
    expectLater(two, config);
    Project withAudioClip = coloursProject();
    withAudioClip.timeline.clips.push_back(audioOnly);
    expectLater(withAudioClip, config);
    Project ramped = coloursProject();
    ramped.timeline.clips[0].speedRamp =
        KeyframeTrack<double>({{ProjectTime(0), 1.0}, {ProjectTime(1), 2.0}});
    expectLater(ramped, config);
}

TEST_F(ExporterTest, oneRampKeyframeBrokenTelemetryAndAnOldFileAtTheTargetDoNotStopIt) {
    QFile cursor(QDir(bundlePath()).filePath(QStringLiteral("media/broken.cursor.json")));
    ASSERT_TRUE(cursor.open(QIODevice::WriteOnly));
    cursor.write("{ this is not a cursor track");
    cursor.close();
    Project project = coloursProject();
    Clip& clip = project.timeline.clips[0];
    clip.speedRamp = KeyframeTrack<double>({{ProjectTime(0.5), 2.0}});
    clip.sourceCursorPath = QStringLiteral("media/broken.cursor.json");
    clip.sourceEventsPath = QStringLiteral("media/missing.events.json");
    clip.cursor.isVisible = true;

    const QString movie = output("again.mp4");
    {
        QFile old(movie);
        ASSERT_TRUE(old.open(QIODevice::WriteOnly));
        old.write(QByteArray(100000, 'x'));
    }
    const test::ExportRun run = test::runExport(project, bundlePath(), test::smallExport(movie));
    ASSERT_TRUE(run.result) << test::describe(run).toStdString();
    const auto info = probeAsset(movie);
    ASSERT_TRUE(info) << "the old file was replaced by a movie";
    ASSERT_EQ(info->videoTracks.size(), 1u);
    EXPECT_EQ(info->videoTracks[0].frameCount.value_or(-1), 30);
    EXPECT_NEAR(info->duration, 1.0, 0.05) << "the ramp is not applied";
}

TEST_F(ExporterTest, aWriterThatFailsEndsTheExportWithItsErrorAndNoFile) {
    // A file-size limit makes the disk refuse the movie part-way, as a full disk would. ProRes frames of
    // noise are large, so the limit is met within the first frames, long before the end.
    ASSERT_TRUE(
        test::ffmpegMake({QStringLiteral("-f"), QStringLiteral("lavfi"), QStringLiteral("-i"),
                          QStringLiteral("nullsrc=s=320x240:r=30:d=2,geq=random(1)*255:128:128"),
                          QStringLiteral("-c:v"), QStringLiteral("libx264"), QStringLiteral("-preset"),
                          QStringLiteral("ultrafast"), QStringLiteral("-pix_fmt"), QStringLiteral("yuv420p")},
                         QDir(bundlePath()).filePath(QStringLiteral("media/noise.mov"))));
    const Project noise =
        test::projectWith({test::exportClip(QStringLiteral("media/noise.mov"), {320, 240}, 2.0)});
    rlimit old{};
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &old), 0);
    const auto previousHandler = std::signal(SIGXFSZ, SIG_IGN);
    rlimit limited = old;
    limited.rlim_cur = 16 * 1024;
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &limited), 0);

    const QString movie = output("full.mov");
    Exporter exporter;
    auto running = std::async(std::launch::async, [&] {
        return test::runExport(exporter, noise, bundlePath(),
                               test::smallExport(movie, Codec::prores, Container::mov, false));
    });
    const bool finished = running.wait_for(std::chrono::seconds(30)) == std::future_status::ready;
    if (!finished)
        exporter.cancel(); // let the thread end so the test can report
    const test::ExportRun run = running.get();
    setrlimit(RLIMIT_FSIZE, &old);
    std::signal(SIGXFSZ, previousHandler);

    ASSERT_TRUE(finished) << "the export kept waiting on a writer that had failed";
    ASSERT_FALSE(run.result);
    EXPECT_EQ(run.result.error().kind, ExporterError::Kind::writerFailed);
    EXPECT_TRUE(run.result.error().description().startsWith(QStringLiteral("Writer failed: ")));
    EXPECT_LT(run.progress.size(), 60u) << "the pump stopped at the failure, not at the end";
    EXPECT_FALSE(QFile::exists(movie));
}

} // namespace
} // namespace orvane
