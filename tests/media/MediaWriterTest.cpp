#include "MediaTestSupport.h"
#include "common/AllocationCounter.h"
#include "common/LogCapture.h"
#include "media/AssetProbe.h"
#include "media/AudioReader.h"
#include "media/FrameReader.h"

#include <QFileInfo>
#include <QTemporaryDir>

#include <gtest/gtest.h>
#include <sys/resource.h>

#include <csignal>
#include <cstring>
#include <future>
#include <numeric>
#include <random>

using namespace orvane;
using namespace orvane::test;

namespace {

class MediaWriterTest : public ::testing::Test {
protected:
    QString path(const char* name) const { return m_dir.filePath(QString::fromLatin1(name)); }
    QTemporaryDir m_dir;
};

std::vector<int> decodedFrameIndices(const QString& file, int frameCount) {
    std::vector<int> indices;
    auto reader = FrameReader::open(file);
    EXPECT_TRUE(reader);
    if (!reader)
        return indices;
    while (true) {
        auto f = (*reader)->next();
        if (!f || !*f)
            break;
        indices.push_back(frameIndexOf((*f)->pixel(10, 10), frameCount));
    }
    return indices;
}

} // namespace

TEST_F(MediaWriterTest, EachCodecAndContainerRoundTrips) {
    ORVANE_REQUIRE_FFMPEG();
    struct Case {
        const char* name;
        VideoCodec codec;
        ContainerFormat container;
        int audioTracks;
        const char* codecName;
        const char* tag;
        const char* brand;
    };
    const Case cases[] = {
        {"h264.mov", VideoCodec::h264, ContainerFormat::mov, 2, "h264", "avc1", "qt  "},
        {"h264.mp4", VideoCodec::h264, ContainerFormat::mp4, 1, "h264", "avc1", "isom"},
        {"hevc.mp4", VideoCodec::hevc, ContainerFormat::mp4, 1, "hevc", "hvc1", "isom"},
        {"hevc.mov", VideoCodec::hevc, ContainerFormat::mov, 0, "hevc", "hvc1", "qt  "},
        {"prores.mov", VideoCodec::prores422, ContainerFormat::mov, 1, "prores", "apcn", "qt  "},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const QString file = path(c.name);
        auto settings = smallVideoSettings(c.codec, c.container);
        settings.audio.resize(std::size_t(c.audioTracks));
        auto written = writeTestMovie(file, settings, 15, 30);
        ASSERT_TRUE(written) << written.error().description.toStdString();

        auto info = probeAsset(file);
        ASSERT_TRUE(info) << info.error().description.toStdString();
        EXPECT_TRUE(info->isPlayable);
        EXPECT_EQ(info->brand, QString::fromLatin1(c.brand));
        ASSERT_EQ(info->videoTracks.size(), 1u);
        EXPECT_EQ(info->videoTracks[0].codec, QString::fromLatin1(c.codecName));
        EXPECT_EQ(info->videoTracks[0].codecTag, QString::fromLatin1(c.tag));
        EXPECT_EQ(info->videoTracks[0].naturalSize, (Size{320, 240}));
        EXPECT_EQ(info->videoTracks[0].frameCount, 15);
        EXPECT_NEAR(info->duration, 0.5, 0.03);
        ASSERT_EQ(info->audioTracks.size(), std::size_t(c.audioTracks));
        for (const auto& a : info->audioTracks) {
            EXPECT_EQ(a.codec, QStringLiteral("aac"));
            EXPECT_EQ(a.sampleRate, 48000);
            EXPECT_EQ(a.channels, 2);
            EXPECT_NEAR(a.duration.value_or(0), 0.5, 0.03);
        }
        // The tool reads the same file, frame for frame.
        const QString counted = ffprobe(
            file, QStringLiteral("stream=codec_tag_string,nb_read_frames"),
            {QStringLiteral("-count_frames"), QStringLiteral("-select_streams"), QStringLiteral("v")});
        EXPECT_TRUE(counted.contains(QStringLiteral("nb_read_frames=15"))) << counted.toStdString();
        EXPECT_TRUE(counted.contains(QStringLiteral("codec_tag_string=") + QString::fromLatin1(c.tag)))
            << counted.toStdString();

        std::vector<int> expected(15);
        std::iota(expected.begin(), expected.end(), 0);
        EXPECT_EQ(decodedFrameIndices(file, 15), expected);
    }
}

