#pragma once

#include "Project.h"
#include "support/Clock.h"
#include "support/Error.h"

#include <QDateTime>
#include <QObject>
#include <QString>

#include <tl/expected.hpp>

#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace orvane {

// Paths for the media of one new clip, relative to the bundle and absolute.
struct ClipMediaPaths {
    QString videoRelative, audioRelative, cursorRelative, eventsRelative, cameraRelative;
    QString videoPath, audioPath, cursorPath, eventsPath, cameraPath;
    // The telemetry as it is collected, append-only; it becomes the cursor and event files at the stop
    // and is what a recovery reads when the process died before that.
    QString telemetryJournalRelative, telemetryJournalPath;

    bool operator==(const ClipMediaPaths&) const = default;
};

// One saved state in "versions/": the file is its identity.
struct VersionSnapshot {
    QString path;
    QDateTime savedAt;
    QString rawName; // file name without ".json"

    bool operator==(const VersionSnapshot&) const = default;
};

// The live object for one project folder ("Name.orvanescreen"). It holds the one Project in memory,
// saves it atomically on a one-second throttle after every change, keeps the last 30 saves as versions
// and refreshes the folder's preview image. There is no Save step for the user.
//
// Main thread only: the project is read and changed there, the timer fires there and saves are
// synchronous. Shared by the application state and by queued exports, which keep it alive.
class ProjectBundle : public QObject {
    Q_OBJECT
public:
    static constexpr int maxVersions = 30;
    static constexpr double autosaveDebounceInterval = 1.0;
    static constexpr const char* errorDomain = "OrvaneScreen";
    static constexpr int notAProjectCode = 1;
    static constexpr int newerSchemaCode = 2;

    // The preview is drawn by the application layer, which has the painting stack; the bundle only
    // writes what it gets. Returns JPEG bytes, or none when it cannot draw.
    using PreviewRenderer =
        std::function<std::optional<QByteArray>(const Project&, const QString& bundlePath)>;
    static void setPreviewRenderer(PreviewRenderer renderer);

    // Touches no disk.
    ProjectBundle(QString path, Project project, Clock& clock = Clock::system());
    ~ProjectBundle() override;

    // Opens an existing folder: it must hold "project.json", and a schema newer than this build refuses.
    static tl::expected<std::shared_ptr<ProjectBundle>, Error> load(const QString& path,
                                                                    Clock& clock = Clock::system());

    const QString& path() const { return m_path; }
    const Project& project() const { return m_project; }
    // Replaces the project; observers hear of it before and after.
    void setProject(Project project);

    // Runs `mutate` on the project in place and schedules a save, also when `mutate` throws: what it
    // changed before throwing stays and is saved. The exception then propagates.
    template <class F>
    void update(F&& mutate) {
        struct SaveOnExit {
            ProjectBundle* bundle;
            ~SaveOnExit() {
                Q_EMIT bundle->projectChanged();
                bundle->scheduleSave();
            }
        };
        Q_EMIT projectWillChange();
        SaveOnExit guard{this};
        mutate(m_project);
    }

    // Creates the folder tree, then saves.
    tl::expected<void, Error> ensureOnDisk();
    tl::expected<void, Error> save();
    // Saves now if a save is due; otherwise does nothing.
    tl::expected<void, Error> flushPendingSave();
    // Saves at once after a quiet second; otherwise once, one second after the last save. Never fails:
    // failures are logged.
    void scheduleSave();

    QString mediaPath(const QString& relativePath) const;
    QString mediaDirectory() const;
    QString thumbnailDirectory() const;
    QString versionsDirectory() const;
    QString exportDirectory() const;
    QString projectJSONPath() const;
    QString previewImagePath() const;
    ClipMediaPaths newClipMediaPaths(const QUuid& id) const;

    // Newest first; empty when there is no readable versions folder.
    std::vector<VersionSnapshot> listVersions() const;
    tl::expected<Project, Error> loadVersion(const VersionSnapshot& snapshot) const;
    // Sets the project and saves, which makes the restored state a version of its own.
    tl::expected<void, Error> restore(Project project);

    bool pendingSaveDirty() const { return m_pendingSaveDirty; }
    const QDateTime& lastSaveAt() const { return m_lastSaveAt; }
    bool hasPendingSaveTimer() const { return m_pendingSaveTimer != nullptr; }

    // Writes `data` beside `target` as target + ".new" (a leftover one is removed first), flushes it to
    // disk and renames it over `target`, so a crash leaves either the old file or the new one.
    static tl::expected<void, Error> writeAtomically(const QByteArray& data, const QString& target);

Q_SIGNALS:
    void projectWillChange();
    void projectChanged();

private:
    tl::expected<void, Error> writeVersionSnapshot(const QByteArray& data);
    tl::expected<void, Error> pruneOldVersions();
    void writeBundlePreview();

    QString m_path;
    Project m_project;
    Clock& m_clock;
    std::unique_ptr<TimerHandle> m_pendingSaveTimer;
    bool m_pendingSaveDirty = false;
    QDateTime m_lastSaveAt; // invalid: the distant past
};

// Decoding failures of a project file as an Error whose text names the offending key.
Error projectDecodeError(const JsonError& error);

} // namespace orvane
