#include "VersionHistoryModel.h"

#include "AppViewModel.h"
#include "DateTexts.h"
#include "Strings.h"
#include "app/AppState.h"

#include <QVariantMap>

namespace orvane {

namespace {

QString counted(qsizetype n, const QString& key, const char* one, const char* many) {
    return n == 1 ? Strings::text(key + QStringLiteral(".one"), QLatin1String(one)).arg(n)
                  : Strings::text(key + QStringLiteral(".other"), QLatin1String(many)).arg(n);
}

} // namespace

VersionHistoryModel::VersionHistoryModel(QObject* parent)
    : VersionHistoryModel(AppViewModel::current()->appState(), parent) {}

VersionHistoryModel::VersionHistoryModel(AppState& app, QObject* parent)
    : QObject(parent)
    , m_app(app)
    , m_renderer(std::make_unique<VersionPreviewRenderer>(QSize(previewWidth, previewHeight))) {}

VersionHistoryModel::~VersionHistoryModel() = default;

QVariantList VersionHistoryModel::snapshots() const {
    const QDateTime now = QDateTime::currentDateTime();
    QVariantList rows;
    rows.reserve(qsizetype(m_snapshots.size()));
    for (const VersionSnapshot& snapshot : m_snapshots)
        rows.append(QVariantMap{{QStringLiteral("path"), snapshot.path},
                                {QStringLiteral("rawName"), snapshot.rawName},
                                {QStringLiteral("date"), dateTexts::mediumDateTime(snapshot.savedAt)},
                                {QStringLiteral("relative"), dateTexts::relative(snapshot.savedAt, now)}});
    return rows;
}

QString VersionHistoryModel::countText() const {
    return counted(count(), QStringLiteral("versionHistory.count"), "%1 version", "%1 versions");
}

QStringList VersionHistoryModel::diffSummary() const {
    return m_previewProject ? diffSummary(*m_previewProject) : QStringList();
}

QStringList VersionHistoryModel::diffSummary(const Project& project) {
    qsizetype keyframes = 0;
    qsizetype captions = 0;
    for (const Clip& clip : project.timeline.clips) {
        keyframes += qsizetype(clip.zoomTrack.count());
        if (clip.captions)
            captions += qsizetype(clip.captions->captions.size());
    }
    return {counted(qsizetype(project.timeline.clips.size()), QStringLiteral("versionHistory.clips"),
                    "%1 clip", "%1 clips"),
            counted(keyframes, QStringLiteral("versionHistory.zoomKeyframes"), "%1 zoom keyframe",
                    "%1 zoom keyframes"),
            counted(captions, QStringLiteral("versionHistory.captions"), "%1 caption", "%1 captions")};
}

QString VersionHistoryModel::restoreActionName(const QDateTime& savedAt) {
    return QStringLiteral("Restore Version from ") + dateTexts::mediumDateTime(savedAt);
}

const VersionSnapshot* VersionHistoryModel::selectedSnapshot() const {
    if (!m_selection)
        return nullptr;
    for (const VersionSnapshot& snapshot : m_snapshots)
        if (snapshot.path == *m_selection)
            return &snapshot;
    return nullptr;
}

int VersionHistoryModel::selectedIndex() const {
    const VersionSnapshot* snapshot = selectedSnapshot();
    return snapshot ? int(snapshot - m_snapshots.data()) : -1;
}

void VersionHistoryModel::setSelectedIndex(int index) {
    if (index >= 0 && index < count())
        setSelection(m_snapshots[std::size_t(index)].path);
    else
        setSelection(QString());
}

void VersionHistoryModel::setSelection(const QString& path) {
    std::optional<QString> wanted;
    if (!path.isEmpty())
        wanted = path;
    if (wanted == m_selection)
        return;
    m_selection = std::move(wanted);
    Q_EMIT selectionChanged();
    updatePreview();
}

void VersionHistoryModel::reload() {
    const std::shared_ptr<ProjectBundle>& bundle = m_app.currentBundle();
    m_snapshots = bundle ? bundle->listVersions() : std::vector<VersionSnapshot>();
    Q_EMIT snapshotsChanged();
    std::optional<QString> newest;
    if (!m_snapshots.empty())
        newest = m_snapshots.front().path;
    if (newest != m_selection) {
        m_selection = std::move(newest);
        Q_EMIT selectionChanged();
    }
    // Always: the file behind an unchanged selection may hold another save by now.
    updatePreview();
}

void VersionHistoryModel::updatePreview() {
    const quint64 generation = ++m_generation;
    m_wantedGeneration.store(generation);
    const bool hadImage = hasPreviewImage();
    m_previewProject.reset();
    m_previewError.reset();
    m_previewImage = QImage();

    const VersionSnapshot* snapshot = selectedSnapshot();
    const std::shared_ptr<ProjectBundle>& bundle = m_app.currentBundle();
    m_isLoading = snapshot && bundle;
    Q_EMIT previewChanged();
    if (hadImage)
        Q_EMIT previewImageChanged();
    if (!m_isLoading)
        return;

    m_executor.post([this, generation, snapshot = *snapshot, folder = bundle->path()] {
        if (m_wantedGeneration.load() != generation)
            return;
        // The open bundle is the main thread's; a reader of the same folder made here decodes the version
        // exactly as the bundle would.
        const ProjectBundle reader(folder, Project{});
        const tl::expected<Project, Error> decoded = reader.loadVersion(snapshot);
        QMetaObject::invokeMethod(
            this, [this, generation, decoded] { previewDecoded(generation, decoded); }, Qt::QueuedConnection);
        if (!decoded || m_wantedGeneration.load() != generation)
            return;
        const QImage image = m_renderer->render(*decoded, folder);
        QMetaObject::invokeMethod(
            this, [this, generation, image] { previewRendered(generation, image); }, Qt::QueuedConnection);
    });
}

void VersionHistoryModel::previewDecoded(quint64 generation, const tl::expected<Project, Error>& decoded) {
    if (generation != m_generation)
        return;
    m_isLoading = false;
    if (decoded)
        m_previewProject = *decoded;
    else
        m_previewError = decoded.error().description;
    Q_EMIT previewChanged();
}

void VersionHistoryModel::previewRendered(quint64 generation, const QImage& image) {
    if (generation != m_generation || image.isNull())
        return;
    m_previewImage = image;
    Q_EMIT previewImageChanged();
}

bool VersionHistoryModel::restoreSelected() {
    const VersionSnapshot* snapshot = selectedSnapshot();
    if (!m_app.currentBundle() || !snapshot || !m_previewProject)
        return false;
    const Project restored = *m_previewProject;
    const auto edited = m_app.performEdit(restoreActionName(snapshot->savedAt),
                                          [&restored](Project& project) { project = restored; });
    if (!edited) {
        m_previewError = edited.error().description;
        Q_EMIT previewChanged();
        return false;
    }
    return true;
}

} // namespace orvane
