#include "WaveformGenerator.h"

#include "media/AudioReader.h"

#include <QDir>
#include <QFileInfo>
#include <QImageWriter>

#include <algorithm>
#include <cmath>

namespace orvane {

namespace {
// A whole clip's sound is gathered before the peaks are taken: at least about twenty seconds are reserved.
constexpr std::size_t reservedSamples = 1048576;
// Below this a track is silent: scaling noise up to full height would draw a loud waveform of nothing.
constexpr float silenceLevel = 0.0001f;
} // namespace

std::optional<QString> WaveformGenerator::generate(const QString& source, const QString& destination,
                                                   int bucketCount, const QColor& tint,
                                                   std::stop_token stop) {
    if (!QFileInfo::exists(source))
        return std::nullopt;
    if (isCacheFresh(source, destination))
        return destination;
    const auto found = peaks(source, std::max(bucketCount, minimumBucketCount), stop);
    if (!found || found->empty() || stop.stop_requested())
        return std::nullopt;
    const auto image = render(*found, QSizeF(double(found->size()), renderHeight), tint);
    if (!image)
        return std::nullopt;
    QDir().mkpath(QFileInfo(destination).absolutePath());
    QImageWriter writer(destination, "png");
    if (!writer.write(*image))
        return std::nullopt;
    return destination;
}

bool WaveformGenerator::isCacheFresh(const QString& source, const QString& destination) {
    const QFileInfo made(destination), from(source);
    if (!made.exists() || !from.exists())
        return false;
    const QDateTime madeAt = made.lastModified(), sourceAt = from.lastModified();
    if (!madeAt.isValid() || !sourceAt.isValid())
        return false;
    return madeAt >= sourceAt;
}

tl::expected<std::vector<float>, MediaError> WaveformGenerator::peaks(const QString& source, int bucketCount,
                                                                      std::stop_token stop) {
    auto reader = AudioReader::open(source);
    if (!reader) {
        if (reader.error().is(MediaError::noAudioTrack))
            return std::vector<float>{};
        return tl::unexpected(reader.error());
    }
    std::vector<float> mono;
    // The track's length says how much is coming: one allocation instead of a dozen regrowths, each copying
    // the minutes gathered so far.
    const double expected = std::max((*reader)->duration(), 0.0) * AudioReader::sampleRate;
    mono.reserve(std::max(reservedSamples, std::size_t(std::min(expected, 1e10)) + AudioReader::sampleRate));
    float largest = 0;
    while (true) {
        if (stop.stop_requested())
            return std::vector<float>{};
        auto chunk = (*reader)->next();
        if (!chunk)
            return std::vector<float>{};
        if (!*chunk)
            break;
        const std::span<const float> stereo = (*chunk)->samples;
        // Both sides at half level: a mono source, copied to both sides at full level, comes back unchanged.
        for (std::size_t i = 0; i + 1 < stereo.size(); i += 2) {
            const float v = 0.5f * (stereo[i] + stereo[i + 1]);
            largest = std::max(largest, std::abs(v));
            mono.push_back(v);
        }
    }
    if (largest > silenceLevel) {
        const float scale = 1.0f / largest;
        for (float& v : mono)
            v *= scale;
    }
    return peaks(mono, bucketCount);
}

std::vector<float> WaveformGenerator::peaks(std::span<const float> samples, int bucketCount) {
    if (bucketCount < 1 || samples.empty())
        return {};
    const std::size_t n = samples.size(), buckets = std::size_t(bucketCount);
    const std::size_t stride = n >= buckets ? n / buckets : 1;
    std::vector<float> out(buckets, 0.0f);
    for (std::size_t b = 0, start = 0; b < buckets && start < n; ++b, start += stride) {
        const std::size_t end = std::min(start + stride, n);
        float peak = 0;
        for (std::size_t i = start; i < end; ++i)
            peak = std::max(peak, std::abs(samples[i]));
        out[b] = peak;
    }
    return out;
}

std::optional<QImage> WaveformGenerator::render(std::span<const float> peaks, QSizeF size,
                                                const QColor& tint) {
    if (peaks.empty() || !(size.width() > 0) || !(size.height() > 0))
        return std::nullopt;
    const int width = int(size.width()), height = int(size.height());
    if (width < 1 || height < 1)
        return std::nullopt;
    QImage image(width, height, QImage::Format_ARGB32_Premultiplied);
    if (image.isNull())
        return std::nullopt;
    image.fill(Qt::transparent);

    // The shape is a polygon mirrored around the middle row: from (0, mid) through each peak's point at its
    // column's centre, straight down at the last one and back under the middle. A clip a few minutes long
    // has tens of thousands of points, more than QPainter rasterises as one path (and slowly when it
    // does), so each pixel column is filled here from the polygon's height at the column's centre, its top
    // and bottom pixels covered in part.
    const double mid = height / 2.0;
    const double column = std::max(double(width) / double(peaks.size()), 1.0);
    const std::size_t count = peaks.size();
    const auto level = [&](std::size_t i) {
        return (mid - 1) * std::clamp(double(peaks[i]), 0.0, 1.0);
    };
    const double first = column * 0.5, last = column * 0.5 + column * double(count - 1);

    // The fill's colour at each row, premultiplied: the tint at 0.92 alpha at the top fading to 0.3 at the
    // bottom.
    std::vector<QRgb> rowColour(static_cast<std::size_t>(height));
    for (int y = 0; y < height; ++y) {
        const double alpha = 0.92 + (0.3 - 0.92) * (y + 0.5) / height;
        QColor c = tint;
        c.setAlphaF(float(alpha));
        rowColour[std::size_t(y)] = c.rgba();
    }
    const auto scaled = [](QRgb colour, double coverage) {
        return qPremultiply(
            qRgba(qRed(colour), qGreen(colour), qBlue(colour), int(std::lround(qAlpha(colour) * coverage))));
    };

    for (int x = 0; x < width; ++x) {
        const double centre = x + 0.5;
        if (centre > last + 0.5)
            break;
        double h;
        if (centre <= first) {
            h = level(0) * centre / first;
        } else if (centre >= last) {
            h = level(count - 1);
        } else {
            const double at = (centre - first) / column;
            const std::size_t i = std::min(std::size_t(at), count - 2);
            const double t = at - double(i);
            h = level(i) + (level(i + 1) - level(i)) * t;
        }
        // The column holding the last point is cut by the straight edge there.
        const double across = std::clamp(last - x, 0.0, 1.0);
        const double top = mid - h, bottom = mid + h;
        const int from = std::max(0, int(std::floor(top))), to = std::min(height - 1, int(std::ceil(bottom)));
        for (int y = from; y <= to; ++y) {
            const double covered = std::min(y + 1.0, bottom) - std::max(double(y), top);
            if (covered <= 0)
                continue;
            image.setPixel(x, y, scaled(rowColour[std::size_t(y)], std::min(covered, 1.0) * across));
        }
    }
    return image;
}

} // namespace orvane
