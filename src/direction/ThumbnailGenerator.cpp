#include "ThumbnailGenerator.h"

#include "media/AssetProbe.h"
#include "media/FrameReader.h"

#include <QDir>
#include <QFileInfo>
#include <QImage>
#include <QImageWriter>
#include <QTransform>

#include <algorithm>
#include <cmath>

namespace orvane {

bool ThumbnailGenerator::generate(const QString& source, double atSecond, QSize targetSize,
                                  const QString& destination) {
    if (!QFileInfo::exists(source) || targetSize.isEmpty())
        return false;
    const auto probed = probeAsset(source);
    if (!probed || probed->videoTracks.empty())
        return false;
    auto reader = FrameReader::open(source);
    if (!reader)
        return false;

    double seconds = std::max(atSecond, 0.0);
    const double duration = (*reader)->duration();
    // A card asked for at one second of a shorter recording shows its last moment, not nothing.
    if (std::isfinite(duration) && duration > 0)
        seconds = std::min(seconds, std::max(duration - 0.05, 0.0));
    const auto frame = (*reader)->frameAt(seconds);
    if (!frame || !*frame || (*frame)->isNull())
        return false;

    const VideoFrame& picture = **frame;
    // The frame's pixels belong to the reader's pool: the image is copied out before the frame goes back.
    QImage image = QImage(picture.data(), picture.width(), picture.height(), picture.stride(),
                          QImage::Format_ARGB32_Premultiplied)
                       .copy();
    if (const double rotation = probed->videoTracks.front().rotationDegrees; std::fmod(rotation, 360.0) != 0)
        image = image.transformed(QTransform().rotate(rotation), Qt::SmoothTransformation);
    // Fitted and never enlarged: a card of a small recording stays sharp at its own size.
    if (image.width() > targetSize.width() || image.height() > targetSize.height())
        image = image.scaled(targetSize, Qt::KeepAspectRatio, Qt::SmoothTransformation);

    QDir().mkpath(QFileInfo(destination).absolutePath());
    QImageWriter writer(destination, "jpeg");
    writer.setQuality(jpegQuality);
    return writer.write(image.convertToFormat(QImage::Format_RGB32));
}

} // namespace orvane
