#pragma once

#include "CursorSample.h"
#include "CursorTrack.h"
#include "EventTrack.h"
#include "InputEvent.h"
#include "ManualZoomEvent.h"
#include "project/Geometry.h"

#include <QString>

#include <tl/expected.hpp>

#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace orvane {

// What a telemetry journal holds: everything the collectors had handed over when it was last written.
struct TelemetryJournalContents {
    // The video's size in pixels as the header gave it; absent in a journal made without one.
    std::optional<Size> sourceSize;
    CursorTrack cursor;
    EventTrack events;
    std::vector<ManualZoomEvent> manualZoomEvents;

    bool operator==(const TelemetryJournalContents&) const = default;
};

// The append-only file a recording's telemetry goes to while it is collected, so that a killed recording
// keeps its cursor and clicks up to its last commit. At the stop it becomes the cursor and event files; a
// recovery reads it when the process died before that.
//
// One JSON object per line: a header line naming the format (and the source size), then {"cursor":
// sample}, {"event": event} or {"zoomMark": mark}, each in the form the cursor and event files use. A line
// is whole or torn, and a torn line can only be the last one, so a reader stops at the first line that
// does not parse.
//
// Appends format into a buffer of the journal's own without allocating once it has grown to a batch's
// size. commit() hands that buffer to the journal's writer thread and returns at once: the file is
// written there and asked to reach the disk (fdatasync) at most once a second, so neither a slow disk nor
// a sync ever holds up the thread that collects. One thread appends and commits; the writer is internal.
class TelemetryJournal {
public:
    // Creates (or truncates) the journal at `path` and writes its header line before returning.
    static tl::expected<std::unique_ptr<TelemetryJournal>, QString>
    create(const QString& path, std::optional<Size> sourceSize = std::nullopt);
    // Writes what is still buffered and waits for the writer to finish.
    ~TelemetryJournal();
    TelemetryJournal(const TelemetryJournal&) = delete;
    TelemetryJournal& operator=(const TelemetryJournal&) = delete;

    void append(const CursorSample& sample);
    void append(const InputEvent& event);
    void append(const ManualZoomEvent& mark);

    // Hands what was appended since the last commit to the writer, which writes it to the file at once.
    void commit();
    // Commits and waits until the writer has written everything; with `durable`, also until the disk
    // confirmed it. Fails with the first error the writer met (a full disk, say), now or earlier.
    tl::expected<void, QString> flush(bool durable = false);
    // The first error the writer met, if any: how a caller that only commits learns of a full disk.
    std::optional<QString> error() const;
    const QString& path() const { return m_path; }

    // Whatever survived: a record torn by the kill ends the journal there. Fails only when the file
    // cannot be read at all or is not a journal.
    static tl::expected<TelemetryJournalContents, QString> read(const QString& path);

private:
    // The file, closed when the journal goes (after its writer has stopped).
    struct Descriptor {
        int fd = -1;
        explicit Descriptor(int f)
            : fd(f) {}
        ~Descriptor();
        Descriptor(const Descriptor&) = delete;
        Descriptor& operator=(const Descriptor&) = delete;
    };

    TelemetryJournal(QString path, std::unique_ptr<Descriptor> file);
    // Moves the appending thread's buffer to the writer; returns the number of that commit.
    std::uint64_t handOver(bool durable);
    void writerLoop();

    const QString m_path;
    const std::unique_ptr<Descriptor> m_file;
    std::string m_buffer; // the appending thread's

    // Shared with the writer thread.
    mutable std::mutex m_lock;
    std::condition_variable m_wake;     // the writer waits here for work
    std::condition_variable m_progress; // flush() waits here for the writer
    std::string m_handedOver;
    std::uint64_t m_requested = 0; // commits so far
    std::uint64_t m_done = 0;      // commits the writer has written
    std::uint64_t m_syncedUpTo = 0;
    std::uint64_t m_syncWanted = 0; // a commit that must also reach the disk
    bool m_closing = false;
    std::optional<QString> m_error;

    std::thread m_writer; // last: started once everything above exists
};

} // namespace orvane
