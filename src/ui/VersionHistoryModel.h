#pragma once

#include "VersionPreviewRenderer.h"
#include "project/ProjectBundle.h"
#include "support/SerialExecutor.h"

#include <QImage>
#include <QObject>
#include <QStringList>
#include <QVariantList>
#include <QtQml/qqmlregistration.h>

#include <atomic>
#include <memory>
#include <optional>
#include <vector>

namespace orvane {

class AppState;

// The version history sheet's state: the saved versions of the open project, newest first, the one
// picked, that version decoded (or why it could not be) with a composed still of it, and the restore,
// which replaces the open project as one undoable edit. It reads and restores; it never deletes a version.
//
// Decoding and drawing a version run on the "version-preview" executor and come back queued to the main
// thread; a later pick supersedes an earlier one, whose results are dropped, and whose drawing is skipped
// when it has not begun. Everything public is for the main thread.
class VersionHistoryModel : public QObject {
    Q_OBJECT
    QML_ELEMENT

    Q_PROPERTY(int maxVersions READ maxVersions CONSTANT FINAL)
    // Each: {path, rawName, date, relative}.
    Q_PROPERTY(QVariantList snapshots READ snapshots NOTIFY snapshotsChanged FINAL)
    Q_PROPERTY(int count READ count NOTIFY snapshotsChanged FINAL)
    Q_PROPERTY(QString countText READ countText NOTIFY snapshotsChanged FINAL)
    // The picked version's file, its identity; "" for none.
    Q_PROPERTY(QString selection READ selection WRITE setSelection NOTIFY selectionChanged FINAL)
    Q_PROPERTY(int selectedIndex READ selectedIndex WRITE setSelectedIndex NOTIFY selectionChanged FINAL)
    Q_PROPERTY(bool isLoading READ isLoading NOTIFY previewChanged FINAL)
    Q_PROPERTY(bool hasPreviewProject READ hasPreviewProject NOTIFY previewChanged FINAL)
    Q_PROPERTY(QString previewName READ previewName NOTIFY previewChanged FINAL)
    Q_PROPERTY(QString previewNotes READ previewNotes NOTIFY previewChanged FINAL)
    Q_PROPERTY(QStringList diffSummary READ diffSummary NOTIFY previewChanged FINAL)
    Q_PROPERTY(QString previewError READ previewError NOTIFY previewChanged FINAL)
    Q_PROPERTY(bool hasPreviewError READ hasPreviewError NOTIFY previewChanged FINAL)
    Q_PROPERTY(bool hasPreviewImage READ hasPreviewImage NOTIFY previewImageChanged FINAL)

public:
    // The still is drawn no larger than this; the detail pane shows it smaller.
    static constexpr int previewWidth = 960;
    static constexpr int previewHeight = 540;

    // Made by the views: finds the application through AppViewModel::current().
    explicit VersionHistoryModel(QObject* parent = nullptr);
    explicit VersionHistoryModel(AppState& app, QObject* parent = nullptr);
    ~VersionHistoryModel() override;

    static int maxVersions() { return ProjectBundle::maxVersions; }
    const std::vector<VersionSnapshot>& snapshotList() const { return m_snapshots; }
    QVariantList snapshots() const;
    int count() const { return int(m_snapshots.size()); }
    QString countText() const;
    QString selection() const { return m_selection.value_or(QString()); }
    void setSelection(const QString& path);
    int selectedIndex() const;
    void setSelectedIndex(int index);
    bool isLoading() const { return m_isLoading; }
    const std::optional<Project>& previewProject() const { return m_previewProject; }
    bool hasPreviewProject() const { return m_previewProject.has_value(); }
    QString previewName() const { return m_previewProject ? m_previewProject->name : QString(); }
    QString previewNotes() const { return m_previewProject ? m_previewProject->notes : QString(); }
    QStringList diffSummary() const;
    QString previewError() const { return m_previewError.value_or(QString()); }
    bool hasPreviewError() const { return m_previewError.has_value(); }
    const QImage& previewImage() const { return m_previewImage; }
    bool hasPreviewImage() const { return !m_previewImage.isNull(); }

    // The counts the detail pane shows for a version: clips, zoom keyframes and captions over all clips.
    static QStringList diffSummary(const Project& project);
    // The name of the undo step a restore of a version saved at `savedAt` makes.
    static QString restoreActionName(const QDateTime& savedAt);

    // Lists the open project's versions again and picks the newest; with no project, none.
    Q_INVOKABLE void reload();
    // Replaces the open project with the picked version as one undo step. False, with the reason in
    // previewError when there is one, if nothing was restored; the sheet then stays.
    Q_INVOKABLE bool restoreSelected();

Q_SIGNALS:
    void snapshotsChanged();
    void selectionChanged();
    void previewChanged();
    void previewImageChanged();

private:
    const VersionSnapshot* selectedSnapshot() const;
    void updatePreview();
    void previewDecoded(quint64 generation, const tl::expected<Project, Error>& decoded);
    void previewRendered(quint64 generation, const QImage& image);

    AppState& m_app;
    std::vector<VersionSnapshot> m_snapshots;
    std::optional<QString> m_selection;
    std::optional<Project> m_previewProject;
    std::optional<QString> m_previewError;
    QImage m_previewImage;
    bool m_isLoading = false;
    // The pick whose results are wanted: written on the main thread, read by the executor to skip work
    // that a later pick made pointless.
    quint64 m_generation = 0;
    std::atomic<quint64> m_wantedGeneration{0};
    // Used on the executor's thread only.
    std::unique_ptr<VersionPreviewRenderer> m_renderer;
    // Last, so that it goes first: its destructor waits for the running job, which reads the members above.
    SerialExecutor m_executor{QStringLiteral("version-preview")};
};

} // namespace orvane
