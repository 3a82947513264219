#include "TimelineClipModel.h"

#include "ClipMediaCache.h"
#include "app/TimelineEditing.h"
#include "project/Project.h"

#include <algorithm>

namespace orvane {

namespace {

// The bar sits inside its lane with a little air above and below.
constexpr double laneInset = 3;

} // namespace

void TimelineClipModel::refresh(const Project* project, const TimelineEditing& editing,
                                const std::optional<QUuid>& selected, const ClipMediaCache* media) {
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
            row.hasVideo = !clip.sourceVideoPath.isEmpty();
            if (media) {
                row.stripFrames = media->stripFrames(clip.id);
                row.waveform = media->waveform(clip.id);
            }
            rows.push_back(std::move(row));
        }
    }

    const bool sameClips =
        rows.size() == m_rows.size() && std::equal(rows.begin(), rows.end(), m_rows.begin(),
                                                   [](const Row& a, const Row& b) { return a.id == b.id; });
    if (!sameClips) {
        beginResetModel();
        m_rows = std::move(rows);
        endResetModel();
        return;
    }
    // Only the roles that changed, so that a zoom re-evaluates where the bars are and not what they show.
    QList<int> roles;
    for (std::size_t i = 0; i < rows.size(); ++i) {
        const Row& now = rows[i];
        const Row& was = m_rows[i];
        if (now == was)
            continue;
        roles.clear();
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
        m_rows[i] = std::move(rows[i]);
        Q_EMIT dataChanged(index(int(i)), index(int(i)), roles);
    }
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
