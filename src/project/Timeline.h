#pragma once

#include "Clip.h"
#include "Json.h"

#include <QString>
#include <QUuid>

#include <optional>
#include <vector>

namespace orvane {

// A flat list of clips and a list of tracks. The order of `clips` means nothing by itself: a clip's
// place is its trackIndex and timelineStart.
struct Timeline {
    enum class TrackKind { video, audio, music, overlay };

    struct Track {
        QUuid id = QUuid::createUuid();
        QString name;
        TrackKind kind = TrackKind::video;
        double height = 64;
        bool muted = false;
        bool locked = false;
        bool visible = true;

        bool operator==(const Track&) const = default;
    };

    std::vector<Clip> clips;
    std::vector<Track> tracks = defaultTracks();

    // "Video 1", "Audio", "Music", each with a fresh id.
    static std::vector<Track> defaultTracks();

    const Clip* clip(const QUuid& id) const;
    void add(const Clip& clip) { clips.push_back(clip); }
    // Removes every clip with that id; the others keep their order.
    void remove(const QUuid& id);
    // Replaces the first clip with the same id; does nothing when there is none.
    void update(const Clip& clip);
    // The clips on one track, by timelineStart, ties in list order.
    std::vector<Clip> clipsInTrack(int trackIndex) const;
    // In list order, the clips that cover `t`: start inclusive, end exclusive.
    std::vector<Clip> activeClips(ProjectTime t) const;
    ProjectTime duration() const;
    std::optional<int> firstTrackIndex(TrackKind kind) const;
    // The first track of `kind`, appended when there is none. `name` only names a new track.
    int ensureTrackIndex(TrackKind kind, const std::optional<QString>& name = std::nullopt);

    bool operator==(const Timeline&) const = default;
};

constexpr auto enumEntries(Timeline::TrackKind) {
    using K = Timeline::TrackKind;
    return std::array{EnumEntry<K>{K::video, "video"}, EnumEntry<K>{K::audio, "audio"},
                      EnumEntry<K>{K::music, "music"}, EnumEntry<K>{K::overlay, "overlay"}};
}
constexpr std::string_view enumTypeName(Timeline::TrackKind) {
    return "Timeline.TrackKind";
}

void fromJson(const JsonIn& in, Timeline::Track& out);
JsonValue toJson(const Timeline::Track& value);
void fromJson(const JsonIn& in, Timeline& out);
JsonValue toJson(const Timeline& value);

} // namespace orvane
