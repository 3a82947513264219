#include "ImportError.h"

namespace orvane {

QString ImportError::userFacingMessage() const {
    switch (kind) {
    case Kind::unsupportedFormat:
        return name + QStringLiteral(" — unsupported format. Try converting to ") + expected + u'.';
    case Kind::fileMissing:
        return name + QStringLiteral(" — file not found on disk.");
    case Kind::invalidAsset:
        return name + QStringLiteral(" — couldn't load as media: ") + underlying +
               QStringLiteral("\n\nTry converting to MP4 or MOV.");
    case Kind::noVideoTrack:
        return name + QStringLiteral(" — file contains no video track.");
    case Kind::noAudioTrack:
        return name + QStringLiteral(" — file contains no audio track.");
    case Kind::copyFailed:
        return name + QStringLiteral(" — couldn't copy into project: ") + underlying;
    case Kind::other:
        break;
    }
    return {};
}

} // namespace orvane