TEST_F(MediaWriterTest, RefusesImpossibleSettingsBeforeMakingAFile) {
    const QString file = path("never.mp4");
    auto prores = MediaWriter::create(file, smallVideoSettings(VideoCodec::prores422, ContainerFormat::mp4));
    ASSERT_FALSE(prores);
    EXPECT_TRUE(prores.error().is(MediaError::invalidSettings));
    EXPECT_EQ(prores.error().description, QStringLiteral("ProRes needs a QuickTime movie (.mov)."));
    EXPECT_FALSE(MediaWriter::create(file, MediaWriterSettings{}));
    EXPECT_FALSE(
        MediaWriter::create(file, smallVideoSettings(VideoCodec::h264, ContainerFormat::mp4, 321, 240)));
    EXPECT_FALSE(QFileInfo::exists(file));
    // A folder that does not exist is the file system's error.
    auto nowhere = MediaWriter::create(path("missing/folder/x.mov"), smallVideoSettings());
    ASSERT_FALSE(nowhere);
    EXPECT_EQ(nowhere.error().domain, QStringLiteral("FFmpeg"));
}

TEST_F(MediaWriterTest, BackPressureRefusesFramesBeyondTheQueueAndLosesNone) {
    auto settings = smallVideoSettings(VideoCodec::h264, ContainerFormat::mov, 1280, 720);
    settings.video->preset = QStringLiteral("medium");
    settings.videoQueueDepth = 2;
    const QString file = path("pressure.mov");
    auto writer = MediaWriter::create(file, settings);
    ASSERT_TRUE(writer);
    MediaWriter& w = **writer;
    FramePool pool(1280, 720);
    int accepted = 0, refused = 0;
    bool sawNotReady = false;
    for (int i = 0; i < 12; ++i) {
        VideoFrame f = pool.acquire();
        const FrameColour c = frameColour(accepted);
        f.fill(c.b, c.g, c.r, 255);
        const bool ready = w.isReadyForVideo();
        auto appended = w.appendVideo(f, MediaTime{accepted * 20, 600});
        if (appended) {
            ++accepted;
            continue;
        }
        EXPECT_TRUE(appended.error().is(MediaError::notReady)) << appended.error().description.toStdString();
        EXPECT_FALSE(ready);
        sawNotReady = true;
        ++refused;
        // A refusal changes nothing: waiting for readiness lets the same frame in.
        ASSERT_TRUE(w.waitUntilReadyForVideo());
        ASSERT_TRUE(w.appendVideo(f, MediaTime{accepted * 20, 600}));
        ++accepted;
    }
    EXPECT_TRUE(sawNotReady);
    // Times must increase; a repeated time is refused without failing the writer.
    auto repeated = w.appendVideo(pool.acquire(), MediaTime{(accepted - 1) * 20, 600});
    ASSERT_FALSE(repeated);
    EXPECT_TRUE(repeated.error().is(MediaError::timeOutOfOrder));
    EXPECT_FALSE(w.error());
    ASSERT_TRUE(w.finish());
    EXPECT_EQ(accepted, 12);
    std::vector<int> expected(12);
    std::iota(expected.begin(), expected.end(), 0);
    EXPECT_EQ(decodedFrameIndices(file, 12), expected);
    // After finishing, appends are refused and nothing waits for room.
    EXPECT_FALSE(w.isReadyForVideo());
    EXPECT_FALSE(w.waitUntilReadyForVideo());
    EXPECT_FALSE(w.appendVideo(pool.acquire(), MediaTime{10000, 600}));
}

