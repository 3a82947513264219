#pragma once

#include "JsonFwd.h"
#include "ProjectTime.h"

#include <QString>
#include <QUuid>

#include <optional>
#include <vector>

namespace orvane {

// One spoken word inside a caption, on the same source clock as the caption.
struct CaptionWord {
    ProjectTime start;
    ProjectTime duration;
    QString text;

    bool operator==(const CaptionWord&) const = default;
};

void fromJson(const JsonIn& in, CaptionWord& out);
JsonValue toJson(const CaptionWord& value);

// One timed line of captions. Times are seconds of the source file, the clock of the clip's zoom and
// cursor tracks, so trimming or moving the clip does not shift them. Word timing is there only when a
// transcription supplied it.
struct Caption {
    QUuid id;
    ProjectTime time;
    ProjectTime duration;
    QString text;
    std::optional<std::vector<CaptionWord>> words;

    // A caption with a fresh id.
    static Caption create(ProjectTime time, ProjectTime duration, QString text,
                          std::optional<std::vector<CaptionWord>> words = std::nullopt);

    ProjectTime endTime() const { return time + duration; }

    bool operator==(const Caption&) const = default;
};

void fromJson(const JsonIn& in, Caption& out);
JsonValue toJson(const Caption& value);

} // namespace orvane
