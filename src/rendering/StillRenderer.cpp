#include "StillRenderer.h"

#include "DemoSource.h"

#include <QImageWriter>

namespace orvane {

tl::expected<QImage, QString> StillRenderer::render(Compositor& compositor, const Image& source,
                                                    const Clip& clip, ProjectTime time,
                                                    const CursorTrack& cursor, const EventTrack& events) {
    std::optional<QImage> image = compositor.renderToImage(source, clip, time, cursor, events);
    if (!image)
        return tl::unexpected(QStringLiteral("could not compose the frame"));
    return std::move(*image);
}

tl::expected<void, QString> StillRenderer::writePng(const Image& source, const Clip& clip, ProjectTime time,
                                                    const CursorTrack& cursor, const EventTrack& events,
                                                    Size canvas, const QString& path) {
    Compositor compositor(canvas);
    const auto image = render(compositor, source, clip, time, cursor, events);
    if (!image)
        return tl::unexpected(image.error());
    QImageWriter writer(path, "png");
    if (!writer.write(image->convertToFormat(QImage::Format_RGBA8888)))
        return tl::unexpected(QStringLiteral("could not write ") + path + QStringLiteral(": ") +
                              writer.errorString());
    return {};
}

tl::expected<void, QString> StillRenderer::writeDemoPng(const Clip& styles, ProjectTime time, Size canvas,
                                                        const QString& path) {
    const Size source{1920, 1080};
    Clip clip = DemoSource::clip(source);
    clip.background = styles.background;
    clip.frame = styles.frame;
    clip.cursor = styles.cursor;
    clip.camera = styles.camera;
    const Image picture = DemoSource::image(int(source.width), int(source.height));
    return writePng(picture, clip, time, DemoSource::cursor(source), DemoSource::events(source), canvas,
                    path);
}

} // namespace orvane
