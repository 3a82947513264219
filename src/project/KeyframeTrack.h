#pragma once

#include "EasingCurve.h"
#include "Json.h"
#include "Lerp.h"
#include "ProjectTime.h"

#include <algorithm>
#include <vector>

namespace orvane {

template <Lerpable Value>
struct Keyframe {
    ProjectTime time;
    Value value{};
    // The curve of the segment that starts at this keyframe; the last keyframe's curve is never used.
    EasingCurve easing = EasingCurve::linear();

    bool operator==(const Keyframe&) const = default;
};

// Anything that changes over a clip's time. Evaluation runs per frame: it allocates nothing, reads no
// clock and takes logarithmic time.
template <Lerpable Value>
struct KeyframeTrack {
    // Kept in ascending time by the operations below. Decoding keeps the order of the file, so a
    // hand-edited unsorted list stays as it is until an edit re-inserts its keyframes.
    std::vector<Keyframe<Value>> keyframes;

    KeyframeTrack() = default;
    explicit KeyframeTrack(std::vector<Keyframe<Value>> list)
        : keyframes(std::move(list)) {
        std::stable_sort(keyframes.begin(), keyframes.end(),
                         [](const Keyframe<Value>& a, const Keyframe<Value>& b) { return a.time < b.time; });
    }

    std::size_t count() const { return keyframes.size(); }
    bool isEmpty() const { return keyframes.empty(); }

    Value value(ProjectTime t, const Value& fallback) const {
        const std::size_t n = keyframes.size();
        if (n == 0)
            return fallback;
        if (t <= keyframes.front().time)
            return keyframes.front().value;
        if (t >= keyframes.back().time)
            return keyframes.back().value;
        std::size_t lo = 0;
        std::size_t hi = n - 1;
        while (lo + 1 < hi) {
            const std::size_t mid = (lo + hi) / 2;
            if (keyframes[mid].time > t)
                hi = mid;
            else
                lo = mid;
        }
        const Keyframe<Value>& a = keyframes[lo];
        const Keyframe<Value>& b = keyframes[hi];
        const double span = (b.time - a.time).seconds;
        if (span <= 0)
            return b.value;
        const double u = (t - a.time).seconds / span;
        return lerp(a.value, b.value, a.easing.value(u));
    }

    // A keyframe at exactly the same time is replaced in place; otherwise the new one goes before the
    // first later keyframe, or at the end.
    void insert(const Keyframe<Value>& keyframe) {
        for (auto it = keyframes.begin(); it != keyframes.end(); ++it) {
            if (it->time == keyframe.time) {
                *it = keyframe;
                return;
            }
        }
        auto later = std::find_if(keyframes.begin(), keyframes.end(),
                                  [&](const Keyframe<Value>& k) { return k.time > keyframe.time; });
        keyframes.insert(later, keyframe);
    }

    // Removes every keyframe whose time equals `time` exactly.
    void remove(ProjectTime time) {
        std::erase_if(keyframes, [&](const Keyframe<Value>& k) { return k.time == time; });
    }

    void removeAll() { keyframes.clear(); }

    bool operator==(const KeyframeTrack&) const = default;
};

template <Lerpable Value>
void fromJson(const JsonIn& in, Keyframe<Value>& out) {
    const JsonObjectIn o(in);
    out.time = o.required<ProjectTime>("time");
    out.value = o.required<Value>("value");
    out.easing = o.required<EasingCurve>("easing");
}

template <Lerpable Value>
JsonValue toJson(const Keyframe<Value>& k) {
    JsonObjectOut o;
    o.set("time", k.time).set("value", k.value).set("easing", k.easing);
    return o.take();
}

template <Lerpable Value>
void fromJson(const JsonIn& in, KeyframeTrack<Value>& out) {
    out.keyframes = JsonObjectIn(in).required<std::vector<Keyframe<Value>>>("keyframes");
}

template <Lerpable Value>
JsonValue toJson(const KeyframeTrack<Value>& track) {
    JsonObjectOut o;
    o.set("keyframes", track.keyframes);
    return o.take();
}

} // namespace orvane