TEST_F(MediaWriterTest, AStopRequestEndsAWaitForRoomWhileTheEncoderIsBusy) {
    // One frame of noise at the slowest x264 preset keeps the encoder busy for over a second, with the
    // next frame filling the one-frame queue behind it.
    auto settings = smallVideoSettings(VideoCodec::h264, ContainerFormat::mov, 1920, 1080);
    settings.video->preset = QStringLiteral("placebo");
    settings.video->realTime = true;
    settings.video->threads = 1;
    settings.videoQueueDepth = 1;
    auto writer = MediaWriter::create(path("busy.mov"), settings);
    ASSERT_TRUE(writer);
    MediaWriter& w = **writer;
    VideoFrame noise = w.framePool().acquire();
    std::mt19937 random(3);
    for (int y = 0; y < noise.height(); ++y)
        for (int x = 0; x < noise.width() * 4; x += 4)
            std::memset(noise.row(y) + x, int(random() & 0xff), 3);
    ASSERT_TRUE(w.appendVideo(noise, MediaTime{0, 600}));
    ASSERT_TRUE(w.waitUntilReadyForVideo()) << "the encoder took the first frame";
    ASSERT_TRUE(w.appendVideo(noise, MediaTime{20, 600}));

    std::stop_source stop;
    auto waiting = std::async(std::launch::async, [&] { return w.waitUntilReadyForVideo(stop.get_token()); });
    EXPECT_EQ(waiting.wait_for(std::chrono::milliseconds(50)), std::future_status::timeout);
    const auto stopped = std::chrono::steady_clock::now();
    stop.request_stop();
    ASSERT_EQ(waiting.wait_for(std::chrono::seconds(10)), std::future_status::ready);
    EXPECT_LT(std::chrono::steady_clock::now() - stopped, std::chrono::milliseconds(500));
    EXPECT_FALSE(waiting.get()) << "the queue was still full";
    // A stop requested before the wait does not wait at all.
    EXPECT_FALSE(w.waitUntilReadyForVideo(stop.get_token()));
    w.cancel();
}

TEST_F(MediaWriterTest, TheFirstFailureIsKeptAndReportedByEveryLaterCall) {
    // A file-size limit makes the disk refuse the writer part-way, the way a full disk would.
    rlimit old{};
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &old), 0);
    const auto oldHandler = std::signal(SIGXFSZ, SIG_IGN);
    rlimit small = old;
    small.rlim_cur = 200 * 1024;
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &small), 0);

    auto settings = smallVideoSettings(VideoCodec::prores422);
    auto writer = MediaWriter::create(path("full.mov"), settings);
    ASSERT_TRUE(writer);
    MediaWriter& w = **writer;
    std::mt19937 noise(7);
    std::optional<MediaError> seen;
    for (int i = 0; i < 400 && !seen; ++i) {
        w.waitUntilReadyForVideo();
        VideoFrame f = w.framePool().acquire();
        if (!f)
            continue;
        for (int y = 0; y < f.height(); ++y)
            for (int x = 0; x < f.width() * 4; ++x)
                f.row(y)[x] = std::uint8_t(noise());
        if (auto appended = w.appendVideo(f, MediaTime{i * 20, 600}); !appended)
            seen = appended.error();
    }
    auto finished = w.finish();
    setrlimit(RLIMIT_FSIZE, &old);
    std::signal(SIGXFSZ, oldHandler);

    ASSERT_TRUE(seen.has_value());
    EXPECT_EQ(seen->domain, QStringLiteral("FFmpeg"));
    EXPECT_TRUE(seen->description.startsWith(QStringLiteral("Writing to the file failed")))
        << seen->description.toStdString();
    ASSERT_FALSE(finished);
    EXPECT_EQ(finished.error(), *seen);
    EXPECT_EQ(w.error(), seen);
    EXPECT_FALSE(w.isReadyForVideo());
    EXPECT_FALSE(w.waitUntilReadyForVideo());
}

