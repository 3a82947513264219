#include "AudioConfig.h"

#include "Json.h"

namespace orvane {

void fromJson(const JsonIn& in, AudioConfig& out) {
    const JsonObjectIn o(in);
    out.systemAudioVolume = o.required<double>("systemAudioVolume");
    out.micVolume = o.required<double>("micVolume");
    out.ducking = o.required<bool>("ducking");
    out.noiseSuppression = o.required<bool>("noiseSuppression");
}

JsonValue toJson(const AudioConfig& value) {
    JsonObjectOut o;
    o.set("systemAudioVolume", value.systemAudioVolume)
        .set("micVolume", value.micVolume)
        .set("ducking", value.ducking)
        .set("noiseSuppression", value.noiseSuppression);
    return o.take();
}

} // namespace orvane
