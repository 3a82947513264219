#include "ExportQueueModel.h"

#include <algorithm>

namespace orvane {

namespace {

bool sameRow(const ExportQueue::Job& a, const ExportQueue::Job& b) {
    return a.id == b.id && a.state == b.state && a.displayName == b.displayName &&
           a.bundleName == b.bundleName;
}

} // namespace

ExportQueueModel::ExportQueueModel(ExportQueue& queue, QObject* parent)
    : QAbstractListModel(parent)
    , m_queue(&queue)
    , m_rows(queue.jobs()) {
    connect(&queue, &ExportQueue::jobsChanged, this, &ExportQueueModel::sync);
}

int ExportQueueModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : int(m_rows.size());
}

QString ExportQueueModel::stateName(const ExportQueue::JobState& state) {
    return std::visit(
        [](const auto& s) -> QString {
            using S = std::decay_t<decltype(s)>;
            if constexpr (std::is_same_v<S, ExportQueue::JobState::Pending>)
                return QStringLiteral("pending");
            else if constexpr (std::is_same_v<S, ExportQueue::JobState::Running>)
                return QStringLiteral("running");
            else if constexpr (std::is_same_v<S, ExportQueue::JobState::Completed>)
                return QStringLiteral("completed");
            else if constexpr (std::is_same_v<S, ExportQueue::JobState::Failed>)
                return QStringLiteral("failed");
            else
                return QStringLiteral("cancelled");
        },
        state.value);
}

QString ExportQueueModel::accessibleText(const ExportQueue::Job& job) {
    if (std::holds_alternative<ExportQueue::JobState::Completed>(job.state.value))
        return QStringLiteral("Export of ") + job.displayName + QStringLiteral(" completed");
    if (std::holds_alternative<ExportQueue::JobState::Failed>(job.state.value))
        return QStringLiteral("Export of ") + job.displayName + QStringLiteral(" failed");
    return job.displayName + QStringLiteral(", ") + ExportQueue::statusText(job);
}

QVariant ExportQueueModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid() || index.row() < 0 || index.row() >= int(m_rows.size()))
        return {};
    const ExportQueue::Job& job = m_rows[size_t(index.row())];
    switch (role) {
    case JobIdRole:
        return job.id.toString(QUuid::WithoutBraces);
    case Qt::DisplayRole:
    case DisplayNameRole:
        return job.displayName;
    case BundleNameRole:
        return job.bundleName;
    case StatusTextRole:
        return ExportQueue::statusText(job);
    case ProgressRole:
        if (const auto* running = std::get_if<ExportQueue::JobState::Running>(&job.state.value))
            return std::clamp(running->progress, 0.0, 1.0);
        return job.state.isFinished() ? 1.0 : 0.0;
    case StateRole:
        return stateName(job.state);
    case PathRole:
        if (const auto* done = std::get_if<ExportQueue::JobState::Completed>(&job.state.value))
            return done->path;
        return QString();
    case AccessibleTextRole:
        return accessibleText(job);
    default:
        return {};
    }
}

QHash<int, QByteArray> ExportQueueModel::roleNames() const {
    return {{JobIdRole, "jobId"},
            {DisplayNameRole, "displayName"},
            {BundleNameRole, "bundleName"},
            {StatusTextRole, "statusText"},
            {ProgressRole, "progress"},
            {StateRole, "jobState"},
            {PathRole, "path"},
            {AccessibleTextRole, "accessibleText"}};
}

void ExportQueueModel::sync() {
    if (!m_queue)
        return;
    const std::vector<ExportQueue::Job>& jobs = m_queue->jobs();
    const int countBefore = int(m_rows.size());
    // Rows whose job left the queue go, from the back so the indices ahead stay right.
    for (int row = int(m_rows.size()) - 1; row >= 0; --row) {
        const QUuid id = m_rows[size_t(row)].id;
        if (std::none_of(jobs.begin(), jobs.end(), [&](const ExportQueue::Job& j) { return j.id == id; })) {
            beginRemoveRows(QModelIndex(), row, row);
            m_rows.erase(m_rows.begin() + row);
            endRemoveRows();
        }
    }
    // The queue keeps its order and only appends, so what is left is a prefix of it; anything else (which
    // the queue does not do) is shown afresh.
    const bool prefix =
        m_rows.size() <= jobs.size() &&
        std::equal(m_rows.begin(), m_rows.end(), jobs.begin(),
                   [](const ExportQueue::Job& a, const ExportQueue::Job& b) { return a.id == b.id; });
    if (!prefix) {
        beginResetModel();
        m_rows = jobs;
        endResetModel();
    } else {
        for (std::size_t row = 0; row < m_rows.size(); ++row) {
            if (sameRow(m_rows[row], jobs[row]))
                continue;
            m_rows[row] = jobs[row];
            const QModelIndex at = index(int(row));
            Q_EMIT dataChanged(at, at);
        }
        if (jobs.size() > m_rows.size()) {
            beginInsertRows(QModelIndex(), int(m_rows.size()), int(jobs.size()) - 1);
            m_rows.insert(m_rows.end(), jobs.begin() + std::ptrdiff_t(m_rows.size()), jobs.end());
            endInsertRows();
        }
    }
    if (int(m_rows.size()) != countBefore)
        Q_EMIT countChanged();
}

} // namespace orvane
