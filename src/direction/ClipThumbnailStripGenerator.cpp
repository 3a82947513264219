#include "ClipThumbnailStripGenerator.h"

#include "media/AssetProbe.h"
#include "media/FrameReader.h"

#include <QDateTime>
#include <QDir>
#include <QFileInfo>
#include <QImage>
#include <QImageWriter>
#include <QTransform>

#include <algorithm>
#include <cmath>

namespace orvane {

namespace {
constexpr double pixelsPerFrame = 80;
constexpr int leastRecommended = 3;
constexpr int mostRecommended = 24;
constexpr double endMargin = 0.05;

// The picture as a viewer sees it, at most `maxHeight` high. Scaling comes before turning so that the
// turn works on the small picture.
QImage uprightAndSmall(const VideoFrame& frame, double rotation, int maxHeight) {
    const QImage wrapped(frame.data(), frame.width(), frame.height(), frame.stride(),
                         QImage::Format_ARGB32_Premultiplied);
    const double turn = std::fmod(std::fmod(rotation, 360.0) + 360.0, 360.0);
    const bool sideways = std::abs(turn - 90) < 1 || std::abs(turn - 270) < 1;
    const int shownHeight = sideways ? frame.width() : frame.height();
    QImage image;
    if (shownHeight > maxHeight) {
        const double scale = double(maxHeight) / shownHeight;
        const QSize smaller(std::max(1, int(std::lround(frame.width() * scale))),
                            std::max(1, int(std::lround(frame.height() * scale))));
        image = wrapped.scaled(smaller, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
    } else {
        // The frame's pixels go back to the reader's pool: the picture is copied out first.
        image = wrapped.copy();
    }
    if (turn != 0)
        image = image.transformed(QTransform().rotate(turn), Qt::SmoothTransformation);
    return image;
}
} // namespace

QString ClipThumbnailStripGenerator::frameFileName(int index) {
    return QStringLiteral("frame-%1.jpg").arg(index, 2, 10, QLatin1Char('0'));
}

int ClipThumbnailStripGenerator::recommendedFrameCount(double width) {
    const double count = std::ceil(width / pixelsPerFrame);
    if (!std::isfinite(count))
        return count > 0 ? mostRecommended : leastRecommended;
    return int(std::clamp(count, double(leastRecommended), double(mostRecommended)));
}

std::vector<double> ClipThumbnailStripGenerator::sampleTimes(double duration, int count) {
    if (count < 1 || !(duration > 0))
        return {};
    if (count == 1)
        return {duration / 2};
    const double usable = std::max(duration - endMargin, endMargin);
    const double step = usable / count;
    std::vector<double> times(static_cast<std::size_t>(count));
    for (int i = 0; i < count; ++i)
        times[std::size_t(i)] = std::min(step * (i + 0.5), usable);
    return times;
}

QStringList ClipThumbnailStripGenerator::cachedFrames(const QString& folder, int expecting) {
    const QDir dir(folder);
    if (!dir.exists() || !dir.isReadable())
        return {};
    const QStringList names = dir.entryList({QStringLiteral("frame-*.jpg")}, QDir::Files, QDir::Name);
    if (names.size() != expecting)
        return {};
    QStringList paths;
    paths.reserve(names.size());
    for (const QString& name : names)
        paths << dir.filePath(name);
    return paths;
}

bool ClipThumbnailStripGenerator::isCacheFresh(const QString& source, const QStringList& frames) {
    const QDateTime sourceAt = QFileInfo(source).lastModified();
    if (!sourceAt.isValid())
        return false;
    return std::all_of(frames.begin(), frames.end(), [&](const QString& frame) {
        const QDateTime madeAt = QFileInfo(frame).lastModified();
        return madeAt.isValid() && madeAt >= sourceAt;
    });
}

QStringList ClipThumbnailStripGenerator::generate(const QString& source, const QString& folder,
                                                  int frameCount, std::stop_token stop,
                                                  const FrameWritten& frameWritten) {
    if (!QFileInfo::exists(source))
        return {};
    frameCount = std::clamp(frameCount, 1, maximumFrameCount);
    if (const QStringList cached = cachedFrames(folder, frameCount);
        !cached.isEmpty() && isCacheFresh(source, cached))
        return cached;

    QDir(folder).removeRecursively();
    if (!QDir().mkpath(folder))
        return {};
    const auto probed = probeAsset(source);
    if (!probed || probed->videoTracks.empty() || !std::isfinite(probed->duration) || !(probed->duration > 0))
        return {};
    // One decoding thread: several strips are made side by side, and the window keeps the other cores.
    auto reader = FrameReader::open(source, FrameReaderOptions{.decoderThreads = 1});
    if (!reader)
        return {};
    const double rotation = probed->videoTracks.front().rotationDegrees;

    const QDir dir(folder);
    QStringList written;
    const std::vector<double> times = sampleTimes(probed->duration, frameCount);
    for (std::size_t i = 0; i < times.size(); ++i) {
        if (stop.stop_requested())
            break;
        if (!(*reader)->seekNear(times[i], timeTolerance))
            continue;
        const auto frame = (*reader)->next();
        if (!frame || !*frame || (*frame)->isNull())
            continue;
        const QImage image = uprightAndSmall(**frame, rotation, storedHeight);
        const QString path = dir.filePath(frameFileName(int(i)));
        QImageWriter writer(path, "jpeg");
        writer.setQuality(jpegQuality);
        if (!writer.write(image.convertToFormat(QImage::Format_RGB32)))
            continue;
        written << path;
        if (frameWritten)
            frameWritten(int(i), path);
    }
    return written;
}

} // namespace orvane
