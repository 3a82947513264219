#include "media/AssetProbe.h"

#include "MediaTestSupport.h"
#include "media/AudioReader.h"
#include "media/FrameReader.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <chrono>

using namespace orvane;
using namespace orvane::test;

namespace {

class AssetProbeTest : public ::testing::Test {
protected:
    QString path(const char* name) const { return m_dir.filePath(QString::fromLatin1(name)); }
    QTemporaryDir m_dir;
};

// Writes a 90-degree clockwise display matrix into the first track header of an MP4, in place: the form a
// phone gives a portrait video, made here without the tool that wrote the file knowing about it.
bool rotateFirstTrackHeader(const QString& file) {
    QFile f(file);
    if (!f.open(QIODevice::ReadWrite))
        return false;
    QByteArray bytes = f.readAll();
    const qsizetype at = bytes.indexOf("tkhd");
    if (at < 4 || bytes[at + 4] != 0) // version 0 layout only
        return false;
    const qsizetype matrix = at - 4 + 48; // after size, type, version, times, ids, layer, group, volume
    auto put = [&](int index, std::uint32_t v) {
        for (int i = 0; i < 4; ++i)
            bytes[matrix + index * 4 + i] = char((v >> (24 - 8 * i)) & 0xff);
    };
    const std::uint32_t values[9] = {0, 0x00010000, 0, 0xffff0000, 0, 0, 0, 0, 0x40000000};
    for (int i = 0; i < 9; ++i)
        put(i, values[i]);
    f.seek(0);
    return f.write(bytes) == bytes.size();
}

} // namespace

TEST_F(AssetProbeTest, RotatedVideosReportTheirDisplayedShape) {
    ORVANE_REQUIRE_FFMPEG();
    // Made by the ffmpeg tool, rotation put in afterwards.
    const QString byTool = path("tool-rotated.mp4");
    ASSERT_TRUE(
        ffmpegMake({QStringLiteral("-f"), QStringLiteral("lavfi"), QStringLiteral("-i"),
                    QStringLiteral("testsrc2=size=1920x1080:rate=30:duration=0.2"), QStringLiteral("-c:v"),
                    QStringLiteral("libx264"), QStringLiteral("-preset"), QStringLiteral("ultrafast")},
                   byTool));
    ASSERT_TRUE(rotateFirstTrackHeader(byTool));
    // Made by our writer, rotation asked for.
    const QString byWriter = path("writer-rotated.mp4");
    auto settings = smallVideoSettings(VideoCodec::h264, ContainerFormat::mp4, 1920, 1080);
    settings.video->rotationDegrees = 90;
    ASSERT_TRUE(writeTestMovie(byWriter, settings, 3, 30));

    for (const QString& file : {byTool, byWriter}) {
        auto info = probeAsset(file);
        ASSERT_TRUE(info) << info.error().description.toStdString();
        ASSERT_EQ(info->videoTracks.size(), 1u);
        const VideoTrackInfo& v = info->videoTracks[0];
        EXPECT_EQ(v.naturalSize, (Size{1920, 1080})) << file.toStdString();
        EXPECT_EQ(v.displaySize, (Size{1080, 1920})) << file.toStdString();
        EXPECT_DOUBLE_EQ(v.rotationDegrees, 90) << file.toStdString();
        EXPECT_TRUE(info->isPlayable);
    }
    // The tool agrees about the writer's file.
    EXPECT_TRUE(ffprobe(byWriter, QStringLiteral("stream_side_data=rotation"))
                    .contains(QStringLiteral("rotation=-90")));
}

