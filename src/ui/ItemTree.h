#pragma once

#include <QList>
#include <QString>

#include <functional>

class QQuickItem;

namespace orvane {

// Searches of a Qt Quick item tree, breadth first: the root, then its children, then theirs. The views
// never search themselves; the screenshot tour, the window benchmark and the window tests find the
// items they drive by name or type this way.
QList<QQuickItem*> findItems(QQuickItem* root, const std::function<bool(const QQuickItem&)>& match);
QQuickItem* findItem(QQuickItem* root, const std::function<bool(const QQuickItem&)>& match);

// The first item named `objectName` that shows on screen.
QQuickItem* findVisibleItem(QQuickItem* root, const QString& objectName);
// Every item named `objectName`, shown or not.
QList<QQuickItem*> findNamedItems(QQuickItem* root, const QString& objectName);
// Every item of the C++ class `className` (as moc names it, e.g. "orvane::SourceThumbnailItem") that shows.
QList<QQuickItem*> findVisibleItemsOfClass(QQuickItem* root, const char* className);

} // namespace orvane
