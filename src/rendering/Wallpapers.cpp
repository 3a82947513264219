#include "Wallpapers.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>

namespace orvane {

QStringList Wallpapers::directories() {
    QStringList dirs;
    const QString fromEnvironment = qEnvironmentVariable("ORVANE_RESOURCES_DIR");
    if (!fromEnvironment.isEmpty())
        dirs << QDir(fromEnvironment).filePath(QStringLiteral("Wallpapers"));
    if (QCoreApplication::instance()) {
        const QDir app(QCoreApplication::applicationDirPath());
        dirs << app.filePath(QStringLiteral("../share/orvane-screen/Wallpapers"))
             << app.filePath(QStringLiteral("resources/Wallpapers"));
    }
    dirs << QDir(QStringLiteral(ORVANE_SOURCE_RESOURCES_DIR)).filePath(QStringLiteral("Wallpapers"));
    return dirs;
}

QString Wallpapers::path(const QString& name) {
    // A name is a file name, never a path: nothing outside the folder is reachable through it.
    if (name.isEmpty() || name.contains(QLatin1Char('/')) || name.contains(QLatin1Char('\\')) ||
        name.startsWith(QLatin1Char('.')))
        return {};
    QStringList candidates{name};
    if (QFileInfo(name).suffix().isEmpty())
        candidates << name + QStringLiteral(".png") << name + QStringLiteral(".jpg");
    for (const QString& dir : directories()) {
        for (const QString& candidate : candidates) {
            const QFileInfo file(QDir(dir).filePath(candidate));
            if (file.isFile())
                return file.absoluteFilePath();
        }
    }
    return {};
}

QStringList Wallpapers::names() {
    for (const QString& dir : directories()) {
        const QDir d(dir);
        if (d.exists())
            return d.entryList({QStringLiteral("*.png"), QStringLiteral("*.jpg")}, QDir::Files, QDir::Name);
    }
    return {};
}

} // namespace orvane
