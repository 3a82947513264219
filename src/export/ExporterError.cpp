#include "ExporterError.h"

namespace orvane {

QString ExporterError::description() const {
    switch (kind) {
    case Kind::readerFailed:
        return QStringLiteral("Reader failed: ") + text;
    case Kind::writerFailed:
        return QStringLiteral("Writer failed: ") + text;
    case Kind::noClips:
        return QStringLiteral("Project has no clips to export.");
    case Kind::noSource:
        return QStringLiteral("Could not find the source video for export.");
    case Kind::cancelled:
        return QStringLiteral("Export cancelled.");
    case Kind::notSupported:
        return text;
    }
    return {};
}

} // namespace orvane