TEST_F(MediaWriterTest, SessionStartTrimsEarlierSamplesAndAudioFollowsItsTimestamps) {
    const QString file = path("session.mov");
    auto settings = smallVideoSettings();
    settings.audio.resize(1);
    auto writer = MediaWriter::create(file, settings);
    ASSERT_TRUE(writer);
    MediaWriter& w = **writer;
    // Clock times as a capture gives them: seconds since boot.
    const std::int64_t start = 1000 * 48000;
    w.startSession(MediaTime{start, 48000});
    // Audio from half a second before the session, for 0.5 s after it; then a gap; then 0.5 s more.
    for (std::int64_t at = start - 24000; at < start + 24000; at += 960)
        ASSERT_TRUE(w.appendAudio(0, sine(440, at, 960), MediaTime{at, 48000}));
    for (std::int64_t at = start + 48000; at < start + 72000; at += 960)
        ASSERT_TRUE(w.appendAudio(0, sine(440, at, 960), MediaTime{at, 48000}));
    // Frames before the session are dropped without an error.
    ASSERT_TRUE(w.appendVideo(w.framePool().acquire(), MediaTime{start - 4800, 48000}));
    for (int i = 0; i < 45; ++i) {
        VideoFrame f = w.framePool().acquire();
        ASSERT_FALSE(f.isNull());
        const FrameColour c = frameColour(i);
        f.fill(c.b, c.g, c.r, 255);
        ASSERT_TRUE(w.appendVideo(f, MediaTime{start + i * 1600, 48000}));
        ASSERT_TRUE(w.waitUntilReadyForVideo());
    }
    ASSERT_TRUE(w.finish());

    std::vector<int> expected(45);
    std::iota(expected.begin(), expected.end(), 0);
    EXPECT_EQ(decodedFrameIndices(file, 45), expected);
    auto reader = AudioReader::open(file);
    ASSERT_TRUE(reader);
    std::vector<float> left;
    while (true) {
        auto chunk = (*reader)->next();
        ASSERT_TRUE(chunk);
        if (!*chunk)
            break;
        for (std::size_t i = 0; i < (*chunk)->frameCount(); ++i)
            left.push_back((*chunk)->samples[2 * i]);
    }
    ASSERT_NEAR(double(left.size()), 72000, 1100);
    auto loudness = [&](std::size_t from, std::size_t to) {
        float peak = 0;
        for (std::size_t i = from; i < to && i < left.size(); ++i)
            peak = std::max(peak, std::abs(left[i]));
        return peak;
    };
    EXPECT_GT(loudness(1000, 23000), 0.4f);
    EXPECT_LT(loudness(25500, 46500), 0.01f); // the gap
    EXPECT_GT(loudness(49000, 71000), 0.4f);
    // The sine stays in phase across the gap: each sample sits at the time it was stamped with.
    const auto reference = sine(440, start + 60000, 1);
    EXPECT_NEAR(left[60000], reference[0], 0.03f);
}

TEST_F(MediaWriterTest, AskingForHardwareFallsBackToSoftwareWithALogLine) {
    test::LogCapture capture;
    auto settings = smallVideoSettings();
    settings.video->preferHardware = true;
    auto writer = MediaWriter::create(path("hw.mov"), settings);
    const QStringList log = capture.finish();
    ASSERT_TRUE(writer) << writer.error().description.toStdString();
    if ((*writer)->videoEncoderName() != QStringLiteral("libx264"))
        GTEST_SKIP() << "this machine has a working " << (*writer)->videoEncoderName().toStdString();
    const QString line = log.filter(QStringLiteral("[MediaWriter] hardware encoder unavailable")).value(0);
    EXPECT_TRUE(line.contains(QStringLiteral("h264_vaapi"))) << line.toStdString();
    EXPECT_TRUE(line.contains(QStringLiteral("h264_nvenc"))) << line.toStdString();
    EXPECT_TRUE(line.endsWith(QStringLiteral("using libx264"))) << line.toStdString();
    EXPECT_TRUE((*writer)->appendVideo((*writer)->framePool().acquire(), MediaTime{0, 600}));
    EXPECT_TRUE((*writer)->finish());
}

TEST_F(MediaWriterTest, AppendingAllocatesNothingOnTheCallersThread) {
    auto settings = smallVideoSettings();
    settings.audio.resize(1);
    settings.videoQueueDepth = 64;
    settings.audioQueueSeconds = 4;
    auto writer = MediaWriter::create(path("quiet.mov"), settings);
    ASSERT_TRUE(writer);
    MediaWriter& w = **writer;
    const auto chunk = sine(440, 0, 1600);
    std::vector<VideoFrame> frames;
    for (int i = 0; i < 20; ++i)
        frames.push_back(VideoFrame::allocate(320, 240));
    test::AllocationScope scope;
    for (int i = 0; i < 20; ++i) {
        ASSERT_TRUE(w.appendVideo(frames[std::size_t(i)], MediaTime{i * 20, 600}));
        ASSERT_TRUE(w.appendAudio(0, chunk, MediaTime{i * 1600, 48000}));
        EXPECT_TRUE(w.isReadyForAudio(0));
    }
    EXPECT_EQ(scope.allocations(), 0u);
    ASSERT_TRUE(w.finish());
}

