#include "PreviewTestMovie.h"

#include "media/MediaWriter.h"

#include <QPainter>

#include <cmath>
#include <vector>

namespace orvane::test {

tl::expected<void, MediaError> PreviewTestMovie::write(const QString& path) const {
    MediaWriterSettings settings;
    settings.container = ContainerFormat::mov;
    VideoEncoderSettings video;
    video.width = width;
    video.height = height;
    video.frameRate = fps;
    video.timescale = fps * 100;
    video.keyframeInterval = keyframeInterval;
    video.quality = 18;
    settings.video = video;
    if (audio)
        settings.audio.push_back(AudioEncoderSettings{});
    auto created = MediaWriter::create(path, settings);
    if (!created)
        return tl::unexpected(created.error());
    MediaWriter& writer = **created;

    const int frames = int(std::lround(seconds * fps));
    const int audioBlock = 48000 / fps;
    std::vector<float> samples(std::size_t(audioBlock) * 2);
    for (int n = 0; n < frames; ++n) {
        VideoFrame frame = VideoFrame::allocate(width, height);
        QImage picture(frame.data(), width, height, frame.stride(), QImage::Format_ARGB32_Premultiplied);
        QPainter painter(&picture);
        for (int bit = 0; bit < codeBits; ++bit) {
            const bool set = (n >> (codeBits - 1 - bit)) & 1;
            const int left = bit * width / codeBits;
            const int right = (bit + 1) * width / codeBits;
            painter.fillRect(left, 0, right - left, height, set ? Qt::white : Qt::black);
        }
        painter.fillRect(0, height * 3 / 4, width, height / 4, QColor(40, 80, 160));
        QFont font = painter.font();
        font.setPixelSize(height / 6);
        painter.setFont(font);
        painter.setPen(Qt::white);
        painter.drawText(QRect(0, height * 3 / 4, width, height / 4), Qt::AlignCenter, QString::number(n));
        painter.end();
        if (!writer.waitUntilReadyForVideo())
            break;
        if (auto appended = writer.appendVideo(frame, MediaTime{n, fps}); !appended)
            return tl::unexpected(appended.error());

        if (audio) {
            for (int i = 0; i < audioBlock; ++i) {
                const std::int64_t sample = std::int64_t(n) * audioBlock + i;
                const std::int64_t intoSecond = sample % 48000;
                const float value =
                    intoSecond < 480
                        ? float(0.5 * std::sin(2 * 3.14159265358979 * 1000.0 * intoSecond / 48000.0))
                        : 0.0f;
                samples[std::size_t(i) * 2] = value;
                samples[std::size_t(i) * 2 + 1] = value;
            }
            if (!writer.waitUntilReadyForAudio(0))
                break;
            if (auto appended =
                    writer.appendAudio(0, samples, MediaTime{std::int64_t(n) * audioBlock, 48000});
                !appended)
                return tl::unexpected(appended.error());
        }
    }
    return writer.finish();
}

std::optional<int> PreviewTestMovie::readNumber(const QImage& image) {
    if (image.isNull())
        return std::nullopt;
    const int y = image.height() / 4;
    int number = 0;
    for (int bit = 0; bit < codeBits; ++bit) {
        const int x = (2 * bit + 1) * image.width() / (2 * codeBits);
        const int level = qGray(image.pixel(x, y));
        if (level > 64 && level < 192)
            return std::nullopt;
        number = number * 2 + (level >= 192 ? 1 : 0);
    }
    return number;
}

} // namespace orvane::test
