#include "Timeline.h"

#include <algorithm>

namespace orvane {

std::vector<Timeline::Track> Timeline::defaultTracks() {
    return {
        Track{QUuid::createUuid(), QStringLiteral("Video 1"), TrackKind::video, 64, false, false, true},
        Track{QUuid::createUuid(), QStringLiteral("Audio"), TrackKind::audio, 48, false, false, true},
        Track{QUuid::createUuid(), QStringLiteral("Music"), TrackKind::music, 48, false, false, true},
    };
}

const Clip* Timeline::clip(const QUuid& id) const {
    const auto it = std::find_if(clips.begin(), clips.end(), [&](const Clip& c) { return c.id == id; });
    return it == clips.end() ? nullptr : &*it;
}

void Timeline::remove(const QUuid& id) {
    std::erase_if(clips, [&](const Clip& c) { return c.id == id; });
}

void Timeline::update(const Clip& clip) {
    const auto it = std::find_if(clips.begin(), clips.end(), [&](const Clip& c) { return c.id == clip.id; });
    if (it != clips.end())
        *it = clip;
}

std::vector<Clip> Timeline::clipsInTrack(int trackIndex) const {
    std::vector<Clip> result;
    std::copy_if(clips.begin(), clips.end(), std::back_inserter(result),
                 [&](const Clip& c) { return c.trackIndex == trackIndex; });
    std::stable_sort(result.begin(), result.end(),
                     [](const Clip& a, const Clip& b) { return a.timelineStart < b.timelineStart; });
    return result;
}

std::vector<Clip> Timeline::activeClips(ProjectTime t) const {
    std::vector<Clip> result;
    for (const Clip& c : clips)
        if (c.timelineStart <= t && t < c.timelineEnd())
            result.push_back(c);
    return result;
}

ProjectTime Timeline::duration() const {
    ProjectTime end;
    for (const Clip& c : clips)
        end = std::max(end, c.timelineEnd());
    return end;
}

std::optional<int> Timeline::firstTrackIndex(TrackKind kind) const {
    for (std::size_t i = 0; i < tracks.size(); ++i)
        if (tracks[i].kind == kind)
            return int(i);
    return std::nullopt;
}

int Timeline::ensureTrackIndex(TrackKind kind, const std::optional<QString>& name) {
    if (const auto existing = firstTrackIndex(kind))
        return *existing;
    Track track;
    track.kind = kind;
    switch (kind) {
    case TrackKind::video: {
        const auto videoTracks = std::count_if(tracks.begin(), tracks.end(),
                                               [](const Track& t) { return t.kind == TrackKind::video; });
        track.height = 64;
        track.name = name.value_or(QStringLiteral("Video %1").arg(videoTracks + 1));
        break;
    }
    case TrackKind::audio:
        track.height = 48;
        track.name = name.value_or(QStringLiteral("Audio"));
        break;
    case TrackKind::music:
        track.height = 48;
        track.name = name.value_or(QStringLiteral("Music"));
        break;
    case TrackKind::overlay:
        track.height = 40;
        track.name = name.value_or(QStringLiteral("Overlay"));
        break;
    }
    tracks.push_back(track);
    return int(tracks.size()) - 1;
}

void fromJson(const JsonIn& in, Timeline::Track& out) {
    const JsonObjectIn o(in);
    out.id = o.optional<QUuid>("id").value_or(QUuid::createUuid());
    out.name = o.required<QString>("name");
    out.kind = o.required<Timeline::TrackKind>("kind");
    out.height = o.value("height", 64.0);
    out.muted = o.value("muted", false);
    out.locked = o.value("locked", false);
    out.visible = o.value("visible", true);
}

JsonValue toJson(const Timeline::Track& t) {
    JsonObjectOut o;
    o.set("id", t.id)
        .set("name", t.name)
        .set("kind", t.kind)
        .set("height", t.height)
        .set("muted", t.muted)
        .set("locked", t.locked)
        .set("visible", t.visible);
    return o.take();
}

void fromJson(const JsonIn& in, Timeline& out) {
    const JsonObjectIn o(in);
    out.clips = o.value("clips", std::vector<Clip>());
    // An explicitly empty list stays empty; only a missing one gets the default tracks.
    auto tracks = o.optional<std::vector<Timeline::Track>>("tracks");
    out.tracks = tracks ? std::move(*tracks) : Timeline::defaultTracks();
}

JsonValue toJson(const Timeline& t) {
    JsonObjectOut o;
    o.set("clips", t.clips).set("tracks", t.tracks);
    return o.take();
}

} // namespace orvane
