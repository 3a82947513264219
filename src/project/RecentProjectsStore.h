#pragma once

#include "Json.h"
#include "ProjectBundle.h"
#include "support/UserDefaults.h"

#include <QDateTime>
#include <QObject>
#include <QSize>
#include <QString>
#include <QUuid>

#include <functional>
#include <optional>
#include <vector>

namespace orvane {

struct RecentProject {
    QUuid projectID;
    QString name;
    QString bundleURL; // absolute file URL of the bundle folder
    QDateTime lastOpened;
    std::optional<QString> thumbnailPath; // relative to the bundle folder
    double durationSeconds = 0;

    QString bundlePath() const;
    bool operator==(const RecentProject&) const = default;
};

void fromJson(const JsonIn& in, RecentProject& out);
JsonValue toJson(const RecentProject& value);

// The projects the user last had open, newest first, at most 12, kept in the user defaults outside
// every bundle. Main thread only; thumbnails are made off it and come back to it.
class RecentProjectsStore : public QObject {
    Q_OBJECT
public:
    static constexpr const char* storageKey = "tech.velvetcomet.orvane.screen.recentProjects";
    static constexpr int maxItems = 12;
    static constexpr const char* thumbnailRelativePath = "thumbnails/recent.jpg";

    // Makes a thumbnail of `source` at `atSecond`, fitting `targetSize`, written to `target` as JPEG;
    // true on success. Runs off the main thread.
    using ThumbnailGenerator =
        std::function<bool(const QString& source, double atSecond, QSize targetSize, const QString& target)>;

    explicit RecentProjectsStore(UserDefaults& defaults);
    static RecentProjectsStore& shared();

    const std::vector<RecentProject>& projects() const { return m_projects; }

    void registerBundle(const ProjectBundle& bundle);
    void remove(const QUuid& id);
    void clear();
    // Drops the entries whose folder is gone; writes only when something was dropped.
    void prune();
    std::optional<QString> thumbnailPath(const RecentProject& entry) const;
    void updateThumbnailPath(const QUuid& projectID, const QString& relativePath);

    void setThumbnailGenerator(ThumbnailGenerator generator) { m_thumbnailGenerator = std::move(generator); }

Q_SIGNALS:
    void projectsChanged();
    // A thumbnail run finished (made or not); tests and the welcome grid wait on it.
    void thumbnailGenerationFinished(const QUuid& projectID, bool made);

private:
    void setProjects(std::vector<RecentProject> projects);
    void persist();
    void scheduleThumbnailGeneration(const ProjectBundle& bundle);

    UserDefaults& m_defaults;
    std::vector<RecentProject> m_projects;
    ThumbnailGenerator m_thumbnailGenerator;
};

} // namespace orvane
