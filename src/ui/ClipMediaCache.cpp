#include "ClipMediaCache.h"

#include "direction/ClipThumbnailStripGenerator.h"
#include "direction/WaveformGenerator.h"

#include <QDir>
#include <QFileInfo>
#include <QUrl>

#include <algorithm>
#include <cmath>

namespace orvane {

namespace {
// Enough to keep a few bars filling at once while the preview and the window keep the other cores.
constexpr int concurrentClips = 2;
constexpr double leastBarWidth = 60;
constexpr int leastBucketCount = 64;
constexpr double leastSpeed = 0.01;
// The music track's colour until the editor sets its theme's.
const QColor defaultTint(0x4c, 0xc3, 0x8a);

// QML's images are cached by URL: a picture made again at the same path (its source changed) must come with
// another URL, so the file's date goes into it.
QString versionedUrl(const QString& path) {
    QUrl url = QUrl::fromLocalFile(path);
    url.setQuery(QStringLiteral("v=%1").arg(QFileInfo(path).lastModified().toMSecsSinceEpoch()));
    return url.toString();
}

QString absoluteIn(const QString& folder, const QString& path) {
    return path.isEmpty() ? QString() : QDir(folder).absoluteFilePath(path);
}
} // namespace

ClipMediaCache::ClipMediaCache(QObject* parent)
    : QObject(parent)
    , m_tint(defaultTint) {
    m_pool.setObjectName(QStringLiteral("clip media"));
    m_pool.setMaxThreadCount(concurrentClips);
    m_pool.setThreadPriority(QThread::LowPriority);
}

ClipMediaCache::~ClipMediaCache() {
    cancelAll();
    // The jobs post back to this object; once they are done, what they posted dies with it.
    m_pool.waitForDone();
}

void ClipMediaCache::cancelAll() {
    for (Entry& entry : m_entries)
        entry.stop.request_stop();
    m_pool.clear(); // jobs not started yet never start
}

void ClipMediaCache::setProjectFolder(const QString& folder) {
    if (folder == m_projectFolder)
        return;
    cancelAll();
    const QList<QUuid> cleared = m_entries.keys();
    // The locks go with the entries: a cancelled job keeps its own lock alive and a later project's clip
    // never shares a folder with it.
    m_entries.clear();
    m_projectFolder = folder;
    for (const QUuid& id : cleared)
        Q_EMIT clipMediaChanged(id);
}

void ClipMediaCache::setWaveformTint(const QColor& tint) {
    m_tint = tint;
}

void ClipMediaCache::request(const Clip& clip, double pixelsPerSecond) {
    if (m_projectFolder.isEmpty() || clip.id.isNull())
        return;
    const double speed = std::max(clip.speed, leastSpeed);
    double width = pixelsPerSecond * (clip.sourceOut.seconds - clip.sourceIn.seconds) / speed;
    if (!std::isfinite(width) || width < leastBarWidth)
        width = leastBarWidth;

    Work work;
    work.movie = absoluteIn(m_projectFolder, clip.sourceVideoPath);
    work.sound = absoluteIn(m_projectFolder, clip.sourceAudioPath.value_or(QString()));
    if (work.sound.isEmpty())
        work.sound = work.movie;
    // A stat each: cheap enough for the main thread, and it tells a re-recorded source.
    work.movieDate = work.movie.isEmpty() ? QDateTime() : QFileInfo(work.movie).lastModified();
    work.soundDate = work.sound.isEmpty() ? QDateTime() : QFileInfo(work.sound).lastModified();
    work.frameCount = work.movie.isEmpty() ? 0 : ClipThumbnailStripGenerator::recommendedFrameCount(width);
    work.bucketCount = std::max(int(2 * width), leastBucketCount);

    Entry& entry = m_entries[clip.id];
    if (entry.generation != 0 && entry.work == work)
        return;
    entry.stop.request_stop();
    entry.stop = std::stop_source();
    entry.work = work;
    entry.generation = m_nextGeneration++;
    const QString name = clip.id.toString(QUuid::WithoutBraces).toUpper();
    const QDir thumbnails(QDir(m_projectFolder).filePath(QStringLiteral("thumbnails")));
    start(clip.id, entry, thumbnails.filePath(QStringLiteral("clip-%1-strip").arg(name)),
          thumbnails.filePath(QStringLiteral("clip-%1-wave.png").arg(name)));
}

void ClipMediaCache::start(const QUuid& clipID, Entry& entry, const QString& stripFolder,
                           const QString& wavePath) {
    entry.running = true;
    const std::uint64_t generation = entry.generation;
    const Work work = entry.work;
    const std::stop_token stop = entry.stop.get_token();
    const std::shared_ptr<std::mutex> filesLock = entry.filesLock;
    const QColor tint = m_tint;
    m_pool.start([this, clipID, generation, work, stop, filesLock, tint, stripFolder, wavePath] {
        const auto post = [this](auto call) {
            QMetaObject::invokeMethod(this, call, Qt::QueuedConnection);
        };
        {
            const std::scoped_lock files(*filesLock);
            if (!work.movie.isEmpty() && !stop.stop_requested()) {
                const QStringList frames = ClipThumbnailStripGenerator::generate(
                    work.movie, stripFolder, work.frameCount, stop, [&](int index, const QString& path) {
                        post([=, this] { frameArrived(clipID, generation, index, path); });
                    });
                if (!stop.stop_requested())
                    post([=, this] { stripFinished(clipID, generation, frames); });
            }
            if (!work.sound.isEmpty() && !stop.stop_requested()) {
                const auto wave =
                    WaveformGenerator::generate(work.sound, wavePath, work.bucketCount, tint, stop);
                if (wave)
                    post([=, this] { waveformArrived(clipID, generation, *wave); });
            }
        }
        post([=, this] { jobFinished(clipID, generation); });
    });
}

void ClipMediaCache::frameArrived(const QUuid& clipID, std::uint64_t generation, int index,
                                  const QString& path) {
    const auto it = m_entries.find(clipID);
    if (it == m_entries.end() || it->generation != generation)
        return;
    if (it->framesGeneration != generation) {
        // The first frame of a strip made anew: the old strip's files are gone from the disk.
        it->frames.clear();
        it->framesGeneration = generation;
    }
    it->frames.insert(index, versionedUrl(path));
    Q_EMIT clipMediaChanged(clipID);
}

void ClipMediaCache::stripFinished(const QUuid& clipID, std::uint64_t generation, const QStringList& paths) {
    const auto it = m_entries.find(clipID);
    if (it == m_entries.end() || it->generation != generation)
        return;
    QMap<int, QString> frames;
    for (const QString& path : paths) {
        // "frame-07.jpg" is number 7: a time that gave no frame leaves its number free.
        const int index = QFileInfo(path).completeBaseName().mid(6).toInt();
        frames.insert(index, versionedUrl(path));
    }
    it->framesGeneration = generation;
    if (frames == it->frames)
        return;
    it->frames = frames;
    Q_EMIT clipMediaChanged(clipID);
}

void ClipMediaCache::waveformArrived(const QUuid& clipID, std::uint64_t generation, const QString& path) {
    const auto it = m_entries.find(clipID);
    if (it == m_entries.end() || it->generation != generation)
        return;
    it->waveform = versionedUrl(path);
    Q_EMIT clipMediaChanged(clipID);
}

void ClipMediaCache::jobFinished(const QUuid& clipID, std::uint64_t generation) {
    const auto it = m_entries.find(clipID);
    if (it != m_entries.end() && it->generation == generation)
        it->running = false;
}

QStringList ClipMediaCache::stripFrames(const QUuid& clipID) const {
    const auto it = m_entries.constFind(clipID);
    return it == m_entries.cend() ? QStringList() : QStringList(it->frames.values());
}

QString ClipMediaCache::waveform(const QUuid& clipID) const {
    const auto it = m_entries.constFind(clipID);
    return it == m_entries.cend() ? QString() : it->waveform;
}

int ClipMediaCache::pendingCount() const {
    return int(std::count_if(m_entries.cbegin(), m_entries.cend(), [](const Entry& e) { return e.running; }));
}

} // namespace orvane
