#pragma once

#include "CursorTrack.h"
#include "EventTrack.h"

#include <QByteArray>
#include <QString>

#include <tl/expected.hpp>

namespace orvane {

// The two side files of a recording: "<clip>-cursor.json" holds {"samples": [...]}, "<clip>-events.json"
// holds {"events": [...]}, both UTF-8, pretty-printed with sorted keys, every key required on reading.
// They are written once, whole, when a recording stops, and not atomically: a half-written file reads
// as unreadable, which every reader already treats as empty.
class TelemetryFiles {
public:
    // Strict readers: the error names the file's problem ("events[3]: Invalid number of keys found,
    // expected one.") or the system's reason the file could not be opened.
    static tl::expected<CursorTrack, QString> readCursorTrack(const QString& path);
    static tl::expected<EventTrack, QString> readEventTrack(const QString& path);
    // The same for the bytes of such a file, already in memory.
    static tl::expected<CursorTrack, QString> decodeCursorTrack(const QByteArray& bytes);
    static tl::expected<EventTrack, QString> decodeEventTrack(const QByteArray& bytes);

    // Lenient readers for the editor, the preview and export: a missing or unreadable file is an empty
    // track, and the reason is logged.
    static CursorTrack loadCursorTrack(const QString& path);
    static EventTrack loadEventTrack(const QString& path);

    static tl::expected<void, QString> writeCursorTrack(const CursorTrack& track, const QString& path);
    static tl::expected<void, QString> writeEventTrack(const EventTrack& track, const QString& path);
    // The cursor file first; when it cannot be written the event file is not attempted.
    static tl::expected<void, QString> writeTracks(const CursorTrack& cursor, const EventTrack& events,
                                                   const QString& cursorPath, const QString& eventsPath);
};

} // namespace orvane
