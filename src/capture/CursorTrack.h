#pragma once

#include "CursorSample.h"

#include <vector>

namespace orvane {

// Pointer positions in order of arrival. The tap yields a sample per movement, the polling fallback one
// per tick whether or not the pointer moved; readers cope with both.
struct CursorTrack {
    std::vector<CursorSample> samples;

    bool operator==(const CursorTrack&) const = default;
};

void fromJson(const JsonIn& in, CursorTrack& out);
JsonValue toJson(const CursorTrack& value);

} // namespace orvane
