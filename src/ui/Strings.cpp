#include "Strings.h"

#include <QVariant>

namespace orvane {

Strings::Strings(QObject* parent)
    : QObject(parent) {}

QHash<QString, QString>& Strings::catalogue() {
    static QHash<QString, QString> texts;
    return texts;
}

void Strings::setCatalogue(QHash<QString, QString> texts) {
    catalogue() = std::move(texts);
}

QString Strings::t(const QString& key, const QString& english) const {
    return text(key, english);
}

QString Strings::text(const QString& key, const QString& english) {
    const auto& texts = catalogue();
    const auto found = texts.constFind(key);
    return found != texts.constEnd() ? *found : english;
}

QString Strings::f(const QString& key, const QString& english, const QVariantList& args) const {
    QString text = t(key, english);
    for (const QVariant& arg : args)
        text = text.arg(arg.toString());
    return text;
}

} // namespace orvane
