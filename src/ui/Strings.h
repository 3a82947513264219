#pragma once

#include <QHash>
#include <QObject>
#include <QString>
#include <QtQml/qqmlregistration.h>

namespace orvane {

// Interface texts by key. A view asks for a key with its English text beside it; a catalogue loaded for
// another language answers in its words, and without one the English text stands. Keys are stable, so
// tests and accessibility tools can name a control by its key.
class Strings : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON
public:
    explicit Strings(QObject* parent = nullptr);

    Q_INVOKABLE QString t(const QString& key, const QString& english) const;
    // The same with "%1", "%2"... filled in.
    Q_INVOKABLE QString f(const QString& key, const QString& english, const QVariantList& args) const;

    // The same lookup for C++ view models.
    static QString text(const QString& key, const QString& english);

    // Replaces the catalogue (key to text) for every engine in the process.
    static void setCatalogue(QHash<QString, QString> catalogue);

private:
    static QHash<QString, QString>& catalogue();
};

} // namespace orvane
