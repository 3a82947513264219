#include "ItemTree.h"

#include <QQuickItem>

namespace orvane {

namespace {

// Walks breadth first and stops once `limit` matches are found (no limit when negative).
QList<QQuickItem*> search(QQuickItem* root, const std::function<bool(const QQuickItem&)>& match, int limit) {
    QList<QQuickItem*> found;
    if (!root)
        return found;
    QList<QQuickItem*> queue{root};
    for (qsizetype next = 0; next < queue.size(); ++next) {
        QQuickItem* item = queue[next];
        if (match(*item)) {
            found.append(item);
            if (limit >= 0 && found.size() >= limit)
                break;
        }
        queue.append(item->childItems());
    }
    return found;
}

} // namespace

QList<QQuickItem*> findItems(QQuickItem* root, const std::function<bool(const QQuickItem&)>& match) {
    return search(root, match, -1);
}

QQuickItem* findItem(QQuickItem* root, const std::function<bool(const QQuickItem&)>& match) {
    const QList<QQuickItem*> found = search(root, match, 1);
    return found.isEmpty() ? nullptr : found.front();
}

QQuickItem* findVisibleItem(QQuickItem* root, const QString& objectName) {
    return findItem(
        root, [&](const QQuickItem& item) { return item.isVisible() && item.objectName() == objectName; });
}

QList<QQuickItem*> findNamedItems(QQuickItem* root, const QString& objectName) {
    return findItems(root, [&](const QQuickItem& item) { return item.objectName() == objectName; });
}

QList<QQuickItem*> findVisibleItemsOfClass(QQuickItem* root, const char* className) {
    return findItems(root, [&](const QQuickItem& item) {
        return item.isVisible() && qstrcmp(item.metaObject()->className(), className) == 0;
    });
}

} // namespace orvane
