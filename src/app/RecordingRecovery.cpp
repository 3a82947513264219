#include "RecordingRecovery.h"

#include "capture/TelemetryFiles.h"
#include "capture/TelemetryJournal.h"
#include "media/AssetProbe.h"
#include "support/Log.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>

#include <algorithm>
#include <cmath>
#include <set>

namespace orvane {

namespace {

constexpr const char* tag = "RecordingRecovery";

// Only the names the capture engine gives its movies: an import or a camera's movie is never a
// recording to bring back.
const QRegularExpression& recordingName() {
    static const QRegularExpression pattern(
        QStringLiteral("^clip-[0-9A-F]{8}-[0-9A-F]{4}-[0-9A-F]{4}-[0-9A-F]{4}-[0-9A-F]{12}\\.mov$"));
    return pattern;
}

} // namespace

QStringList RecordingRecovery::findOrphans(const QString& bundlePath, const Project& project) {
    std::set<QString> referenced;
    for (const Clip& clip : project.timeline.clips) {
        referenced.insert(QDir::cleanPath(clip.sourceVideoPath));
        if (clip.sourceCameraPath)
            referenced.insert(QDir::cleanPath(*clip.sourceCameraPath));
    }
    QFileInfoList movies = QDir(QDir(bundlePath).filePath(QStringLiteral("media")))
                               .entryInfoList(QDir::Files, QDir::Time | QDir::Reversed);
    QStringList orphans;
    for (const QFileInfo& movie : movies) {
        if (!recordingName().match(movie.fileName()).hasMatch())
            continue;
        const QString relative = QStringLiteral("media/") + movie.fileName();
        if (!referenced.count(relative))
            orphans << relative;
    }
    return orphans;
}

tl::expected<CaptureResult, QString> RecordingRecovery::rebuild(const QString& bundlePath,
                                                                const QString& videoRelative) {
    const QDir bundle(bundlePath);
    const QString videoPath = bundle.filePath(videoRelative);
    const auto probed = probeAsset(videoPath);
    if (!probed)
        return tl::unexpected(probed.error().description);
    if (probed->videoTracks.empty() || !std::isfinite(probed->duration) || probed->duration <= 0)
        return tl::unexpected(QStringLiteral("The recording %1 holds no video.").arg(videoRelative));

    CaptureResult result;
    result.videoURL = videoPath;
    result.videoRelativePath = videoRelative;
    result.duration = ProjectTime(probed->duration);
    result.frameSize = probed->videoTracks.front().displaySize;

    const QString stem = videoRelative.chopped(4); // "media/clip-<UUID>"
    const QString cursorRelative = stem + QStringLiteral("-cursor.json");
    const QString eventsRelative = stem + QStringLiteral("-events.json");
    const QString journalPath = bundle.filePath(stem + QStringLiteral("-telemetry.jsonl"));
    const QString cursorPath = bundle.filePath(cursorRelative);
    const QString eventsPath = bundle.filePath(eventsRelative);

    std::optional<TelemetryJournalContents> journal;
    if (QFileInfo::exists(journalPath)) {
        if (auto read = TelemetryJournal::read(journalPath))
            journal = std::move(*read);
        else
            log::warning(tag, QStringLiteral("telemetry journal unreadable: ") + read.error());
    }
    const bool filesWritten = TelemetryFiles::readCursorTrack(cursorPath).has_value() &&
                              TelemetryFiles::readEventTrack(eventsPath).has_value();
    if (!filesWritten && journal) {
        // The process died before its stop wrote the two files: they are made from what the journal kept.
        if (auto written =
                TelemetryFiles::writeTracks(journal->cursor, journal->events, cursorPath, eventsPath);
            !written) {
            log::warning(tag, QStringLiteral("failed to write cursor/event tracks: ") + written.error());
            journal.reset();
        }
    }
    if (filesWritten || journal) {
        result.cursorURL = cursorPath;
        result.eventsURL = eventsPath;
        result.cursorRelativePath = cursorRelative;
        result.eventsRelativePath = eventsRelative;
    }
    if (journal) {
        result.manualZoomEvents = journal->manualZoomEvents;
        // The two files now hold everything the journal did.
        QFile::remove(journalPath);
    }

    const QString cameraRelative = stem + QStringLiteral("-camera.mov");
    if (const QString cameraPath = bundle.filePath(cameraRelative); QFileInfo::exists(cameraPath)) {
        if (const auto camera = probeAsset(cameraPath); camera && !camera->videoTracks.empty()) {
            result.cameraURL = cameraPath;
            result.cameraRelativePath = cameraRelative;
        }
    }
    log::info(tag, QStringLiteral("recovered %1: %2 s, %3 cursor samples")
                       .arg(videoRelative)
                       .arg(probed->duration, 0, 'f', 2)
                       .arg(journal ? qsizetype(journal->cursor.samples.size()) : qsizetype(0)));
    return result;
}

} // namespace orvane
