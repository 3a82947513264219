#pragma once

#include "project/RecentProjectsStore.h"

#include <QAbstractListModel>
#include <QDateTime>
#include <QTimer>
#include <QUuid>
#include <QtQml/qqmlregistration.h>

namespace orvane {

class AppViewModel;

// The welcome screen's recent projects: the newest eight of the store, each with its card's thumbnail
// (a file URL that changes when a new picture is made, so the card reloads it), the time since it was
// last opened in words, and its length. A change that keeps the same projects in the same order (a
// thumbnail arriving) updates the cards in place, so the keyboard's focus stays where it was; the times
// are told again every minute.
class RecentProjectsModel : public QAbstractListModel {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(int count READ count NOTIFY countChanged)
public:
    static constexpr int shownItems = 8;
    enum Role { NameRole = Qt::UserRole + 1, PathRole, ThumbnailRole, LastOpenedRole, DurationRole };

    explicit RecentProjectsModel(QObject* parent = nullptr);
    RecentProjectsModel(RecentProjectsStore& store, AppViewModel* app, QObject* parent = nullptr);

    int rowCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;
    int count() const { return rowCount(); }

    Q_INVOKABLE void prune() { m_store.prune(); }
    Q_INVOKABLE void clear() { m_store.clear(); }
    Q_INVOKABLE void open(int row);

    // "Just now" under a minute, then "1 minute ago", "3 hours ago", "Yesterday", "5 days ago",
    // "2 weeks ago", "4 months ago", "2 years ago": whole units, cut down.
    static QString timeSince(const QDateTime& then, const QDateTime& now);
    // "0:42", "12:05", "1:02:03".
    static QString durationText(double seconds);

Q_SIGNALS:
    void countChanged();

private:
    void storeChanged();
    std::vector<QUuid> shownIDs() const;

    RecentProjectsStore& m_store;
    AppViewModel* m_app = nullptr;
    std::vector<QUuid> m_shown;
    QTimer m_clock;
};

} // namespace orvane
