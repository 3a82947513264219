#pragma once

#include "media/MediaWriter.h"

#include <QProcess>
#include <QStandardPaths>
#include <QString>
#include <QStringList>

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <numbers>
#include <vector>

namespace orvane::test {

struct ToolResult {
    int exitCode = -1;
    QString out;
    QString err;
};

// Runs a command-line tool to the end (at most 60 s) and gives its exit code and output.
inline ToolResult runTool(const QString& program, const QStringList& args) {
    QProcess p;
    p.start(program, args);
    ToolResult result;
    if (!p.waitForStarted(10000))
        return result;
    if (!p.waitForFinished(60000)) {
        p.kill();
        p.waitForFinished();
        return result;
    }
    result.exitCode = p.exitStatus() == QProcess::NormalExit ? p.exitCode() : -1;
    result.out = QString::fromUtf8(p.readAllStandardOutput());
    result.err = QString::fromUtf8(p.readAllStandardError());
    return result;
}

inline bool haveTool(const char* name) {
    return !QStandardPaths::findExecutable(QString::fromLatin1(name)).isEmpty();
}

#define ORVANE_REQUIRE_FFMPEG()                                                                              \
    if (!::orvane::test::haveTool("ffmpeg") || !::orvane::test::haveTool("ffprobe"))                         \
    GTEST_SKIP() << "the ffmpeg and ffprobe tools are not installed (scripts/setup-deps installs them)"

// Makes a file with the ffmpeg tool; the arguments come between "-y" and the output path.
inline bool ffmpegMake(const QStringList& args, const QString& output) {
    QStringList all{QStringLiteral("-v"), QStringLiteral("error"), QStringLiteral("-y")};
    all << args << output;
    const ToolResult r = runTool(QStringLiteral("ffmpeg"), all);
    if (r.exitCode != 0)
        ADD_FAILURE() << "ffmpeg failed: " << r.err.toStdString();
    return r.exitCode == 0;
}

// `ffprobe -show_entries <entries>` as "key=value" lines, with the given extra arguments.
inline QString ffprobe(const QString& path, const QString& entries, const QStringList& extra = {}) {
    QStringList args{QStringLiteral("-v"), QStringLiteral("error"), QStringLiteral("-of"),
                     QStringLiteral("default=noprint_wrappers=1")};
    args << extra << QStringLiteral("-show_entries") << entries << path;
    const ToolResult r = runTool(QStringLiteral("ffprobe"), args);
    return r.exitCode == 0 ? r.out : QString();
}

// The colour of test frame i: far enough from its neighbours to identify after lossy coding.
struct FrameColour {
    std::uint8_t r, g, b;
};
inline FrameColour frameColour(int i) {
    return {std::uint8_t(40 + (i * 47) % 180), std::uint8_t(40 + (i * 83) % 180),
            std::uint8_t(200 - (i * 29) % 160)};
}

inline bool near(std::uint8_t a, std::uint8_t b, int tolerance) {
    return std::abs(int(a) - int(b)) <= tolerance;
}

// The frame index whose colour is closest to the pixel, for reading back test movies.
inline int frameIndexOf(std::uint32_t argb, int frameCount) {
    const int r = int((argb >> 16) & 0xff), g = int((argb >> 8) & 0xff), b = int(argb & 0xff);
    int best = -1, bestDistance = 1 << 30;
    for (int i = 0; i < frameCount; ++i) {
        const FrameColour c = frameColour(i);
        const int d = std::abs(r - c.r) + std::abs(g - c.g) + std::abs(b - c.b);
        if (d < bestDistance) {
            bestDistance = d;
            best = i;
        }
    }
    return best;
}

// A sine of `hz` at 48 kHz stereo, `frames` long, starting at clock frame `start` (so chunks join up).
inline std::vector<float> sine(double hz, std::int64_t start, int frames, float amplitude = 0.5f) {
    std::vector<float> s(std::size_t(frames) * 2);
    for (int i = 0; i < frames; ++i) {
        const float v = amplitude * float(std::sin(2 * std::numbers::pi * hz * double(start + i) / 48000.0));
        s[2 * std::size_t(i)] = v;
        s[2 * std::size_t(i) + 1] = v;
    }
    return s;
}

// Writes `frameCount` solid frames of frameColour(i) at `fps`, with optional AAC tracks of a 440 Hz sine
// as long as the video, through the writer under test.
inline tl::expected<void, MediaError> writeTestMovie(const QString& path, MediaWriterSettings settings,
                                                     int frameCount, double fps) {
    auto created = MediaWriter::create(path, settings);
    if (!created)
        return tl::unexpected(created.error());
    MediaWriter& writer = **created;
    const auto& video = *settings.video;
    for (int i = 0; i < frameCount; ++i) {
        writer.waitUntilReadyForVideo(); // not ready only after a failure, which the append reports
        VideoFrame frame = writer.framePool().acquire();
        const FrameColour c = frameColour(i);
        frame.fill(c.b, c.g, c.r, 255);
        const MediaTime t{std::llround(i * video.timescale / fps), video.timescale};
        if (auto ok = writer.appendVideo(frame, t); !ok)
            return ok;
    }
    const int audioFrames = int(std::lround(frameCount / fps * 48000));
    for (std::size_t track = 0; track < settings.audio.size(); ++track) {
        for (int at = 0; at < audioFrames; at += 1024) {
            const int n = std::min(1024, audioFrames - at);
            const auto chunk = sine(440, at, n);
            writer.waitUntilReadyForAudio(int(track));
            if (auto ok = writer.appendAudio(int(track), chunk, MediaTime{at, 48000}); !ok)
                return ok;
        }
    }
    return writer.finish();
}

inline MediaWriterSettings smallVideoSettings(VideoCodec codec = VideoCodec::h264,
                                              ContainerFormat container = ContainerFormat::mov,
                                              int width = 320, int height = 240) {
    MediaWriterSettings s;
    s.container = container;
    VideoEncoderSettings v;
    v.width = width;
    v.height = height;
    v.codec = codec;
    v.frameRate = 30;
    v.timescale = 600;
    v.preset = QStringLiteral("ultrafast");
    v.threads = 1;
    s.video = v;
    return s;
}

} // namespace orvane::test
