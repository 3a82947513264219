#include "TimelineClipModel.h"

#include "ClipMediaCache.h"
#include "app/TimelineEditing.h"
#include "project/Project.h"

#include <QSet>

#include <algorithm>

namespace orvane {

namespace {

// The bar sits inside its lane with a little air above and below.
constexpr double laneInset = 3;

} // namespace

void TimelineClipModel::refresh(const Project* project, const TimelineEditing& editing,
                                const std::optional<QUuid>& selected, const ClipMediaCache* media,
                                std::optional<Span> visible) {
    std::vector<Row> rows;
    if (project) {
        const std::vector<Timeline::Track> tracks = editing.tracks();
        rows.reserve(project->timeline.clips.size());
        for (const Clip& clip : project->timeline.clips) {
            Row row;
            row.id = clip.id;
            row.name = clip.name;
            row.x = editing.clipX(clip);
            row.width = std::max(editing.clipWidth(clip), 2.0);
            row.trackIndex = clip.trackIndex;
            const bool known = clip.trackIndex >= 0 && std::size_t(clip.trackIndex) < tracks.size();
            const double laneHeight = known ? tracks[std::size_t(clip.trackIndex)].height : 64;
            row.y = editing.computeDragY(clip) + laneInset;
            row.height = std::max(laneHeight - 2 * laneInset, 8.0);
            row.trackKind =
                known ? QString::fromLatin1(enumName(tracks[std::size_t(clip.trackIndex)].kind).data())
                      : QStringLiteral("video");
            row.selected = selected == clip.id;
            row.dragging = editing.draggingClipID() == clip.id;
            // The records stay put during a move; the bar follows the pointer.
            if (row.dragging)
                row.x += editing.dragOffset().x();
            // Off screen and not in hand: no bar. The selected one keeps its focus and its keys.
            if (visible && !row.selected && !row.dragging &&
                (row.x + row.width < visible->from || row.x > visible->to))
                continue;
            row.hasVideo = !clip.sourceVideoPath.isEmpty();
            if (media) {
                row.stripFrames = media->stripFrames(clip.id);
                row.waveform = media->waveform(clip.id);
            }
            rows.push_back(std::move(row));
        }
    }

    // Bars that left go first, from the back so the rows ahead keep their numbers.
    QSet<QUuid> wanted;
    for (const Row& row : rows)
        wanted.insert(row.id);
    for (std::size_t i = m_rows.size(); i-- > 0;) {
        if (wanted.contains(m_rows[i].id))
            continue;
        beginRemoveRows({}, int(i), int(i));
        m_rows.erase(m_rows.begin() + std::ptrdiff_t(i));
        endRemoveRows();
    }
    // The bars that stayed must still be in the project's order for the others to slot in between;
    // after a reordering edit the view starts over.
    std::size_t kept = 0;
    for (const Row& row : rows)
        if (kept < m_rows.size() && m_rows[kept].id == row.id)
            ++kept;
    if (kept != m_rows.size()) {
        beginResetModel();
        m_rows = std::move(rows);
        endResetModel();
        return;
    }
    for (std::size_t i = 0; i < rows.size(); ++i) {
        if (i < m_rows.size() && m_rows[i].id == rows[i].id) {
            updateRow(i, std::move(rows[i]));
            continue;
        }
        beginInsertRows({}, int(i), int(i));
        m_rows.insert(m_rows.begin() + std::ptrdiff_t(i), std::move(rows[i]));
        endInsertRows();
    }
}

void TimelineClipModel::updateRow(std::size_t i, Row&& now) {
    const Row& was = m_rows[i];
    if (now == was)
        return;
    // Only the roles that changed, so that a zoom re-evaluates where the bars are and not what they show.
    QList<int> roles;
    const auto differs = [&](bool changed, Role role) {
        if (changed)
            roles.append(role);
    };
    differs(now.name != was.name, nameRole);
    differs(now.x != was.x, xRole);
    differs(now.y != was.y, yRole);
    differs(now.width != was.width, widthRole);
    differs(now.height != was.height, heightRole);
    differs(now.trackIndex != was.trackIndex, trackIndexRole);
    differs(now.trackKind != was.trackKind, trackKindRole);
    differs(now.selected != was.selected, selectedRole);
    differs(now.dragging != was.dragging, draggingRole);
    differs(now.stripFrames != was.stripFrames, stripFramesRole);
    differs(now.waveform != was.waveform, waveformRole);
    differs(now.hasVideo != was.hasVideo, hasVideoRole);
    m_rows[i] = std::move(now);
    Q_EMIT dataChanged(index(int(i)), index(int(i)), roles);
}

std::optional<int> TimelineClipModel::rowOf(const QUuid& id) const {
    for (std::size_t i = 0; i < m_rows.size(); ++i)
        if (m_rows[i].id == id)
            return int(i);
    return std::nullopt;
}

int TimelineClipModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : int(m_rows.size());
}

QVariant TimelineClipModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid() || index.row() >= int(m_rows.size()))
        return {};
    const Row& row = m_rows[std::size_t(index.row())];
    switch (role) {
    case clipIdRole:
        return row.id.toString(QUuid::WithoutBraces);
    case nameRole:
        return row.name;
    case xRole:
        return row.x;
    case yRole:
        return row.y;
    case widthRole:
        return row.width;
    case heightRole:
        return row.height;
    case trackIndexRole:
        return row.trackIndex;
    case trackKindRole:
        return row.trackKind;
    case selectedRole:
        return row.selected;
    case draggingRole:
        return row.dragging;
    case stripFramesRole:
        return row.stripFrames;
    case waveformRole:
        return row.waveform;
    case hasVideoRole:
        return row.hasVideo;
    default:
        return {};
    }
}

QHash<int, QByteArray> TimelineClipModel::roleNames() const {
    return {{clipIdRole, "clipId"},
            {nameRole, "name"},
            {xRole, "barX"},
            {yRole, "barY"},
            {widthRole, "barWidth"},
            {heightRole, "barHeight"},
            {trackIndexRole, "trackIndex"},
            {trackKindRole, "trackKind"},
            {selectedRole, "selected"},
            {draggingRole, "dragging"},
            {stripFramesRole, "stripFrames"},
            {waveformRole, "waveform"},
            {hasVideoRole, "hasVideo"}};
}

} // namespace orvane
