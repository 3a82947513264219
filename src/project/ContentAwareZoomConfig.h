#pragma once

#include "JsonFwd.h"

namespace orvane {

// Which kinds of on-screen element content-aware zoom looks for, and how far it zooms in on them.
struct ContentAwareZoomConfig {
    bool isEnabled = false;
    bool detectText = true;
    bool detectButtons = true;
    bool detectMenus = true;
    double zoomLevel = 2;

    static constexpr ContentAwareZoomConfig defaults() { return {}; }

    bool operator==(const ContentAwareZoomConfig&) const = default;
};

void fromJson(const JsonIn& in, ContentAwareZoomConfig& out);
JsonValue toJson(const ContentAwareZoomConfig& value);

} // namespace orvane
