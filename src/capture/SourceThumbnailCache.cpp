#include "SourceThumbnailCache.h"

#include "capture/SourceCatalog.h"
#include "capture/x11/X11ContentQuery.h"
#include "capture/x11/X11FrameGrabber.h"
#include "support/Log.h"
#include "support/SerialExecutor.h"

#include <QCoro/QCoroFuture>

#include <libyuv/scale_argb.h>

#include <algorithm>
#include <cmath>

namespace orvane {

namespace {

constexpr const char* tag = "SourceThumbnailCache";

SerialExecutor& snapshotExecutor() {
    static SerialExecutor executor(QStringLiteral("tech.velvetcomet.orvane.screen.thumbnails"));
    return executor;
}

} // namespace

SourceThumbnailCache& SourceThumbnailCache::shared() {
    static SourceThumbnailCache cache(CaptureEnvironment::fromSystem());
    return cache;
}

SourceThumbnailCache::SourceThumbnailCache(CaptureEnvironment environment, QObject* parent)
    : QObject(parent)
    , m_environment(std::move(environment)) {}

void SourceThumbnailCache::fetchIfNeeded(const CaptureSource& source) {
    if (m_cache.contains(source.id) || m_inflight.contains(source.id))
        return;
    m_inflight.insert(source.id);
    // The task runs on by itself; its frame goes when it ends.
    fetch(source);
}

QCoro::Task<> SourceThumbnailCache::fetch(CaptureSource source) {
    auto taking = snapshot(source, m_environment);
    const std::optional<VideoFrame> picture = co_await taking;
    if (picture) {
        m_cache.insert(source.id, *picture);
        Q_EMIT changed();
    }
    m_inflight.remove(source.id);
}

void SourceThumbnailCache::clear() {
    m_cache.clear();
    m_inflight.clear();
    Q_EMIT changed();
}

std::optional<VideoFrame> SourceThumbnailCache::thumbnail(const QString& sourceID) const {
    const auto it = m_cache.constFind(sourceID);
    if (it == m_cache.cend())
        return std::nullopt;
    return *it;
}

QCoro::Task<std::optional<VideoFrame>> SourceThumbnailCache::snapshot(CaptureSource source,
                                                                      CaptureEnvironment environment) {
    auto taking =
        snapshotExecutor().submit([source, environment] { return takeSnapshot(source, environment); });
    const tl::expected<VideoFrame, QString> picture = co_await taking;
    if (!picture) {
        log::warning(tag, QStringLiteral("snapshot failed for %1: %2").arg(source.id, picture.error()));
        co_return std::nullopt;
    }
    co_return *picture;
}

tl::expected<VideoFrame, QString> SourceThumbnailCache::takeSnapshot(const CaptureSource& source,
                                                                     const CaptureEnvironment& environment) {
    const auto content = X11ContentQuery::query(environment.displayName);
    if (!content)
        return tl::unexpected(content.error());
    const auto target = SourceCatalog::resolve(source, *content);
    if (!target)
        return tl::unexpected(target.error().message());
    const int width = int(target->pixelSize.width);
    const int height = int(target->pixelSize.height);
    auto grabber = X11FrameGrabber::open(environment.displayName, *target, width, height, 1);
    if (!grabber)
        return tl::unexpected(grabber.error());
    const auto image = (*grabber)->grab(0);
    if (!image)
        return tl::unexpected(image.error());

    // The server's fourth byte is undefined; make the picture opaque before scaling it.
    VideoFrame full = VideoFrame::allocate(image->width, image->height);
    for (int y = 0; y < image->height; ++y) {
        const auto* src =
            reinterpret_cast<const std::uint32_t*>(image->pixels + std::ptrdiff_t(y) * image->stride);
        auto* dst = reinterpret_cast<std::uint32_t*>(full.row(y));
        for (int x = 0; x < image->width; ++x)
            dst[x] = src[x] | 0xff000000u;
    }
    const int boxWidth = std::min(width, maxWidth);
    const int boxHeight = std::min(height, maxHeight);
    const double scale = std::min(double(boxWidth) / image->width, double(boxHeight) / image->height);
    const int fitWidth = std::clamp(int(std::lround(image->width * scale)), 1, boxWidth);
    const int fitHeight = std::clamp(int(std::lround(image->height * scale)), 1, boxHeight);
    VideoFrame picture = VideoFrame::allocate(boxWidth, boxHeight);
    picture.fill(0, 0, 0, 0);
    std::uint8_t* origin = picture.row((boxHeight - fitHeight) / 2) + (boxWidth - fitWidth) / 2 * 4;
    libyuv::ARGBScale(full.data(), full.stride(), full.width(), full.height(), origin, picture.stride(),
                      fitWidth, fitHeight, libyuv::kFilterBox);
    return picture;
}

} // namespace orvane
