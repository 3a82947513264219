#include "TelemetryFiles.h"

#include "project/Json.h"
#include "support/Log.h"

#include <QFile>

namespace orvane {

namespace {

tl::expected<QByteArray, QString> readBytes(const QString& path) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return tl::unexpected(path + QStringLiteral(": ") + file.errorString());
    return file.readAll();
}

template <class Track>
tl::expected<Track, QString> decodeTrack(const QByteArray& bytes) {
    try {
        const JsonValue root = readJsonDocument(bytes);
        const JsonPath rootPath;
        return decodeJson<Track>(JsonIn(root, rootPath));
    } catch (const JsonError& e) {
        return tl::unexpected(e.description());
    }
}

template <class Track>
tl::expected<Track, QString> readTrack(const QString& path) {
    auto bytes = readBytes(path);
    if (!bytes)
        return tl::unexpected(bytes.error());
    return decodeTrack<Track>(*bytes);
}

template <class Track>
tl::expected<void, QString> writeTrack(const Track& track, const QString& path) {
    QByteArray bytes;
    try {
        bytes = writeJsonDocument(toJson(track));
    } catch (const JsonError& e) {
        return tl::unexpected(e.description());
    }
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate))
        return tl::unexpected(path + QStringLiteral(": ") + file.errorString());
    if (file.write(bytes) != bytes.size() || !file.flush())
        return tl::unexpected(path + QStringLiteral(": ") + file.errorString());
    return {};
}

} // namespace

tl::expected<CursorTrack, QString> TelemetryFiles::readCursorTrack(const QString& path) {
    return readTrack<CursorTrack>(path);
}

tl::expected<EventTrack, QString> TelemetryFiles::readEventTrack(const QString& path) {
    return readTrack<EventTrack>(path);
}

tl::expected<CursorTrack, QString> TelemetryFiles::decodeCursorTrack(const QByteArray& bytes) {
    return decodeTrack<CursorTrack>(bytes);
}

tl::expected<EventTrack, QString> TelemetryFiles::decodeEventTrack(const QByteArray& bytes) {
    return decodeTrack<EventTrack>(bytes);
}

CursorTrack TelemetryFiles::loadCursorTrack(const QString& path) {
    auto track = readCursorTrack(path);
    if (!track) {
        log::warning("TelemetryFiles",
                     QStringLiteral("cursor track unreadable, using none: ") + track.error());
        return {};
    }
    return std::move(*track);
}

EventTrack TelemetryFiles::loadEventTrack(const QString& path) {
    auto track = readEventTrack(path);
    if (!track) {
        log::warning("TelemetryFiles",
                     QStringLiteral("event track unreadable, using none: ") + track.error());
        return {};
    }
    return std::move(*track);
}

tl::expected<void, QString> TelemetryFiles::writeCursorTrack(const CursorTrack& track, const QString& path) {
    return writeTrack(track, path);
}

tl::expected<void, QString> TelemetryFiles::writeEventTrack(const EventTrack& track, const QString& path) {
    return writeTrack(track, path);
}

tl::expected<void, QString> TelemetryFiles::writeTracks(const CursorTrack& cursor, const EventTrack& events,
                                                        const QString& cursorPath,
                                                        const QString& eventsPath) {
    if (auto written = writeCursorTrack(cursor, cursorPath); !written)
        return written;
    return writeEventTrack(events, eventsPath);
}

} // namespace orvane
