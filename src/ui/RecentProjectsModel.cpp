#include "RecentProjectsModel.h"

#include "AppViewModel.h"

#include <QFileInfo>
#include <QUrl>
#include <QUrlQuery>

#include <cmath>

namespace orvane {

RecentProjectsModel::RecentProjectsModel(QObject* parent)
    : RecentProjectsModel(AppViewModel::current()->recents(), AppViewModel::current(), parent) {}

RecentProjectsModel::RecentProjectsModel(RecentProjectsStore& store, AppViewModel* app, QObject* parent)
    : QAbstractListModel(parent)
    , m_store(store)
    , m_app(app) {
    m_shown = shownIDs();
    connect(&store, &RecentProjectsStore::projectsChanged, this, &RecentProjectsModel::storeChanged);
    m_clock.setInterval(std::chrono::minutes(1));
    connect(&m_clock, &QTimer::timeout, this, [this] {
        if (rowCount() > 0)
            Q_EMIT dataChanged(index(0), index(rowCount() - 1), {LastOpenedRole});
    });
    m_clock.start();
}

std::vector<QUuid> RecentProjectsModel::shownIDs() const {
    std::vector<QUuid> ids;
    for (const RecentProject& entry : m_store.projects()) {
        if (int(ids.size()) == shownItems)
            break;
        ids.push_back(entry.projectID);
    }
    return ids;
}

void RecentProjectsModel::storeChanged() {
    std::vector<QUuid> ids = shownIDs();
    if (ids == m_shown) {
        if (!ids.empty())
            Q_EMIT dataChanged(index(0), index(int(ids.size()) - 1));
        return;
    }
    beginResetModel();
    m_shown = std::move(ids);
    endResetModel();
    Q_EMIT countChanged();
}

int RecentProjectsModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : int(m_shown.size());
}

QHash<int, QByteArray> RecentProjectsModel::roleNames() const {
    return {{NameRole, "name"},
            {PathRole, "path"},
            {ThumbnailRole, "thumbnail"},
            {LastOpenedRole, "lastOpenedText"},
            {DurationRole, "durationText"}};
}

QVariant RecentProjectsModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid() || index.row() >= rowCount())
        return {};
    const RecentProject& entry = m_store.projects()[size_t(index.row())];
    switch (role) {
    case NameRole:
        return entry.name;
    case PathRole:
        return entry.bundlePath();
    case ThumbnailRole: {
        const auto path = m_store.thumbnailPath(entry);
        if (!path)
            return QString();
        // The file keeps its name when it is made again; its time tells the image cache it changed.
        QUrl url = QUrl::fromLocalFile(*path);
        url.setQuery(QStringLiteral("v=%1").arg(QFileInfo(*path).lastModified().toMSecsSinceEpoch()));
        return url.toString();
    }
    case LastOpenedRole:
        return timeSince(entry.lastOpened, QDateTime::currentDateTimeUtc());
    case DurationRole:
        // A project with nothing in it has no length to tell.
        return entry.durationSeconds > 0 ? durationText(entry.durationSeconds) : QString();
    }
    return {};
}

void RecentProjectsModel::open(int row) {
    if (row < 0 || row >= rowCount() || !m_app)
        return;
    m_app->openProjectAt(m_store.projects()[size_t(row)].bundlePath());
}

QString RecentProjectsModel::timeSince(const QDateTime& then, const QDateTime& now) {
    const qint64 seconds = std::max<qint64>(0, then.secsTo(now));
    const auto ago = [](qint64 count, const char* one, const char* many) {
        return count == 1 ? tr("1 %1 ago").arg(QLatin1String(one))
                          : tr("%1 %2 ago").arg(count).arg(QLatin1String(many));
    };
    if (seconds < 60)
        return tr("Just now");
    if (seconds < 3600)
        return ago(seconds / 60, "minute", "minutes");
    if (seconds < 86400)
        return ago(seconds / 3600, "hour", "hours");
    const qint64 days = seconds / 86400;
    if (days == 1)
        return tr("Yesterday");
    if (days < 14)
        return ago(days, "day", "days");
    if (days < 60)
        return ago(days / 7, "week", "weeks");
    if (days < 365)
        return ago(days / 30, "month", "months");
    return ago(days / 365, "year", "years");
}

QString RecentProjectsModel::durationText(double seconds) {
    const qint64 whole = seconds > 0 ? qint64(std::floor(seconds)) : 0;
    if (whole >= 3600)
        return QStringLiteral("%1:%2:%3")
            .arg(whole / 3600)
            .arg((whole % 3600) / 60, 2, 10, QLatin1Char('0'))
            .arg(whole % 60, 2, 10, QLatin1Char('0'));
    return QStringLiteral("%1:%2").arg(whole / 60).arg(whole % 60, 2, 10, QLatin1Char('0'));
}

} // namespace orvane
