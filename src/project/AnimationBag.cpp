#include "AnimationBag.h"

namespace orvane {

double AnimationBag::value(AnimatablePropertyID property, ProjectTime t, double fallback) const {
    const auto it = tracks.find(property);
    if (it == tracks.end() || it->second.isEmpty())
        return fallback;
    return it->second.value(t, fallback);
}

bool AnimationBag::isEmpty() const {
    for (const auto& [id, track] : tracks)
        if (!track.isEmpty())
            return false;
    return true;
}

void fromJson(const JsonIn& in, AnimationBag& out) {
    const JsonObjectIn o(in);
    const JsonValue& pairsValue = o.object().value("tracks");
    const JsonPath pairsPath(&o.path(), QUtf8StringView("tracks"));
    const JsonIn pairs(pairsValue, pairsPath);
    if (pairsValue.isUndefined())
        pairs.fail("required key is missing");
    if (!pairsValue.isArray())
        pairs.fail("expected an array of alternating keys and values");
    const JsonArray& array = pairsValue.toArray();
    if (array.size() % 2 != 0)
        pairs.fail("expected an even number of elements: keys alternating with values");
    out.tracks.clear();
    for (qsizetype i = 0; i < array.size(); i += 2) {
        const JsonPath keyPath(&pairsPath, i);
        const JsonPath valuePath(&pairsPath, i + 1);
        const auto id = decodeJson<AnimatablePropertyID>(JsonIn(array.at(i), keyPath));
        // A repeated key keeps the later track, as a dictionary filled in order would.
        out.tracks[id] = decodeJson<KeyframeTrack<double>>(JsonIn(array.at(i + 1), valuePath));
    }
}

JsonValue toJson(const AnimationBag& value) {
    JsonArray pairs;
    for (const auto& [id, track] : value.tracks) {
        pairs.append(toJson(id));
        try {
            pairs.append(toJson(track));
        } catch (JsonError& e) {
            e.prependIndex(pairs.size());
            e.prependKey(QUtf8StringView("tracks"));
            throw;
        }
    }
    JsonObject o;
    o.append("tracks", std::move(pairs));
    return o;
}

} // namespace orvane