TEST_F(AssetProbeTest, DescribesTracksOfToolMadeFiles) {
    ORVANE_REQUIRE_FFMPEG();
    const QString movie = path("av.mkv");
    ASSERT_TRUE(ffmpegMake({QStringLiteral("-f"), QStringLiteral("lavfi"), QStringLiteral("-i"),
                            QStringLiteral("testsrc2=size=640x360:rate=25:duration=2"), QStringLiteral("-f"),
                            QStringLiteral("lavfi"), QStringLiteral("-i"),
                            QStringLiteral("sine=frequency=300:sample_rate=44100:duration=2"),
                            QStringLiteral("-c:v"), QStringLiteral("libx264"), QStringLiteral("-preset"),
                            QStringLiteral("ultrafast"), QStringLiteral("-c:a"), QStringLiteral("aac"),
                            QStringLiteral("-ac"), QStringLiteral("1")},
                           movie));
    auto info = probeAsset(movie);
    ASSERT_TRUE(info) << info.error().description.toStdString();
    EXPECT_EQ(info->container, QStringLiteral("matroska,webm"));
    EXPECT_TRUE(info->isPlayable);
    EXPECT_NEAR(info->duration, 2.0, 0.05);
    ASSERT_EQ(info->videoTracks.size(), 1u);
    EXPECT_EQ(info->videoTracks[0].codec, QStringLiteral("h264"));
    EXPECT_EQ(info->videoTracks[0].displaySize, (Size{640, 360}));
    EXPECT_DOUBLE_EQ(info->videoTracks[0].rotationDegrees, 0);
    EXPECT_NEAR(info->videoTracks[0].frameRate, 25, 0.01);
    ASSERT_EQ(info->audioTracks.size(), 1u);
    EXPECT_EQ(info->audioTracks[0].codec, QStringLiteral("aac"));
    EXPECT_EQ(info->audioTracks[0].sampleRate, 44100);
    EXPECT_EQ(info->audioTracks[0].channels, 1);

    // An audio file is playable media without video; opening it as video is an error, as audio it is not.
    const QString wav = path("tone.wav");
    ASSERT_TRUE(ffmpegMake({QStringLiteral("-f"), QStringLiteral("lavfi"), QStringLiteral("-i"),
                            QStringLiteral("sine=frequency=500:sample_rate=22050:duration=1")},
                           wav));
    auto audioOnly = probeAsset(wav);
    ASSERT_TRUE(audioOnly);
    EXPECT_TRUE(audioOnly->isPlayable);
    EXPECT_TRUE(audioOnly->videoTracks.empty());
    EXPECT_EQ(audioOnly->audioTracks.size(), 1u);
    EXPECT_NEAR(audioOnly->duration, 1.0, 0.01);
    auto asVideo = FrameReader::open(wav);
    ASSERT_FALSE(asVideo);
    EXPECT_TRUE(asVideo.error().is(MediaError::noVideoTrack));
    EXPECT_EQ(asVideo.error().description, QStringLiteral("The file contains no video track."));
    EXPECT_TRUE(AudioReader::open(wav));
}

TEST_F(AssetProbeTest, BadInputIsAnErrorNeverACrashOrAHang) {
    ORVANE_REQUIRE_FFMPEG();
    // A movie with its index at the end (the tool's default), then cut in half: the index is gone.
    const QString whole = path("whole.mp4");
    ASSERT_TRUE(
        ffmpegMake({QStringLiteral("-f"), QStringLiteral("lavfi"), QStringLiteral("-i"),
                    QStringLiteral("testsrc2=size=320x240:rate=30:duration=1"), QStringLiteral("-c:v"),
                    QStringLiteral("libx264"), QStringLiteral("-preset"), QStringLiteral("ultrafast")},
                   whole));
    QFile wholeFile(whole);
    ASSERT_TRUE(wholeFile.open(QIODevice::ReadOnly));
    const QByteArray bytes = wholeFile.readAll();
    auto write = [&](const char* name, const QByteArray& content) {
        QFile f(path(name));
        EXPECT_TRUE(f.open(QIODevice::WriteOnly));
        f.write(content);
        return path(name);
    };
    const QString truncated = write("truncated.mp4", bytes.left(bytes.size() / 2));
    const QString headerOnly = write("header-only.mov", bytes.left(40));
    const QString text =
        write("notes.mp4", QByteArray("These are not the frames you are looking for.\n").repeated(50));
    const QString empty = write("empty.mov", QByteArray());
    const QString folder = path("folder.mov");
    ASSERT_TRUE(QDir().mkpath(folder));
    const QString fifo = path("pipe.mov");
    ASSERT_EQ(mkfifo(QFile::encodeName(fifo).constData(), 0600), 0);
    const QString missing = path("nowhere/missing.mp4");

    struct Case {
        QString file;
        std::optional<MediaError::Code> code; // when the refusal comes before FFmpeg
    };
    const Case cases[] = {{truncated, {}},
                          {headerOnly, {}},
                          {text, {}},
                          {empty, MediaError::unsupportedMedia},
                          {folder, MediaError::notAFile},
                          {fifo, MediaError::notAFile},
                          {missing, MediaError::fileNotFound},
                          {QString(), MediaError::fileNotFound}};
    for (const Case& c : cases) {
        SCOPED_TRACE(c.file.toStdString());
        const auto started = std::chrono::steady_clock::now();
        auto info = probeAsset(c.file);
        ASSERT_FALSE(info);
        EXPECT_FALSE(info.error().description.isEmpty());
        if (c.code)
            EXPECT_TRUE(info.error().is(*c.code)) << info.error().description.toStdString();
        else
            EXPECT_EQ(info.error().domain, QStringLiteral("FFmpeg"));
        EXPECT_FALSE(FrameReader::open(c.file));
        EXPECT_FALSE(AudioReader::open(c.file));
        EXPECT_LT(std::chrono::steady_clock::now() - started, std::chrono::seconds(5));
    }
}
