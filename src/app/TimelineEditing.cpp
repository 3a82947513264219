#include "app/TimelineEditing.h"

#include "app/AppState.h"
#include "support/UserDefaults.h"

#include <QCoreApplication>

#include <algorithm>
#include <cmath>

namespace orvane {

namespace {

// A snap found within the full search window is only taken when the edge is already this close: a
// clip dragged past a boundary should not jump back to it from the far side of the window.
constexpr double moveSnapReach = 0.1;
// Less than this of an edge is not worth a split: the piece left over would be a sliver.
constexpr double splitEdgeMargin = 0.05;
// The shortest source span a trim leaves, so that a clip never collapses to nothing.
constexpr double minimumSourceSpan = 0.1;
// Ends closer than this count as unchanged, so rounding in the preview never ripples the timeline.
constexpr double rippleEpsilon = 0.001;
constexpr double moveTrackThreshold = 30;
constexpr double fallbackHalfRow = 32;

QString text(const char* source, const char* key = nullptr) {
    return QCoreApplication::translate("TimelineEditing", source, key);
}

} // namespace

TimelineEditing::TimelineEditing(AppState& app, UserDefaults& defaults)
    : m_app(app)
    , m_defaults(defaults) {}

// ---- geometry ---------------------------------------------------------------------------------------

void TimelineEditing::setPixelsPerSecond(double value) {
    m_pixelsPerSecond = std::clamp(value, minPixelsPerSecond, maxPixelsPerSecond);
}

void TimelineEditing::zoomTimeline(double factor) {
    setPixelsPerSecond(m_pixelsPerSecond * factor);
}

std::vector<Timeline::Track> TimelineEditing::tracks() const {
    const auto& bundle = m_app.currentBundle();
    if (!bundle || bundle->project().timeline.tracks.empty())
        return Timeline::defaultTracks();
    return bundle->project().timeline.tracks;
}

double TimelineEditing::contentWidth() const {
    const auto& bundle = m_app.currentBundle();
    const double duration = bundle ? bundle->project().timeline.duration().seconds : 0.0;
    return std::max(std::max(duration, 10.0) * m_pixelsPerSecond + 40, 800.0);
}

double TimelineEditing::trackY(int index) const {
    const auto all = tracks();
    double y = trackGap / 2;
    for (int i = 0; i < std::min(index, int(all.size())); ++i)
        y += all[std::size_t(i)].height + trackGap;
    return y;
}

int TimelineEditing::trackIndexAtY(double y) const {
    const auto all = tracks();
    double top = trackGap / 2;
    for (std::size_t i = 0; i < all.size(); ++i) {
        if (y >= top && y < top + all[i].height)
            return int(i);
        top += all[i].height + trackGap;
    }
    return std::max(int(all.size()) - 1, 0);
}

double TimelineEditing::clipX(const Clip& clip) const {
    return clip.timelineStart.seconds * m_pixelsPerSecond;
}

double TimelineEditing::clipWidth(const Clip& clip) const {
    return clip.timelineDuration().seconds * m_pixelsPerSecond;
}

double TimelineEditing::computeDragY(const Clip& clip) const {
    const double offset = m_draggingClipID == clip.id ? m_dragOffset.y() : 0.0;
    return trackY(clip.trackIndex) + offset;
}

QString TimelineEditing::formatSeconds(double seconds) {
    const int whole = std::isfinite(seconds) ? int(std::max(seconds, 0.0)) : 0;
    return QString::asprintf("%d:%02d", whole / 60, whole % 60);
}

std::optional<double>
TimelineEditing::snappedToClipBoundary(double time, const std::optional<QUuid>& excludingClipID) const {
    const auto& bundle = m_app.currentBundle();
    if (!bundle)
        return std::nullopt;
    std::optional<double> best;
    double bestDistance = snapToleranceSeconds;
    for (const Clip& clip : bundle->project().timeline.clips) {
        if (clip.id == excludingClipID)
            continue;
        for (const double candidate : {clip.timelineStart.seconds, clip.timelineEnd().seconds}) {
            const double distance = std::abs(candidate - time);
            if (distance < bestDistance) {
                bestDistance = distance;
                best = candidate;
            }
        }
    }
    return best;
}

// ---- the playhead -----------------------------------------------------------------------------------

void TimelineEditing::scrubPlayhead(double x, bool shiftPressed) {
    double t = x / m_pixelsPerSecond;
    if (const auto& bundle = m_app.currentBundle())
        t = std::min(t, bundle->project().timeline.duration().seconds);
    t = std::max(t, 0.0);
    if (shiftPressed)
        t = snappedToClipBoundary(t).value_or(t);
    m_playheadTime = t;
}

void TimelineEditing::changePlayheadDrag(double x, bool shiftPressed) {
    m_isDraggingPlayhead = true;
    scrubPlayhead(x, shiftPressed);
}

void TimelineEditing::endPlayheadDrag() {
    m_isDraggingPlayhead = false;
}

// ---- moving a clip ----------------------------------------------------------------------------------

void TimelineEditing::changeClipDrag(const QUuid& clipID, QPointF translation) {
    if (!m_draggingClipID) {
        const auto& bundle = m_app.currentBundle();
        if (!bundle || std::hypot(translation.x(), translation.y()) < moveMinimumDistance)
            return;
        const Clip* clip = bundle->project().timeline.clip(clipID);
        if (!clip)
            return;
        m_draggingClipID = clipID;
        m_dragProjectSnapshot = bundle->project();
        m_dragOriginalTrackIndex = clip->trackIndex;
    }
    m_dragOffset = translation;
}

void TimelineEditing::endClipDrag(QPointF translation) {
    if (!m_draggingClipID)
        return;
    commitClipDrag(*m_draggingClipID, translation);
    m_draggingClipID.reset();
    m_dragOffset = {};
    m_dragProjectSnapshot.reset();
    m_dragOriginalTrackIndex = 0;
}

void TimelineEditing::commitClipDrag(const QUuid& clipID, QPointF translation) {
    const auto& bundle = m_app.currentBundle();
    const Clip* found = bundle ? bundle->project().timeline.clip(clipID) : nullptr;
    if (!found)
        return;
    const Clip clip = *found;
    const double duration = clip.timelineDuration().seconds;

    double start = std::max(clip.timelineStart.seconds + translation.x() / m_pixelsPerSecond, 0.0);
    if (const auto snap = snappedToClipBoundary(start, clipID);
        snap && std::abs(*snap - start) <= moveSnapReach)
        start = *snap;
    const double end = start + duration;
    // Checked after the start so that the end edge wins when both are near a boundary.
    if (const auto snap = snappedToClipBoundary(end, clipID); snap && std::abs(*snap - end) <= moveSnapReach)
        start = std::max(*snap - duration, 0.0);

    int track = clip.trackIndex;
    if (std::abs(translation.y()) > moveTrackThreshold) {
        const auto all = tracks();
        const int row = std::clamp(clip.trackIndex, 0, int(all.size()) - 1);
        const double halfHeight = row >= 0 ? all[std::size_t(row)].height / 2 : fallbackHalfRow;
        track = trackIndexAtY(trackY(row) + halfHeight + translation.y());
    }

    start = std::max(start, 0.0);
    if (start == clip.timelineStart.seconds && track == clip.trackIndex)
        return; // dropped where it was: not worth an undo step
    (void)m_app.performEdit(text("Move Clip"), [&](Project& p) {
        const Clip* current = p.timeline.clip(clipID);
        if (!current)
            return;
        Clip moved = *current;
        moved.timelineStart = ProjectTime(start);
        moved.trackIndex = track;
        p.timeline.update(moved);
    });
}

// ---- trimming ---------------------------------------------------------------------------------------

void TimelineEditing::changeTrim(const QUuid& clipID, bool isLeft, double translationX) {
    if (!m_trimmingClipID) {
        const auto& bundle = m_app.currentBundle();
        if (!bundle || std::abs(translationX) < trimMinimumDistance ||
            !bundle->project().timeline.clip(clipID))
            return;
        m_trimmingClipID = clipID;
        m_trimmingLeftEdge = isLeft;
        m_trimProjectSnapshot = bundle->project();
    }
    m_trimOffsetX = translationX;
    applyTrimPreview(*m_trimmingClipID, m_trimmingLeftEdge, translationX / m_pixelsPerSecond);
}

void TimelineEditing::endTrim() {
    if (!m_trimmingClipID)
        return;
    commitTrim(*m_trimmingClipID, m_trimmingLeftEdge);
    m_trimmingClipID.reset();
    m_trimmingLeftEdge = false;
    m_trimOffsetX = 0;
    m_trimProjectSnapshot.reset();
}

void TimelineEditing::applyTrimPreview(const QUuid& clipID, bool isLeft, double deltaSeconds) {
    const auto& bundle = m_app.currentBundle();
    if (!bundle)
        return;
    // Every preview starts again from the clip as the gesture found it, so the deltas never add up.
    const Project& base = m_trimProjectSnapshot ? *m_trimProjectSnapshot : bundle->project();
    const Clip* original = base.timeline.clip(clipID);
    if (!original)
        return;
    Clip trimmed = *original;
    const double delta = original->speed * deltaSeconds;
    const double in = original->sourceIn.seconds;
    const double out = original->sourceOut.seconds;
    if (isLeft) {
        const double newIn = std::min(std::max(in + delta, 0.0), out - minimumSourceSpan);
        const double speed = original->speed > 0 ? original->speed : 1.0;
        trimmed.sourceIn = ProjectTime(newIn);
        trimmed.timelineStart = ProjectTime(original->timelineStart.seconds + (newIn - in) / speed);
    } else {
        // Not limited by the media's length: the source may run on past what was recorded.
        trimmed.sourceOut = ProjectTime(std::max(out + delta, in + minimumSourceSpan));
    }
    bundle->update([&](Project& p) { p.timeline.update(trimmed); });
}

void TimelineEditing::commitTrim(const QUuid& clipID, bool isLeft) {
    const auto& bundle = m_app.currentBundle();
    if (!bundle || !m_trimProjectSnapshot)
        return;
    const QString name = isLeft ? text("Trim Clip Start") : text("Trim Clip End");
    const Clip* before = m_trimProjectSnapshot->timeline.clip(clipID);
    const Clip* after = bundle->project().timeline.clip(clipID);
    if (rippleEdit() && before && after) {
        const double oldEnd = before->timelineEnd().seconds;
        const double shift = after->timelineEnd().seconds - oldEnd;
        if (std::abs(shift) > rippleEpsilon) {
            bundle->update([&](Project& p) {
                for (Clip& clip : p.timeline.clips)
                    if (clip.id != clipID && clip.timelineStart.seconds >= oldEnd - rippleEpsilon)
                        clip.timelineStart = ProjectTime(std::max(clip.timelineStart.seconds + shift, 0.0));
            });
        }
    }
    m_app.commitEdit(name, *m_trimProjectSnapshot);
}

// ---- split, delete, in and out points ---------------------------------------------------------------

bool TimelineEditing::splitClipAtPlayhead() {
    const auto& bundle = m_app.currentBundle();
    if (!bundle)
        return false;
    const double t = m_playheadTime;
    const auto& clips = bundle->project().timeline.clips;
    const auto target = std::find_if(clips.begin(), clips.end(), [t](const Clip& c) {
        return c.timelineStart.seconds + splitEdgeMargin < t && t < c.timelineEnd().seconds - splitEdgeMargin;
    });
    if (target == clips.end())
        return false;
    const QUuid id = target->id;
    const auto result = m_app.performEdit(text("Split Clip", "undo.splitClip"), [&](Project& p) {
        const Clip* found = p.timeline.clip(id);
        if (!found)
            return;
        Clip left = *found;
        const ProjectTime s(left.sourceIn.seconds + (t - left.timelineStart.seconds) * left.speed);
        // Overlays, keyframes and captions go whole to both halves: cutting them is the user's call.
        Clip right = left;
        right.id = QUuid::createUuid();
        right.name = left.name + QStringLiteral(" (2)");
        right.sourceIn = s;
        right.timelineStart = ProjectTime(t);
        left.sourceOut = s;
        p.timeline.update(left);
        p.timeline.add(right);
    });
    return bool(result);
}

std::optional<QUuid> TimelineEditing::deleteClip(const QUuid& clipID) {
    const auto& bundle = m_app.currentBundle();
    if (!bundle)
        return std::nullopt;
    if (bundle->project().timeline.clip(clipID))
        (void)m_app.performEdit(text("Delete Clip", "undo.deleteClip"),
                                [&](Project& p) { p.timeline.remove(clipID); });
    const auto& clips = bundle->project().timeline.clips;
    if (clips.empty())
        return std::nullopt;
    return clips.front().id;
}

namespace {

std::optional<ProjectTime> sourceTimeAt(const Project& project, const QUuid& clipID, double playhead) {
    const Clip* clip = project.timeline.clip(clipID);
    if (!clip)
        return std::nullopt;
    return ProjectTime(clip->sourceIn.seconds +
                       std::max(playhead - clip->timelineStart.seconds, 0.0) * clip->speed);
}

} // namespace

void TimelineEditing::setInPointAtPlayhead(const QUuid& clipID) {
    const auto& bundle = m_app.currentBundle();
    const auto s = bundle ? sourceTimeAt(bundle->project(), clipID, m_playheadTime) : std::nullopt;
    if (!s || bundle->project().timeline.clip(clipID)->sourceIn == *s)
        return;
    (void)m_app.performEdit(text("Set In Point", "undo.setInPoint"), [&](Project& p) {
        Clip clip = *p.timeline.clip(clipID);
        clip.sourceIn = *s;
        p.timeline.update(clip);
    });
}

void TimelineEditing::setOutPointAtPlayhead(const QUuid& clipID) {
    const auto& bundle = m_app.currentBundle();
    const auto s = bundle ? sourceTimeAt(bundle->project(), clipID, m_playheadTime) : std::nullopt;
    if (!s || bundle->project().timeline.clip(clipID)->sourceOut == *s)
        return;
    (void)m_app.performEdit(text("Set Out Point", "undo.setOutPoint"), [&](Project& p) {
        Clip clip = *p.timeline.clip(clipID);
        clip.sourceOut = *s;
        p.timeline.update(clip);
    });
}

// ---- tracks -----------------------------------------------------------------------------------------

namespace {

// Track flags are view settings as much as edits: they are saved, but kept off the undo stack.
template <class F>
void updateTrack(AppState& app, int index, F&& change) {
    const auto& bundle = app.currentBundle();
    if (!bundle || index < 0 || std::size_t(index) >= bundle->project().timeline.tracks.size())
        return;
    bundle->update([&](Project& p) { change(p.timeline.tracks[std::size_t(index)]); });
}

} // namespace

void TimelineEditing::toggleTrackMuted(int index) {
    updateTrack(m_app, index, [](Timeline::Track& t) { t.muted = !t.muted; });
}

void TimelineEditing::toggleTrackLocked(int index) {
    updateTrack(m_app, index, [](Timeline::Track& t) { t.locked = !t.locked; });
}

void TimelineEditing::toggleTrackVisible(int index) {
    updateTrack(m_app, index, [](Timeline::Track& t) { t.visible = !t.visible; });
}

void TimelineEditing::changeTrackResize(int index, double translationY) {
    if (!m_resizingTrackIndex) {
        const auto& bundle = m_app.currentBundle();
        if (!bundle || index < 0 || std::size_t(index) >= bundle->project().timeline.tracks.size())
            return;
        m_resizingTrackIndex = index;
        m_resizingTrackInitialHeight = bundle->project().timeline.tracks[std::size_t(index)].height;
        m_resizingTrackProjectSnapshot = bundle->project();
    }
    const double height =
        std::clamp(m_resizingTrackInitialHeight + translationY, minTrackHeight, maxTrackHeight);
    updateTrack(m_app, *m_resizingTrackIndex, [height](Timeline::Track& t) { t.height = height; });
}

void TimelineEditing::commitTrackResize() {
    if (m_resizingTrackProjectSnapshot)
        m_app.commitEdit(text("Resize Track", "undo.resizeTrack"), *m_resizingTrackProjectSnapshot);
    m_resizingTrackIndex.reset();
    m_resizingTrackInitialHeight = 0;
    m_resizingTrackProjectSnapshot.reset();
}

// ---- ripple -----------------------------------------------------------------------------------------

bool TimelineEditing::rippleEdit() const {
    return m_defaults.boolean(QString::fromLatin1(rippleEditKey), true);
}

void TimelineEditing::setRippleEdit(bool on) {
    m_defaults.setValue(QString::fromLatin1(rippleEditKey), on);
}

} // namespace orvane
