#pragma once

#include "project/Timeline.h"

#include <QAbstractListModel>

#include <vector>

namespace orvane {

class TimelineEditing;

// The timeline's track rows as the header column and the lanes draw them. Rows keep their delegates
// while only their values change; a different number of tracks resets the list.
class TimelineTrackModel : public QAbstractListModel {
    Q_OBJECT

public:
    enum Role {
        nameRole = Qt::UserRole + 1,
        kindRole,
        yRole,
        heightRole,
        mutedRole,
        lockedRole,
        visibleRole
    };

    struct Row {
        QString name;
        QString kind;
        double y = 0;
        double height = 0;
        bool muted = false;
        bool locked = false;
        bool visible = true;
        bool operator==(const Row&) const = default;
    };

    using QAbstractListModel::QAbstractListModel;

    void refresh(const TimelineEditing& editing);
    const std::vector<Row>& rows() const { return m_rows; }

    int rowCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;

private:
    std::vector<Row> m_rows;
};

} // namespace orvane
