#include "RecordingRecovery.h"

#include "capture/TelemetryFiles.h"
#include "capture/TelemetryJournal.h"
#include "media/AssetProbe.h"
#include "support/Log.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>

#include <cmath>
#include <set>

namespace orvane {

namespace {

constexpr const char* tag = "RecordingRecovery";

// Only the names the capture engine gives its movies: an import or a camera's movie is never a
// recording to bring back.
const QRegularExpression& recordingName() {
    static const QRegularExpression pattern(
        QStringLiteral("^media/clip-([0-9A-F]{8}-[0-9A-F]{4}-[0-9A-F]{4}-[0-9A-F]{4}-[0-9A-F]{12})\\.mov$"));
    return pattern;
}

} // namespace

QUuid RecordingRecovery::recordingID(const QString& videoRelative) {
    const QRegularExpressionMatch match = recordingName().match(videoRelative);
    return match.hasMatch() ? QUuid::fromString(match.captured(1)) : QUuid();
}

QStringList RecordingRecovery::findOrphans(const QString& bundlePath, const Project& project) {
    std::set<QString> referenced;
    for (const Clip& clip : project.timeline.clips)
        referenced.insert(QDir::cleanPath(clip.sourceVideoPath));
    QFileInfoList movies = QDir(QDir(bundlePath).filePath(QStringLiteral("media")))
                               .entryInfoList(QDir::Files, QDir::Time | QDir::Reversed);
    QStringList orphans;
    for (const QFileInfo& movie : movies) {
        const QString relative = QStringLiteral("media/") + movie.fileName();
        if (!recordingID(relative).isNull() && !referenced.count(relative))
            orphans << relative;
    }
    return orphans;
}

tl::expected<CaptureResult, QString> RecordingRecovery::rebuild(const ClipMediaPaths& paths) {
    const auto probed = probeAsset(paths.videoPath);
    if (!probed)
        return tl::unexpected(probed.error().description);
    if (probed->videoTracks.empty() || !std::isfinite(probed->duration) || probed->duration <= 0)
        return tl::unexpected(QStringLiteral("The recording %1 holds no video.").arg(paths.videoRelative));

    CaptureResult result;
    result.videoURL = paths.videoPath;
    result.videoRelativePath = paths.videoRelative;
    result.duration = ProjectTime(probed->duration);
    result.frameSize = probed->videoTracks.front().displaySize;

    std::optional<TelemetryJournalContents> journal;
    if (QFileInfo::exists(paths.telemetryJournalPath)) {
        if (auto read = TelemetryJournal::read(paths.telemetryJournalPath))
            journal = std::move(*read);
        else
            log::warning(tag, QStringLiteral("telemetry journal unreadable: ") + read.error());
    }
    const bool filesWritten = TelemetryFiles::readCursorTrack(paths.cursorPath).has_value() &&
                              TelemetryFiles::readEventTrack(paths.eventsPath).has_value();
    if (!filesWritten && journal) {
        // The process died before its stop wrote the two files: they are made from what the journal kept.
        if (auto written = TelemetryFiles::writeTracks(journal->cursor, journal->events, paths.cursorPath,
                                                       paths.eventsPath);
            !written) {
            log::warning(tag, QStringLiteral("failed to write cursor/event tracks: ") + written.error());
            journal.reset();
        }
    }
    if (filesWritten || journal) {
        result.cursorURL = paths.cursorPath;
        result.eventsURL = paths.eventsPath;
        result.cursorRelativePath = paths.cursorRelative;
        result.eventsRelativePath = paths.eventsRelative;
    }
    if (journal) {
        result.manualZoomEvents = journal->manualZoomEvents;
        // The two files now hold everything the journal did.
        QFile::remove(paths.telemetryJournalPath);
    }

    if (QFileInfo::exists(paths.cameraPath)) {
        if (const auto camera = probeAsset(paths.cameraPath); camera && !camera->videoTracks.empty()) {
            result.cameraURL = paths.cameraPath;
            result.cameraRelativePath = paths.cameraRelative;
        }
    }
    log::info(tag, QStringLiteral("recovered %1: %2 s, %3 cursor samples")
                       .arg(paths.videoRelative)
                       .arg(probed->duration, 0, 'f', 2)
                       .arg(journal ? qsizetype(journal->cursor.samples.size()) : qsizetype(0)));
    return result;
}

} // namespace orvane
