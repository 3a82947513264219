#include "EditorModel.h"

#include "AppViewModel.h"
#include "ClipMediaCache.h"
#include "Strings.h"
#include "app/AppState.h"
#include "project/ProjectBundle.h"
#include "support/UserDefaults.h"

#include <QColor>
#include <QCoro/QCoroTask>
#include <QFileInfo>

#include <array>
#include <cmath>

namespace orvane {

namespace {

// The music lane's colour, which the waveforms take.
const QColor waveformTint(0x5e, 0xc8, 0xa0);

QCoro::Task<void> importDropped(QPointer<AppState> app, QStringList videos, QStringList audios) {
    if (!videos.isEmpty() && app)
        co_await app->importVideos(videos);
    if (!audios.isEmpty() && app)
        co_await app->importAudios(audios);
}

} // namespace

EditorModel::EditorModel(QObject* parent)
    : EditorModel(AppViewModel::current()->appState(), AppViewModel::current()->defaults(), parent) {}

EditorModel::EditorModel(AppState& app, UserDefaults& defaults, QObject* parent)
    : QObject(parent)
    , m_app(app)
    , m_defaults(defaults)
    , m_editing(std::make_unique<TimelineEditing>(app, defaults))
    , m_media(std::make_unique<ClipMediaCache>()) {
    m_media->setWaveformTint(waveformTint);
    connect(m_media.get(), &ClipMediaCache::clipMediaChanged, this, [this] { refreshClips(); });
    connect(&m_app, &AppState::currentBundleChanged, this, &EditorModel::attachBundle);
    // Ctrl+E and the API's export request open the sheet, also on the empty state.
    connect(&m_app, &AppState::exportRequestNonceChanged, this, [this] { setShowingExportSheet(true); });
    connect(&m_app, &AppState::autoZoomRetryNonceChanged, this, &EditorModel::runAutoZoom);

    m_tutorialTimer.setSingleShot(true);
    m_tutorialTimer.setInterval(tutorialDelayMs);
    connect(&m_tutorialTimer, &QTimer::timeout, this, [this] {
        if (editorTutorialCompleted() || m_showTutorial)
            return;
        m_showTutorial = true;
        m_tutorialStep = 0;
        Q_EMIT tutorialChanged();
    });
    attachBundle();
}

EditorModel::~EditorModel() = default;

void EditorModel::attachBundle() {
    disconnect(m_bundleConnection);
    ProjectBundle* bundle = m_app.currentBundle().get();
    m_bundle = bundle;
    m_media->setProjectFolder(bundle ? bundle->path() : QString());
    if (bundle)
        m_bundleConnection = connect(bundle, &ProjectBundle::projectChanged, this, &EditorModel::refresh);
    // A selection from another project means nothing here; another project opens on its first clip.
    if (m_selected && !(bundle && bundle->project().timeline.clip(*m_selected))) {
        m_selected.reset();
        if (bundle && !bundle->project().timeline.clips.empty())
            m_selected = bundle->project().timeline.clips.front().id;
        Q_EMIT selectionChanged();
    }
    refresh();
}

void EditorModel::refresh() {
    const Project* project = m_bundle ? &m_bundle->project() : nullptr;
    if (m_selected && !(project && project->timeline.clip(*m_selected))) {
        m_selected.reset();
        Q_EMIT selectionChanged();
    }
    // The body appears when the first clip arrives (an import into an empty project): it opens on that
    // clip as it would on opening.
    const bool hadClips = m_clips.rowCount() > 0;
    if (!hadClips && !m_selected && project && !project->timeline.clips.empty()) {
        m_selected = project->timeline.clips.front().id;
        Q_EMIT selectionChanged();
    }
    m_tracks.refresh(*m_editing);
    refreshClips();
    requestClipMedia();
    Q_EMIT timelineChanged();
    Q_EMIT rulerChanged();
    Q_EMIT playheadChanged();
    Q_EMIT gestureChanged();
}

void EditorModel::requestClipMedia() {
    // A bar being trimmed changes width with every move; its pictures are made once the gesture ends.
    if (!m_bundle || m_editing->trimmingClipID() || m_editing->draggingClipID())
        return;
    // The bars that exist, so a zoom or a scroll over a long timeline makes pictures only for what shows.
    for (const TimelineClipModel::Row& row : m_clips.rows())
        if (const Clip* clip = m_bundle->project().timeline.clip(row.id))
            m_media->request(*clip, pixelsPerSecond());
}

std::optional<QUuid> EditorModel::parseId(const QString& id) const {
    const QUuid uuid(id);
    if (uuid.isNull())
        return std::nullopt;
    return uuid;
}

bool EditorModel::hasClips() const {
    return m_bundle && !m_bundle->project().timeline.clips.empty();
}

int EditorModel::clipCount() const {
    return m_bundle ? int(m_bundle->project().timeline.clips.size()) : 0;
}

QString EditorModel::selectedClipId() const {
    return m_selected ? m_selected->toString(QUuid::WithoutBraces) : QString();
}

void EditorModel::setSelectedClipId(const QString& id) {
    std::optional<QUuid> next = parseId(id);
    if (next && !(m_bundle && m_bundle->project().timeline.clip(*next)))
        next.reset();
    if (next == m_selected)
        return;
    m_selected = next;
    refreshClips();
    Q_EMIT selectionChanged();
}

QString EditorModel::selectedClipName() const {
    if (!m_selected || !m_bundle)
        return {};
    const Clip* clip = m_bundle->project().timeline.clip(*m_selected);
    return clip ? clip->name : QString();
}

void EditorModel::setPlayheadTime(double seconds) {
    if (!std::isfinite(seconds) || seconds == m_editing->playheadTime())
        return;
    m_editing->setPlayheadTime(std::max(seconds, 0.0));
    Q_EMIT playheadChanged();
}

void EditorModel::setIsPlaying(bool playing) {
    if (playing == m_isPlaying)
        return;
    m_isPlaying = playing;
    Q_EMIT isPlayingChanged();
}

void EditorModel::setPixelsPerSecond(double value) {
    const double before = pixelsPerSecond();
    m_editing->setPixelsPerSecond(value);
    if (pixelsPerSecond() != before)
        refresh();
}

double EditorModel::contentHeight() const {
    const std::vector<Timeline::Track> tracks = m_editing->tracks();
    return m_editing->trackY(int(tracks.size())) + TimelineEditing::trackGap / 2;
}

QVariantList EditorModel::rulerTicks() const {
    // The smallest step that leaves room for a label.
    static constexpr std::array steps{1, 2, 5, 10, 15, 30, 60, 120, 300, 600, 1800, 3600};
    constexpr double minimumSpacing = 64;
    const double pps = pixelsPerSecond();
    int step = steps.back();
    for (int candidate : steps)
        if (candidate * pps >= minimumSpacing) {
            step = candidate;
            break;
        }
    QVariantList ticks;
    // A label reaches about a step to the right of its tick; the one just left of the view still shows.
    const bool whole = m_viewportWidth <= 0;
    const double from = whole ? 0 : std::max(m_viewportX - step * pps, 0.0);
    const double to = whole ? contentWidth() : m_viewportX + m_viewportWidth;
    const int first = int(std::ceil(from / pps / step)) * step;
    const int last = int(to / pps);
    ticks.reserve(std::max((last - first) / step + 1, 0));
    for (int s = first; s <= last; s += step)
        ticks.append(QVariantMap{{QStringLiteral("x"), s * pps},
                                 {QStringLiteral("label"), TimelineEditing::formatSeconds(s)}});
    return ticks;
}

QString EditorModel::trimTooltip() const {
    const std::optional<QUuid> id = m_editing->trimmingClipID();
    if (!id || !m_bundle)
        return {};
    const Clip* clip = m_bundle->project().timeline.clip(*id);
    return clip ? QString::asprintf("%.1f", clip->timelineDuration().seconds) + QStringLiteral(" s")
                : QString();
}

bool EditorModel::canSplit() const {
    if (!m_bundle)
        return false;
    const double t = playheadTime();
    for (const Clip& clip : m_bundle->project().timeline.clips) {
        const double start = clip.timelineStart.seconds;
        if (start + 0.05 < t && t < start + clip.timelineDuration().seconds - 0.05)
            return true;
    }
    return false;
}

void EditorModel::setViewportX(double x) {
    if (x == m_viewportX)
        return;
    m_viewportX = x;
    refreshClips();
    requestClipMedia();
    Q_EMIT rulerChanged();
}

void EditorModel::setViewportWidth(double width) {
    if (width == m_viewportWidth)
        return;
    m_viewportWidth = width;
    refreshClips();
    requestClipMedia();
    Q_EMIT rulerChanged();
}

void EditorModel::refreshClips() {
    // Bars a little past either edge already exist when a scroll brings them in.
    constexpr double margin = 240;
    std::optional<TimelineClipModel::Span> visible;
    if (m_viewportWidth > 0)
        visible = TimelineClipModel::Span{m_viewportX - margin, m_viewportX + m_viewportWidth + margin};
    m_clips.refresh(m_bundle ? &m_bundle->project() : nullptr, *m_editing, m_selected, m_media.get(),
                    visible);
}

void EditorModel::setRippleEdit(bool on) {
    if (on == rippleEdit())
        return;
    m_editing->setRippleEdit(on);
    Q_EMIT rippleEditChanged();
}

void EditorModel::setIsDropTargeted(bool targeted) {
    if (targeted == m_isDropTargeted)
        return;
    m_isDropTargeted = targeted;
    Q_EMIT isDropTargetedChanged();
}

void EditorModel::setShowingExportSheet(bool showing) {
    if (showing == m_showingExportSheet)
        return;
    m_showingExportSheet = showing;
    Q_EMIT showingExportSheetChanged();
}

bool EditorModel::editorTutorialCompleted() const {
    return m_defaults.boolean(QString::fromLatin1(tutorialCompletedKey), false);
}

void EditorModel::setEditorTutorialCompleted(bool completed) {
    if (completed == editorTutorialCompleted())
        return;
    m_defaults.setValue(QString::fromLatin1(tutorialCompletedKey), completed);
    // Completing it on any path hides the overlay at once.
    if (completed) {
        m_tutorialTimer.stop();
        m_showTutorial = false;
    }
    Q_EMIT tutorialChanged();
}

void EditorModel::appear() {
    if (!m_selected && m_bundle && !m_bundle->project().timeline.clips.empty())
        setSelectedClipId(m_bundle->project().timeline.clips.front().id.toString());
    if (!editorTutorialCompleted() && !m_showTutorial)
        m_tutorialTimer.start();
}

void EditorModel::selectClip(const QString& id) {
    setSelectedClipId(id);
}

void EditorModel::clipDragChanged(const QString& id, double dx, double dy) {
    const std::optional<QUuid> clip = parseId(id);
    if (!clip)
        return;
    const bool wasDragging = m_editing->draggingClipID().has_value();
    m_editing->changeClipDrag(*clip, {dx, dy});
    if (m_editing->draggingClipID() || wasDragging) {
        refreshClips();
        if (!wasDragging)
            Q_EMIT gestureChanged();
    }
}

void EditorModel::clipDragEnded(double dx, double dy) {
    const bool wasDragging = m_editing->draggingClipID().has_value();
    m_editing->endClipDrag({dx, dy});
    if (wasDragging)
        refresh();
}

void EditorModel::trimChanged(const QString& id, bool isLeft, double dx) {
    if (const std::optional<QUuid> clip = parseId(id))
        m_editing->changeTrim(*clip, isLeft, dx);
    Q_EMIT gestureChanged();
}

void EditorModel::trimEnded() {
    const bool wasTrimming = isTrimming();
    m_editing->endTrim();
    if (wasTrimming)
        refresh();
}

void EditorModel::playheadDragChanged(double x, bool shiftPressed) {
    const bool wasDragging = isDraggingPlayhead();
    m_editing->changePlayheadDrag(x, shiftPressed);
    Q_EMIT playheadChanged();
    if (!wasDragging)
        Q_EMIT gestureChanged();
}

void EditorModel::playheadDragEnded() {
    m_editing->endPlayheadDrag();
    Q_EMIT gestureChanged();
}

void EditorModel::trackResizeChanged(int index, double dy) {
    m_editing->changeTrackResize(index, dy);
}

void EditorModel::trackResizeEnded() {
    m_editing->commitTrackResize();
}

void EditorModel::toggleTrackMuted(int index) {
    m_editing->toggleTrackMuted(index);
}

void EditorModel::toggleTrackLocked(int index) {
    m_editing->toggleTrackLocked(index);
}

void EditorModel::toggleTrackVisible(int index) {
    m_editing->toggleTrackVisible(index);
}

void EditorModel::zoomIn() {
    const double before = pixelsPerSecond();
    m_editing->zoomTimeline(1.25);
    if (pixelsPerSecond() != before)
        refresh();
}

void EditorModel::zoomOut() {
    const double before = pixelsPerSecond();
    m_editing->zoomTimeline(0.8);
    if (pixelsPerSecond() != before)
        refresh();
}

bool EditorModel::splitAtPlayhead() {
    return m_editing->splitClipAtPlayhead();
}

void EditorModel::deleteSelectedClip() {
    if (!m_selected)
        return;
    const std::optional<QUuid> next = m_editing->deleteClip(*m_selected);
    setSelectedClipId(next ? next->toString() : QString());
}

void EditorModel::setInPointAtPlayhead() {
    if (m_selected)
        m_editing->setInPointAtPlayhead(*m_selected);
}

void EditorModel::setOutPointAtPlayhead() {
    if (m_selected)
        m_editing->setOutPointAtPlayhead(*m_selected);
}

void EditorModel::runAutoZoom() {
    if (!m_bundle || !m_selected || !m_bundle->project().timeline.clip(*m_selected) || m_isAnalyzingZoom)
        return;
    m_isAnalyzingZoom = true;
    Q_EMIT autoZoomChanged();
    [](QPointer<EditorModel> self, QPointer<AppState> app, QUuid clip) -> QCoro::Task<void> {
        const tl::expected<int, Error> result = co_await app->apiGenerateAutoZoom(clip);
        if (!self)
            co_return;
        self->m_isAnalyzingZoom = false;
        self->m_lastAutoZoomMessage = result ? Strings::text(QStringLiteral("editor.autoZoom.success"),
                                                             QStringLiteral("Added %1 zoom keyframes"))
                                                   .arg(*result)
                                             : result.error().description;
        Q_EMIT self->autoZoomChanged();
    }(this, &m_app, *m_selected);
}

bool EditorModel::acceptsDrag(const QList<QUrl>& urls) const {
    for (const QUrl& url : urls)
        if (url.isLocalFile())
            return true;
    return false;
}

void EditorModel::handleDrop(const QList<QUrl>& urls) {
    setIsDropTargeted(false);
    QStringList videos;
    QStringList audios;
    int files = 0;
    for (const QUrl& url : urls) {
        if (!url.isLocalFile())
            continue;
        ++files;
        const QString path = url.toLocalFile();
        const QString extension = QFileInfo(path).suffix().toLower();
        if (AppState::supportedVideoExtensions().contains(extension))
            videos.append(path);
        else if (AppState::supportedAudioExtensions().contains(extension))
            audios.append(path);
    }
    if (!videos.isEmpty() || !audios.isEmpty()) {
        importDropped(&m_app, videos, audios);
        return;
    }
    if (files == 0)
        return;
    AppError error;
    error.title =
        Strings::text(QStringLiteral("editor.import.unsupported.title"), QStringLiteral("Unsupported file"));
    error.message =
        Strings::text(QStringLiteral("editor.import.unsupported.message"),
                      QStringLiteral("Orvane Screen can import MOV, MP4, M4V, MKV video and MP3, M4A, "
                                     "WAV, AIFF, FLAC audio."));
    error.recoveryActions.push_back({Strings::text(QStringLiteral("editor.import.unsupported.action"),
                                                   QStringLiteral("Choose a different file")),
                                     [app = QPointer<AppState>(&m_app)] {
                                         if (app)
                                             app->presentImportVideoPanel();
                                     }});
    m_app.setLastError(std::move(error));
}

void EditorModel::nextTutorialStep() {
    if (!m_showTutorial)
        return;
    if (m_tutorialStep + 1 >= tutorialSteps) {
        completeTutorial();
        return;
    }
    ++m_tutorialStep;
    Q_EMIT tutorialChanged();
}

void EditorModel::completeTutorial() {
    setEditorTutorialCompleted(true);
    if (m_showTutorial) {
        m_showTutorial = false;
        Q_EMIT tutorialChanged();
    }
}

} // namespace orvane
