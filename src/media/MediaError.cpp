#include "MediaError.h"

extern "C" {
#include <libavutil/error.h>
}

namespace orvane {

MediaError MediaError::ffmpeg(int averror, const QString& context) {
    char text[AV_ERROR_MAX_STRING_SIZE] = {};
    av_strerror(averror, text, sizeof text);
    return {QString::fromLatin1(ffmpegDomain), averror,
            context + QStringLiteral(" failed: ") + QString::fromUtf8(text)};
}

} // namespace orvane
