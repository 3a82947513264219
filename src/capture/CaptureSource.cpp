#include "CaptureSource.h"

namespace orvane {

QString CaptureSource::kindName(Kind kind) {
    switch (kind) {
    case Kind::display:
        return QStringLiteral("display");
    case Kind::window:
        return QStringLiteral("window");
    case Kind::app:
        return QStringLiteral("app");
    }
    return {};
}

std::optional<CaptureSource::Kind> CaptureSource::kindFromName(const QString& name) {
    for (Kind kind : {Kind::display, Kind::window, Kind::app})
        if (kindName(kind) == name)
            return kind;
    return std::nullopt;
}

QString CaptureSource::describe() const {
    return QStringLiteral("%1\t%2\t%3x%4\t%5\t%6")
        .arg(id, kindName(kind))
        .arg(qint64(pixelSize.width))
        .arg(qint64(pixelSize.height))
        .arg(title, subtitle);
}

} // namespace orvane