TEST_F(MediaWriterTest, AFragmentedRecordingSurvivesSigkill) {
    ORVANE_REQUIRE_FFMPEG();
    const QString file = path("killed.mov");
    QProcess child;
    child.start(QStringLiteral(ORVANE_FRAGMENT_CHILD), {file});
    ASSERT_TRUE(child.waitForStarted(10000));
    // The child prints the seconds of media it has handed to the writer; wait for three.
    QString said;
    while (!said.contains(QStringLiteral("seconds 3\n"))) {
        ASSERT_TRUE(child.waitForReadyRead(20000)) << "child said: " << said.toStdString();
        said += QString::fromUtf8(child.readAllStandardOutput());
    }
    ASSERT_EQ(::kill(pid_t(child.processId()), SIGKILL), 0);
    ASSERT_TRUE(child.waitForFinished(10000));
    ASSERT_EQ(child.exitStatus(), QProcess::CrashExit);

    auto info = probeAsset(file);
    ASSERT_TRUE(info) << info.error().description.toStdString();
    EXPECT_TRUE(info->isPlayable);
    ASSERT_EQ(info->videoTracks.size(), 1u);
    EXPECT_EQ(info->videoTracks[0].codec, QStringLiteral("h264"));
    EXPECT_EQ(info->audioTracks.size(), 2u);
    EXPECT_GE(info->duration, 1.0);

    const QString counted =
        ffprobe(file, QStringLiteral("stream=codec_name,nb_read_frames"), {QStringLiteral("-count_frames")});
    EXPECT_EQ(counted.count(QStringLiteral("codec_name=aac")), 2) << counted.toStdString();
    const auto at = counted.indexOf(QStringLiteral("nb_read_frames="));
    ASSERT_GE(at, 0) << counted.toStdString();
    EXPECT_GE(counted.mid(at + 15).section(QLatin1Char('\n'), 0, 0).toInt(), 30) << counted.toStdString();

    // Our own reader gets every frame up to the break, in order.
    auto reader = FrameReader::open(file);
    ASSERT_TRUE(reader);
    int frames = 0;
    double last = -1;
    while (true) {
        auto f = (*reader)->next();
        ASSERT_TRUE(f) << f.error().description.toStdString();
        if (!*f)
            break;
        EXPECT_GT((*f)->time().seconds(), last);
        last = (*f)->time().seconds();
        ++frames;
    }
    EXPECT_GE(frames, 30);
}

TEST_F(MediaWriterTest, ATrackThatNeverGetsSamplesLeavesAPlayableMovieAndCancelRemovesTheFile) {
    // A microphone track that stays silent from start to end, as when the system gives it no samples.
    const QString file = path("quiet-mic.mov");
    auto settings = smallVideoSettings();
    settings.audio.resize(2);
    {
        auto writer = MediaWriter::create(file, settings);
        ASSERT_TRUE(writer);
        MediaWriter& w = **writer;
        for (int i = 0; i < 10; ++i) {
            ASSERT_TRUE(w.waitUntilReadyForVideo());
            ASSERT_TRUE(w.appendVideo(w.framePool().acquire(), MediaTime{i * 20, 600}));
            ASSERT_TRUE(w.appendAudio(0, sine(440, i * 1600, 1600), MediaTime{i * 1600, 48000}));
        }
        ASSERT_TRUE(w.finish());
    }
    auto info = probeAsset(file);
    ASSERT_TRUE(info) << info.error().description.toStdString();
    EXPECT_TRUE(info->isPlayable);
    EXPECT_EQ(info->videoTracks.size(), 1u);
    ASSERT_GE(info->audioTracks.size(), 1u);
    EXPECT_NEAR(info->audioTracks[0].duration.value_or(0), 1.0 / 3, 0.03);

    const QString cancelled = path("cancelled.mov");
    auto writer = MediaWriter::create(cancelled, settings);
    ASSERT_TRUE(writer);
    ASSERT_TRUE((*writer)->appendVideo((*writer)->framePool().acquire(), MediaTime{0, 600}));
    (*writer)->cancel();
    EXPECT_FALSE(QFileInfo::exists(cancelled));
    EXPECT_FALSE((*writer)->waitUntilReadyForVideo());
    EXPECT_FALSE((*writer)->waitUntilReadyForAudio(0));
    auto late = (*writer)->appendVideo((*writer)->framePool().acquire(), MediaTime{20, 600});
    ASSERT_FALSE(late);
    EXPECT_TRUE(late.error().is(MediaError::cancelled));
    EXPECT_FALSE((*writer)->finish());
}
