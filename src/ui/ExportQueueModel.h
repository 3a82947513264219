#pragma once

#include "export/ExportQueue.h"

#include <QAbstractListModel>
#include <QPointer>
#include <QUuid>

#include <vector>

namespace orvane {

// The export queue's jobs as rows for the queue panel. A change of the queue updates the rows in place:
// a job's progress changes its row's values, a new job inserts a row, clearing removes rows; the views
// of the rows that stay are kept, so a progress bar moves rather than being rebuilt.
class ExportQueueModel : public QAbstractListModel {
    Q_OBJECT
    Q_PROPERTY(int count READ rowCount NOTIFY countChanged FINAL)
public:
    enum Role {
        JobIdRole = Qt::UserRole + 1,
        DisplayNameRole,
        BundleNameRole,
        StatusTextRole,
        ProgressRole,
        StateRole, // "pending", "running", "completed", "failed", "cancelled"
        PathRole,  // the finished file; empty until the job completes
        AccessibleTextRole,
    };

    explicit ExportQueueModel(ExportQueue& queue, QObject* parent = nullptr);

    int rowCount(const QModelIndex& parent = QModelIndex()) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;

    static QString stateName(const ExportQueue::JobState& state);
    // What a screen reader says for the row.
    static QString accessibleText(const ExportQueue::Job& job);

Q_SIGNALS:
    void countChanged();

private:
    void sync();

    QPointer<ExportQueue> m_queue;
    // The rows as last shown, so a change can be told apart from an insertion or a removal.
    std::vector<ExportQueue::Job> m_rows;
};

} // namespace orvane
