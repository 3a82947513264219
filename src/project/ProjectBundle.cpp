#include "ProjectBundle.h"

#include "support/Log.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QLocale>
#include <QPointer>

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace orvane {

namespace {

ProjectBundle::PreviewRenderer& previewRenderer() {
    static ProjectBundle::PreviewRenderer renderer;
    return renderer;
}

Error fileError(const QString& action, const QString& path, int errorNumber) {
    return Error::system(
        QStringLiteral("Couldn't %1 “%2”: %3")
            .arg(action, QFileInfo(path).fileName(), QString::fromLocal8Bit(std::strerror(errorNumber))));
}

tl::expected<void, Error> makePath(const QString& path) {
    if (QDir().mkpath(path))
        return {};
    // QDir does not say why; ask the file system.
    const int error = QFileInfo(path).exists() ? ENOTDIR : (errno ? errno : EACCES);
    return tl::unexpected(fileError(QStringLiteral("create the folder"), path, error));
}

// Writes all of `data` to a new file and forces it to disk before the rename publishes it.
tl::expected<void, Error> writeFileDurably(const QByteArray& data, const QString& path) {
    const QByteArray native = QFile::encodeName(path);
    const int fd = ::open(native.constData(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    if (fd < 0)
        return tl::unexpected(fileError(QStringLiteral("write"), path, errno));
    const char* p = data.constData();
    qsizetype left = data.size();
    while (left > 0) {
        const ssize_t n = ::write(fd, p, std::size_t(left));
        if (n < 0) {
            if (errno == EINTR)
                continue;
            const int error = errno;
            ::close(fd);
            ::unlink(native.constData());
            return tl::unexpected(fileError(QStringLiteral("write"), path, error));
        }
        p += n;
        left -= n;
    }
    if (::fsync(fd) != 0 || ::close(fd) != 0) {
        const int error = errno;
        ::unlink(native.constData());
        return tl::unexpected(fileError(QStringLiteral("write"), path, error));
    }
    return {};
}

void syncDirectory(const QString& directory) {
    const int fd = ::open(QFile::encodeName(directory).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd >= 0) {
        ::fsync(fd);
        ::close(fd);
    }
}

QFileInfoList jsonFiles(const QString& directory) {
    QDir dir(directory);
    QFileInfoList files;
    for (const QFileInfo& info : dir.entryInfoList(QDir::Files | QDir::NoDotAndDotDot, QDir::Name))
        if (!info.fileName().startsWith(u'.') && info.suffix() == QLatin1StringView("json"))
            files.append(info);
    return files;
}

QDateTime modificationDate(const QFileInfo& info) {
    const QDateTime date = info.lastModified();
    return date.isValid() ? date : QDateTime::fromMSecsSinceEpoch(LLONG_MIN / 2, Qt::UTC);
}

} // namespace

Error projectDecodeError(const JsonError& error) {
    if (error.path().isEmpty())
        return Error::system(error.description());
    return Error::system(
        QStringLiteral("The data couldn't be read because it isn't in the correct format (%1).")
            .arg(error.description()));
}

void ProjectBundle::setPreviewRenderer(PreviewRenderer renderer) {
    previewRenderer() = std::move(renderer);
}

ProjectBundle::ProjectBundle(QString path, Project project, Clock& clock)
    : m_path(QDir::cleanPath(std::move(path)))
    , m_project(std::move(project))
    , m_clock(clock) {}

// Dropping the bundle cancels its timer without saving; the application flushes at quit.
ProjectBundle::~ProjectBundle() = default;

tl::expected<std::shared_ptr<ProjectBundle>, Error> ProjectBundle::load(const QString& path, Clock& clock) {
    const QString json = QDir(path).filePath(QStringLiteral("project.json"));
    if (!QFileInfo(json).isFile())
        return tl::unexpected(
            Error::make(QString::fromLatin1(errorDomain), notAProjectCode,
                        QStringLiteral("This isn't a Orvane Screen project."),
                        QStringLiteral("Choose a folder ending in .orvanescreen that contains a "
                                       "project.json file.")));
    QFile file(json);
    if (!file.open(QIODevice::ReadOnly))
        return tl::unexpected(Error::system(file.errorString()));
    auto project = decodeProject(file.readAll());
    if (!project)
        return tl::unexpected(projectDecodeError(project.error()));
    if (project->schemaVersion >= 2)
        return tl::unexpected(
            Error::make(QString::fromLatin1(errorDomain), newerSchemaCode,
                        QStringLiteral("Project was created in a newer version of Orvane Screen."),
                        QStringLiteral("Update the app to the latest version and try again.")));
    return std::make_shared<ProjectBundle>(path, std::move(*project), clock);
}

void ProjectBundle::setProject(Project project) {
    Q_EMIT projectWillChange();
    m_project = std::move(project);
    Q_EMIT projectChanged();
}

tl::expected<void, Error> ProjectBundle::ensureOnDisk() {
    for (const QString& folder :
         {m_path, mediaDirectory(), thumbnailDirectory(), exportDirectory(), versionsDirectory()})
        if (auto made = makePath(folder); !made)
            return made;
    return save();
}

tl::expected<void, Error> ProjectBundle::save() {
    Q_EMIT projectWillChange();
    m_project.modifiedAt = QDateTime::fromSecsSinceEpoch(m_clock.now().toSecsSinceEpoch(), Qt::UTC);
    Q_EMIT projectChanged();

    if (auto made = makePath(m_path); !made)
        return made;
    const auto data = encodeProject(m_project);
    if (!data)
        return tl::unexpected(Error::system(data.error().description()));
    if (auto written = writeAtomically(*data, projectJSONPath()); !written)
        return written;

    // A version, the pruning and the preview are extras: their failures never fail the save.
    if (auto snapshot = writeVersionSnapshot(*data); !snapshot)
        log::warning("ProjectBundle",
                     QStringLiteral("version snapshot failed: ") + snapshot.error().description);
    (void)pruneOldVersions();
    writeBundlePreview();

    m_lastSaveAt = m_clock.now();
    m_pendingSaveDirty = false;
    return {};
}

tl::expected<void, Error> ProjectBundle::writeAtomically(const QByteArray& data, const QString& target) {
    const QString temporary = target + QStringLiteral(".new");
    if (QFileInfo::exists(temporary) && !QFile::remove(temporary))
        return tl::unexpected(fileError(QStringLiteral("remove"), temporary, errno ? errno : EACCES));
    if (auto written = writeFileDurably(data, temporary); !written)
        return written;
    // rename(2) replaces an existing target in one step.
    if (::rename(QFile::encodeName(temporary).constData(), QFile::encodeName(target).constData()) != 0) {
        const int error = errno;
        QFile::remove(temporary);
        return tl::unexpected(fileError(QStringLiteral("replace"), target, error));
    }
    syncDirectory(QFileInfo(target).absolutePath());
    return {};
}

void ProjectBundle::scheduleSave() {
    m_pendingSaveDirty = true;
    const double elapsed =
        m_lastSaveAt.isValid() ? double(m_lastSaveAt.msecsTo(m_clock.now())) / 1000.0 : 1e12;
    if (elapsed >= autosaveDebounceInterval) {
        if (auto saved = save(); !saved)
            log::warning("ProjectBundle", QStringLiteral("save failed: ") + saved.error().description);
        return;
    }
    // The due time stays where the first edit of the burst put it: later edits do not push it back.
    if (m_pendingSaveTimer)
        return;
    QPointer<ProjectBundle> weak(this);
    m_pendingSaveTimer = m_clock.startTimer(autosaveDebounceInterval - elapsed, [weak] {
        if (!weak)
            return;
        // The handle is released before saving so that a save's own scheduling starts afresh.
        auto timer = std::move(weak->m_pendingSaveTimer);
        if (auto saved = weak->save(); !saved)
            log::warning("ProjectBundle",
                         QStringLiteral("debounced save failed: ") + saved.error().description);
    });
}

tl::expected<void, Error> ProjectBundle::flushPendingSave() {
    m_pendingSaveTimer.reset();
    if (m_pendingSaveDirty)
        return save();
    return {};
}

QString ProjectBundle::mediaPath(const QString& relativePath) const {
    return QDir(m_path).filePath(relativePath);
}
QString ProjectBundle::mediaDirectory() const {
    return mediaPath(QStringLiteral("media"));
}
QString ProjectBundle::thumbnailDirectory() const {
    return mediaPath(QStringLiteral("thumbnails"));
}
QString ProjectBundle::versionsDirectory() const {
    return mediaPath(QStringLiteral("versions"));
}
QString ProjectBundle::exportDirectory() const {
    return mediaPath(QStringLiteral("exports"));
}
QString ProjectBundle::projectJSONPath() const {
    return mediaPath(QStringLiteral("project.json"));
}
QString ProjectBundle::previewImagePath() const {
    return mediaPath(QStringLiteral("preview.jpg"));
}

ClipMediaPaths ProjectBundle::newClipMediaPaths(const QUuid& id) const {
    const QString stem = QStringLiteral("media/clip-") + uuidString(id);
    ClipMediaPaths paths;
    paths.videoRelative = stem + QStringLiteral(".mov");
    paths.audioRelative = stem + QStringLiteral(".m4a");
    paths.cursorRelative = stem + QStringLiteral("-cursor.json");
    paths.eventsRelative = stem + QStringLiteral("-events.json");
    paths.cameraRelative = stem + QStringLiteral("-camera.mov");
    paths.telemetryJournalRelative = stem + QStringLiteral("-telemetry.jsonl");
    paths.videoPath = mediaPath(paths.videoRelative);
    paths.audioPath = mediaPath(paths.audioRelative);
    paths.cursorPath = mediaPath(paths.cursorRelative);
    paths.eventsPath = mediaPath(paths.eventsRelative);
    paths.cameraPath = mediaPath(paths.cameraRelative);
    paths.telemetryJournalPath = mediaPath(paths.telemetryJournalRelative);
    return paths;
}

tl::expected<void, Error> ProjectBundle::writeVersionSnapshot(const QByteArray& data) {
    if (auto made = makePath(versionsDirectory()); !made)
        return made;
    const QDateTime now = m_clock.now();
    const QString stem = QLocale::c().toString(now.toLocalTime(), QStringLiteral("yyyyMMdd-HHmmss"));
    QDir dir(versionsDirectory());
    QString name = stem + QStringLiteral(".json");
    if (dir.exists(name))
        name = stem +
               QStringLiteral("-%1.json").arg(int(now.toMSecsSinceEpoch() % 1000), 3, 10, QLatin1Char('0'));
    return writeFileDurably(data, dir.filePath(name));
}

tl::expected<void, Error> ProjectBundle::pruneOldVersions() {
    if (!QFileInfo(versionsDirectory()).isDir())
        return {};
    QFileInfoList files = jsonFiles(versionsDirectory());
    if (files.size() <= maxVersions)
        return {};
    std::stable_sort(files.begin(), files.end(), [](const QFileInfo& a, const QFileInfo& b) {
        return modificationDate(a) < modificationDate(b);
    });
    const qsizetype excess = files.size() - maxVersions;
    for (qsizetype i = 0; i < excess; ++i)
        QFile::remove(files[i].absoluteFilePath()); // one that cannot go is passed over
    return {};
}

void ProjectBundle::writeBundlePreview() {
    const auto& renderer = previewRenderer();
    if (!renderer)
        return;
    const auto jpeg = renderer(m_project, m_path);
    if (!jpeg)
        return;
    QFile file(previewImagePath());
    if (file.open(QIODevice::WriteOnly | QIODevice::Truncate))
        file.write(*jpeg);
}

std::vector<VersionSnapshot> ProjectBundle::listVersions() const {
    std::vector<VersionSnapshot> versions;
    if (!QFileInfo(versionsDirectory()).isDir())
        return versions;
    for (const QFileInfo& info : jsonFiles(versionsDirectory()))
        versions.push_back({info.absoluteFilePath(), modificationDate(info), info.completeBaseName()});
    std::stable_sort(
        versions.begin(), versions.end(),
        [](const VersionSnapshot& a, const VersionSnapshot& b) { return a.savedAt > b.savedAt; });
    return versions;
}

tl::expected<Project, Error> ProjectBundle::loadVersion(const VersionSnapshot& snapshot) const {
    QFile file(snapshot.path);
    if (!file.open(QIODevice::ReadOnly))
        return tl::unexpected(Error::system(file.errorString()));
    auto project = decodeProject(file.readAll());
    if (!project)
        return tl::unexpected(projectDecodeError(project.error()));
    return std::move(*project);
}

tl::expected<void, Error> ProjectBundle::restore(Project project) {
    setProject(std::move(project));
    return save();
}

} // namespace orvane
