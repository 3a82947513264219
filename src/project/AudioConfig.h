#pragma once

#include "JsonFwd.h"

namespace orvane {

// The mix of a clip's sound. Volumes are gains, 1 leaving the level as recorded.
struct AudioConfig {
    double systemAudioVolume = 1;
    double micVolume = 1;
    bool ducking = true;
    bool noiseSuppression = true;

    static constexpr AudioConfig defaults() { return {}; }

    bool operator==(const AudioConfig&) const = default;
};

void fromJson(const JsonIn& in, AudioConfig& out);
JsonValue toJson(const AudioConfig& value);

} // namespace orvane
