#pragma once

#include <QAbstractListModel>
#include <QStringList>
#include <QUuid>

#include <optional>
#include <vector>

namespace orvane {

class ClipMediaCache;
class TimelineEditing;
struct Project;

// The clip bars as the lanes draw them: where each sits (the dragged one at its offset), its filmstrip
// and waveform so far, whether it is selected. Only bars within the visible span are rows (and the
// selected and dragged ones wherever they are), so a zoom over a timeline of two hundred clips moves the
// few on screen. A refresh tells the view only about the bars that moved, came or went.
class TimelineClipModel : public QAbstractListModel {
    Q_OBJECT

public:
    enum Role {
        clipIdRole = Qt::UserRole + 1,
        nameRole,
        xRole,
        yRole,
        widthRole,
        heightRole,
        trackIndexRole,
        trackKindRole,
        selectedRole,
        draggingRole,
        stripFramesRole,
        waveformRole,
        hasVideoRole,
    };

    struct Row {
        QUuid id;
        QString name;
        double x = 0;
        double y = 0;
        double width = 0;
        double height = 0;
        int trackIndex = 0;
        QString trackKind;
        bool selected = false;
        bool dragging = false;
        QStringList stripFrames;
        QString waveform;
        bool hasVideo = false;
        bool operator==(const Row&) const = default;
    };

    // A stretch of the lanes in points, from `from` to `to`.
    struct Span {
        double from = 0;
        double to = 0;
    };

    using QAbstractListModel::QAbstractListModel;

    // Rows in the project's list order, those meeting `visible` (all without one). `media` may be null (no
    // filmstrips or waveforms).
    void refresh(const Project* project, const TimelineEditing& editing, const std::optional<QUuid>& selected,
                 const ClipMediaCache* media, std::optional<Span> visible = std::nullopt);
    const std::vector<Row>& rows() const { return m_rows; }
    std::optional<int> rowOf(const QUuid& id) const;

    int rowCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;

private:
    void updateRow(std::size_t i, Row&& now);

    std::vector<Row> m_rows;
};

} // namespace orvane
