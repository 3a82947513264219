#pragma once

#include "ChromeStyle.h"
#include "JsonFwd.h"
#include "PerspectiveStyle.h"
#include "RGBAColor.h"
#include "ShadowStyle.h"

namespace orvane {

// How the recording sits on its background. Lenient in JSON: every key may be missing, so documents
// written before a key existed still load.
struct FrameStyle {
    double paddingFraction = 0.08; // of the canvas, on each side
    double cornerRadius = 16;
    ShadowStyle shadow = ShadowStyle::premium();
    ChromeStyle chrome = ChromeStyle::none();
    double innerBorderWidth = 1;
    RGBAColor innerBorderColor{1, 1, 1, 0.08};
    PerspectiveStyle perspective = PerspectiveStyle::defaults();

    static FrameStyle defaults() { return {}; }

    bool operator==(const FrameStyle&) const = default;
};

void fromJson(const JsonIn& in, FrameStyle& out);
JsonValue toJson(const FrameStyle& value);

} // namespace orvane
