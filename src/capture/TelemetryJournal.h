#pragma once

#include "CursorTrack.h"
#include "EventTrack.h"
#include "ManualZoomEvent.h"

#include <QString>

#include <tl/expected.hpp>

#include <vector>

namespace orvane {

// What a telemetry journal holds: everything the collectors had handed over when it was last flushed.
struct TelemetryJournalContents {
    CursorTrack cursor;
    EventTrack events;
    std::vector<ManualZoomEvent> manualZoomEvents;

    bool operator==(const TelemetryJournalContents&) const = default;
};

// The append-only file a recording's telemetry goes to while it is collected, flushed at least once a
// second, so that a killed recording keeps its cursor and clicks up to its last second. At the stop it
// becomes the cursor and event files; a recovery reads it when the process died before that.
class TelemetryJournal {
public:
    // Whatever survived: a record torn by the kill ends the journal there. Fails only when the file
    // cannot be read at all or is not a journal.
    static tl::expected<TelemetryJournalContents, QString> read(const QString& path);
};

} // namespace orvane
