#pragma once

#include "CursorSample.h"
#include "CursorTrack.h"
#include "EventTrack.h"
#include "InputEvent.h"
#include "ManualZoomEvent.h"

#include <QFile>
#include <QString>

#include <tl/expected.hpp>

#include <memory>
#include <string>
#include <vector>

namespace orvane {

// What a telemetry journal holds: everything the collectors had handed over when it was last flushed.
struct TelemetryJournalContents {
    CursorTrack cursor;
    EventTrack events;
    std::vector<ManualZoomEvent> manualZoomEvents;

    bool operator==(const TelemetryJournalContents&) const = default;
};

// The append-only file a recording's telemetry goes to while it is collected, so that a killed recording
// keeps its cursor and clicks up to its last flush. At the stop it becomes the cursor and event files; a
// recovery reads it when the process died before that.
//
// One JSON object per line: a header line naming the format, then {"cursor": sample}, {"event": event}
// or {"zoomMark": mark}, each in the form the cursor and event files use. A line is whole or torn, and a
// torn line can only be the last one, so a reader stops at the first line that does not parse.
//
// Appends fill a buffer of the journal's own (cursor samples, the frequent case, are formatted into it
// without allocating); flush() hands the buffer to the OS, so a killed process loses only what was not
// flushed yet. Not thread-safe: one thread appends and flushes.
class TelemetryJournal {
public:
    // Creates (or truncates) the journal at `path` and writes its header line.
    static tl::expected<std::unique_ptr<TelemetryJournal>, QString> create(const QString& path);
    ~TelemetryJournal();
    TelemetryJournal(const TelemetryJournal&) = delete;
    TelemetryJournal& operator=(const TelemetryJournal&) = delete;

    void append(const CursorSample& sample);
    void append(const InputEvent& event);
    void append(const ManualZoomEvent& mark);
    // Writes what was appended since the last flush. With `durable`, also asks the disk to keep it (a
    // power cut then loses no more than a killed process does).
    tl::expected<void, QString> flush(bool durable = false);
    const QString& path() const { return m_path; }

    // Whatever survived: a record torn by the kill ends the journal there. Fails only when the file
    // cannot be read at all or is not a journal.
    static tl::expected<TelemetryJournalContents, QString> read(const QString& path);

private:
    explicit TelemetryJournal(QString path);

    QString m_path;
    QFile m_file;
    std::string m_buffer;
};

} // namespace orvane
