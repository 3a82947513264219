#pragma once

#include "Geometry.h"
#include "JsonFwd.h"
#include "ProjectTime.h"
#include "ShadowStyle.h"

#include <QByteArray>
#include <QUuid>

namespace orvane {

// A picture over a clip for part of its length. The image itself stays outside the project: the
// bookmark is the platform's persistent reference to the file, resolved when the overlay is drawn.
// The initial values are those of a freshly added sticker: centred, a quarter of the canvas, no shadow.
struct ImageOverlay {
    QUuid id;
    TimeRange timeRange;
    NormalizedPoint position = NormalizedPoint::center();
    double scale = 0.25;
    double rotation = 0;
    double opacity = 1;
    QByteArray imageBookmark;
    double cornerRadius = 0;
    ShadowStyle shadow = ShadowStyle::none();

    bool operator==(const ImageOverlay&) const = default;
};

void fromJson(const JsonIn& in, ImageOverlay& out);
JsonValue toJson(const ImageOverlay& value);

} // namespace orvane
