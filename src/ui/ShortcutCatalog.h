#pragma once

#include <QObject>
#include <QString>
#include <QVariantList>
#include <QtQml/qqmlregistration.h>

#include <vector>

namespace orvane {

// The keyboard shortcuts sheet's contents: the groups in order, each entry with its keys as shown and the
// key and English text of its description. Ctrl stands where the desktop's Command would, Alt for Option.
class ShortcutCatalog : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON
    Q_PROPERTY(QVariantList groups READ groupsForQml CONSTANT)
public:
    struct Entry {
        QString keys;
        QString descriptionKey;
        QString description;
    };
    struct Group {
        QString titleKey;
        QString title;
        QString icon;
        std::vector<Entry> entries;
    };

    explicit ShortcutCatalog(QObject* parent = nullptr)
        : QObject(parent) {}

    static const std::vector<Group>& groups();
    // Each group as {titleKey, title, icon, entries: [{keys, descriptionKey, description}]}.
    QVariantList groupsForQml() const;
};

} // namespace orvane
