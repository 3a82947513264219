#include "RecentProjectsStore.h"

#include "support/MainThread.h"

#include <QDir>
#include <QFileInfo>
#include <QPointer>
#include <QThreadPool>
#include <QUrl>

#include <algorithm>

namespace orvane {

QString RecentProject::bundlePath() const {
    return QUrl(bundleURL).toLocalFile();
}

void fromJson(const JsonIn& in, RecentProject& out) {
    const JsonObjectIn o(in);
    out.projectID = o.required<QUuid>("projectID");
    out.name = o.required<QString>("name");
    out.bundleURL = o.required<QString>("bundleURL");
    out.lastOpened = o.required<QDateTime>("lastOpened");
    out.thumbnailPath = o.optional<QString>("thumbnailPath");
    out.durationSeconds = o.required<double>("durationSeconds");
}

JsonValue toJson(const RecentProject& r) {
    JsonObjectOut o;
    o.set("projectID", r.projectID)
        .set("name", r.name)
        .set("bundleURL", r.bundleURL)
        .set("lastOpened", r.lastOpened)
        .set("thumbnailPath", r.thumbnailPath)
        .set("durationSeconds", r.durationSeconds);
    return o.take();
}

RecentProjectsStore::RecentProjectsStore(UserDefaults& defaults)
    : m_defaults(defaults) {
    // A missing or unreadable store is simply an empty list.
    const QByteArray data = m_defaults.data(QString::fromLatin1(storageKey));
    if (data.isEmpty())
        return;
    try {
        const JsonPath root;
        m_projects = decodeJson<std::vector<RecentProject>>(JsonIn(readJsonDocument(data), root));
    } catch (const JsonError&) {
        m_projects.clear();
    }
}

RecentProjectsStore& RecentProjectsStore::shared() {
    static RecentProjectsStore store(UserDefaults::standard());
    return store;
}

void RecentProjectsStore::registerBundle(const ProjectBundle& bundle) {
    const Project& project = bundle.project();
    RecentProject entry{project.id,
                        project.name,
                        QUrl::fromLocalFile(QDir(bundle.path()).absolutePath()).toString(),
                        QDateTime::fromSecsSinceEpoch(QDateTime::currentSecsSinceEpoch(), Qt::UTC),
                        std::nullopt,
                        project.timeline.duration().seconds};
    std::vector<RecentProject> projects = m_projects;
    std::erase_if(projects, [&](const RecentProject& r) { return r.projectID == entry.projectID; });
    projects.insert(projects.begin(), std::move(entry));
    if (projects.size() > std::size_t(maxItems))
        projects.resize(std::size_t(maxItems));
    setProjects(std::move(projects));
    persist();
    scheduleThumbnailGeneration(bundle);
}

void RecentProjectsStore::remove(const QUuid& id) {
    std::vector<RecentProject> projects = m_projects;
    std::erase_if(projects, [&](const RecentProject& r) { return r.projectID == id; });
    setProjects(std::move(projects));
    persist();
}

void RecentProjectsStore::clear() {
    setProjects({});
    persist();
}

void RecentProjectsStore::prune() {
    std::vector<RecentProject> kept;
    for (const RecentProject& r : m_projects)
        if (QFileInfo::exists(r.bundlePath()))
            kept.push_back(r);
    if (kept.size() == m_projects.size())
        return;
    setProjects(std::move(kept));
    persist();
}

std::optional<QString> RecentProjectsStore::thumbnailPath(const RecentProject& entry) const {
    if (!entry.thumbnailPath)
        return std::nullopt;
    const QString path = QDir(entry.bundlePath()).filePath(*entry.thumbnailPath);
    if (!QFileInfo::exists(path))
        return std::nullopt;
    return path;
}

void RecentProjectsStore::updateThumbnailPath(const QUuid& projectID, const QString& relativePath) {
    auto it = std::find_if(m_projects.begin(), m_projects.end(),
                           [&](const RecentProject& r) { return r.projectID == projectID; });
    if (it == m_projects.end())
        return;
    std::vector<RecentProject> projects = m_projects;
    projects[std::size_t(it - m_projects.begin())].thumbnailPath = relativePath;
    setProjects(std::move(projects));
    persist();
}

void RecentProjectsStore::setProjects(std::vector<RecentProject> projects) {
    if (projects == m_projects)
        return;
    m_projects = std::move(projects);
    Q_EMIT projectsChanged();
}

void RecentProjectsStore::persist() {
    try {
        m_defaults.setValue(QString::fromLatin1(storageKey), writeCompactJson(toJson(m_projects)));
    } catch (const JsonError&) {
        // Nothing is stored when the list cannot be encoded.
    }
}

void RecentProjectsStore::scheduleThumbnailGeneration(const ProjectBundle& bundle) {
    const Project& project = bundle.project();
    if (project.timeline.clips.empty() || !m_thumbnailGenerator)
        return;
    const QString source = bundle.mediaPath(project.timeline.clips.front().sourceVideoPath);
    const QString target = bundle.mediaPath(QString::fromLatin1(thumbnailRelativePath));
    const QUuid id = project.id;
    QPointer<RecentProjectsStore> weak(this);
    QThreadPool::globalInstance()->start(
        [weak, generator = m_thumbnailGenerator, source, target, id] {
            const bool made = generator(source, 1.0, QSize(320, 180), target);
            runOnMainThread([weak, made, id] {
                if (!weak)
                    return;
                if (made)
                    weak->updateThumbnailPath(id, QString::fromLatin1(thumbnailRelativePath));
                Q_EMIT weak->thumbnailGenerationFinished(id, made);
            });
        },
        QThread::LowPriority);
}

} // namespace orvane
