#include "CaptureEngineError.h"

namespace orvane {

QString CaptureEngineError::message() const {
    switch (kind) {
    case Kind::streamFailedToStart:
        return QStringLiteral("Capture stream failed to start: ") + detail;
    case Kind::writerFailed:
        return QStringLiteral("Asset writer failed: ") + detail;
    case Kind::noShareableContent:
        return QStringLiteral("No shareable content was returned by the X server. Check that the "
                              "display allows capture.");
    case Kind::sourceNotFound:
        return QStringLiteral("The selected source could not be found.");
    case Kind::invalidConfiguration:
        return QStringLiteral("Capture configuration is invalid.");
    case Kind::alreadyRunning:
        return QStringLiteral("Capture is already running.");
    case Kind::notRunning:
        return QStringLiteral("Capture is not running.");
    case Kind::permissionDenied:
        return QStringLiteral("Screen recording permission was denied.");
    case Kind::system:
        return detail;
    }
    return detail;
}

Error CaptureEngineError::toError() const {
    if (kind == Kind::system)
        return Error::system(detail);
    return Error::make(QString::fromLatin1(domain), int(kind) + 1, message());
}

} // namespace orvane
