#include "VersionPreviewRenderer.h"

#include "app/BundlePreviewRenderer.h"
#include "capture/CursorSmoothing.h"
#include "capture/TelemetryFiles.h"
#include "media/FrameReader.h"
#include "rendering/Compositor.h"
#include "rendering/VideoFrameImage.h"

#include <QDir>

#include <algorithm>

namespace orvane {

namespace {

// The stand-in for a movie that is gone: a dark neutral grey, so the clip's own styles carry the picture.
constexpr std::uint32_t standInColour = 0xFF2A2E36;

Image standInPicture(Size size) {
    Image picture = Image::allocate(std::max(1, int(size.width)), std::max(1, int(size.height)));
    if (!picture.isNull()) {
        picture.fill(standInColour);
        picture.setOpaque(true);
    }
    return picture;
}

Image sourcePicture(const Clip& clip, double seconds, const QString& bundlePath) {
    if (!clip.sourceVideoPath.isEmpty()) {
        auto reader = FrameReader::open(QDir(bundlePath).filePath(clip.sourceVideoPath));
        if (reader) {
            auto frame = (*reader)->frameAt(seconds);
            if (frame && *frame)
                return imageFromVideoFrame(**frame);
        }
    }
    const Size size =
        clip.sourceSize.width > 0 && clip.sourceSize.height > 0 ? clip.sourceSize : Size{1920, 1080};
    return standInPicture(size);
}

} // namespace

VersionPreviewRenderer::VersionPreviewRenderer(QSize bounds)
    : m_bounds(bounds) {}

VersionPreviewRenderer::~VersionPreviewRenderer() = default;

double VersionPreviewRenderer::stillTime(const Clip& clip) {
    const double in = clip.sourceIn.seconds;
    const double length = std::max(0.0, clip.sourceOut.seconds - in);
    return in + std::min(1.0, length / 2);
}

QImage VersionPreviewRenderer::render(const Project& project, const QString& bundlePath) {
    QImage still;
    if (!project.timeline.clips.empty()) {
        const Size canvas = project.canvasSize.width >= 1 && project.canvasSize.height >= 1
                                ? project.canvasSize
                                : Size{1920, 1080};
        still = composed(project.timeline.clips.front(), canvas, bundlePath);
    }
    if (still.isNull())
        still = BundlePreviewRenderer::render(project, bundlePath);
    if (still.isNull() || m_bounds.isEmpty())
        return still;
    if (still.width() <= m_bounds.width() && still.height() <= m_bounds.height())
        return still;
    return still.scaled(m_bounds, Qt::KeepAspectRatio, Qt::SmoothTransformation);
}

QImage VersionPreviewRenderer::composed(const Clip& clip, Size canvas, const QString& bundlePath) {
    const double seconds = stillTime(clip);
    const Image source = sourcePicture(clip, seconds, bundlePath);
    if (source.isNull())
        return {};
    CursorTrack cursor;
    if (clip.sourceCursorPath)
        cursor = CursorSmoothing::smooth(
            TelemetryFiles::loadCursorTrack(QDir(bundlePath).filePath(*clip.sourceCursorPath)),
            clip.cursor.smoothing);
    EventTrack events;
    if (clip.sourceEventsPath)
        events = TelemetryFiles::loadEventTrack(QDir(bundlePath).filePath(*clip.sourceEventsPath));

    if (!m_compositor || m_compositor->canvasSize() != canvas)
        m_compositor = std::make_unique<Compositor>(canvas);
    // A still has no camera picture: the bubble would show a frame of another moment.
    m_compositor->setCurrentCameraFrame(std::nullopt);
    std::optional<QImage> image =
        m_compositor->renderToImage(source, clip, ProjectTime(seconds), cursor, events);
    return image ? std::move(*image) : QImage();
}

} // namespace orvane
