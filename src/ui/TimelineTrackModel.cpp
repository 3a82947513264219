#include "TimelineTrackModel.h"

#include "app/TimelineEditing.h"

namespace orvane {

void TimelineTrackModel::refresh(const TimelineEditing& editing) {
    const std::vector<Timeline::Track> tracks = editing.tracks();
    std::vector<Row> rows;
    rows.reserve(tracks.size());
    for (std::size_t i = 0; i < tracks.size(); ++i) {
        const Timeline::Track& track = tracks[i];
        rows.push_back(
            {track.name,
             QString::fromLatin1(enumName(track.kind).data(), qsizetype(enumName(track.kind).size())),
             editing.trackY(int(i)), track.height, track.muted, track.locked, track.visible});
    }
    if (rows.size() != m_rows.size()) {
        beginResetModel();
        m_rows = std::move(rows);
        endResetModel();
        return;
    }
    for (std::size_t i = 0; i < rows.size(); ++i) {
        if (rows[i] == m_rows[i])
            continue;
        m_rows[i] = std::move(rows[i]);
        Q_EMIT dataChanged(index(int(i)), index(int(i)));
    }
}

int TimelineTrackModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : int(m_rows.size());
}

QVariant TimelineTrackModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid() || index.row() >= int(m_rows.size()))
        return {};
    const Row& row = m_rows[std::size_t(index.row())];
    switch (role) {
    case nameRole:
        return row.name;
    case kindRole:
        return row.kind;
    case yRole:
        return row.y;
    case heightRole:
        return row.height;
    case mutedRole:
        return row.muted;
    case lockedRole:
        return row.locked;
    case visibleRole:
        return row.visible;
    default:
        return {};
    }
}

QHash<int, QByteArray> TimelineTrackModel::roleNames() const {
    return {{nameRole, "name"},           {kindRole, "kind"},   {yRole, "trackY"},
            {heightRole, "trackHeight"},  {mutedRole, "muted"}, {lockedRole, "locked"},
            {visibleRole, "trackVisible"}};
}

} // namespace orvane
