#pragma once

#include "InputEvent.h"

#include <vector>

namespace orvane {

// Input events of a recording in order of arrival.
struct EventTrack {
    std::vector<InputEvent> events;

    bool operator==(const EventTrack&) const = default;
};

void fromJson(const JsonIn& in, EventTrack& out);
JsonValue toJson(const EventTrack& value);

} // namespace orvane
