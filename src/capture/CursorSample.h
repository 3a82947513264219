#pragma once

#include "project/JsonFwd.h"
#include "project/ProjectTime.h"

namespace orvane {

// Where the pointer was at one instant, in source pixels from the top-left corner of the captured
// region. Values outside the region are kept as they are: a pointer on another display is still a place.
struct CursorSample {
    ProjectTime time; // since the collector started
    double x = 0;
    double y = 0;
    double pressure = 0; // no collector measures it; kept for the file's shape

    bool operator==(const CursorSample&) const = default;
};

void fromJson(const JsonIn& in, CursorSample& out);
JsonValue toJson(const CursorSample& value);

} // namespace orvane
