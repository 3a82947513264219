#include "GradientMovie.h"

#include "MediaWriter.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <numbers>

namespace orvane {

namespace {

constexpr std::int32_t sampleTimescale = 600;

MediaError sampleError(int code, const char* description) {
    return {QStringLiteral("OrvaneScreen"), code, QString::fromUtf8(description)};
}

std::uint8_t channelByte(double value) {
    return std::uint8_t(std::clamp(value * 255.0, 0.0, 255.0));
}

} // namespace

void fillGradientFrame(VideoFrame& frame, double progress) {
    if (frame.isNull())
        return;
    const double a = 2 * std::numbers::pi * progress;
    const double s = std::sin(a), c = std::cos(a);
    const double redTop = 0.45 + 0.2 * s, redBottom = 0.95;
    const double greenTop = 0.18 + 0.1 * c, greenBottom = 0.32 + 0.1 * s;
    const double blueTop = 0.85, blueBottom = 0.68;
    const int height = frame.height();
    const double lastRow = double(std::max(height, 2) - 1);
    for (int y = 0; y < height; ++y) {
        const double t = y / lastRow;
        const std::uint8_t px[4] = {channelByte(blueTop + (blueBottom - blueTop) * t),
                                    channelByte(greenTop + (greenBottom - greenTop) * t),
                                    channelByte(redTop + (redBottom - redTop) * t), 255};
        std::uint8_t* row = frame.row(y);
        for (int x = 0; x < frame.width(); ++x)
            std::memcpy(row + x * VideoFrame::bytesPerPixel, px, sizeof px);
    }
}

VideoFrame makeGradientFrame(Size size, double progress) {
    VideoFrame frame = VideoFrame::allocate(int(size.width), int(size.height));
    fillGradientFrame(frame, progress);
    return frame;
}

tl::expected<void, MediaError> writeGradientMovie(const QString& path, Size size, double durationSeconds,
                                                  int fps) {
    const QFileInfo info(path);
    QDir().mkpath(info.absolutePath());
    if (info.exists())
        QFile::remove(path);

    MediaWriterSettings settings;
    settings.container = ContainerFormat::mov;
    VideoEncoderSettings video;
    video.width = int(size.width);
    video.height = int(size.height);
    video.codec = VideoCodec::h264;
    video.frameRate = fps > 0 ? fps : 30;
    video.timescale = sampleTimescale;
    settings.video = video;
    auto created = MediaWriter::create(path, settings);
    if (!created)
        return tl::unexpected(sampleError(100, "Couldn't initialize sample writer."));
    MediaWriter& writer = **created;
    writer.startSession(MediaTime{0, sampleTimescale});

    const int frameCount = fps > 0 ? int(durationSeconds * fps) : 0;
    const std::int64_t frameLength = fps > 0 ? sampleTimescale / fps : 0;
    for (int i = 0; i < frameCount; ++i) {
        writer.waitUntilReadyForVideo();
        const double progress = double(i) / double(std::max(frameCount, 2) - 1);
        VideoFrame frame = writer.framePool().acquire();
        if (!frame)
            return tl::unexpected(sampleError(101, "Couldn't create pixel buffer for sample frame."));
        fillGradientFrame(frame, progress);
        // A failed append shows as the writer's error when it finishes, as it would on any other writer.
        (void)writer.appendVideo(frame, MediaTime{i * frameLength, sampleTimescale});
    }
    writer.markVideoFinished();
    // finish() waits for the encoder, however long it takes.
    auto finished = writer.finish();
    if (!finished)
        return tl::unexpected(finished.error());
    if (!QFileInfo::exists(path))
        return tl::unexpected(sampleError(102, "Sample writer didn't complete."));
    return {};
}

} // namespace orvane
