// Writes the application's icon into an icon theme folder at every size the desktop asks for:
// <folder>/<n>x<n>/apps/<name>.png. Run by the build; the install puts the folder under share/icons.
#include "app/AppIcon.h"

#include <QDir>
#include <QGuiApplication>

#include <cstdio>

int main(int argc, char** argv) {
    if (argc != 3) {
        std::fprintf(stderr, "usage: orvane-icon-generator FOLDER NAME\n");
        return 2;
    }
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication application(argc, argv);
    const QDir folder(QString::fromLocal8Bit(argv[1]));
    const QString name = QString::fromLocal8Bit(argv[2]);
    for (const int size : orvane::AppIcon::themeSizes) {
        const QString apps = folder.filePath(QStringLiteral("%1x%1/apps").arg(size));
        if (!QDir().mkpath(apps) ||
            !orvane::AppIcon::render(size).save(QDir(apps).filePath(name + QStringLiteral(".png")), "png")) {
            std::fprintf(stderr, "orvane-icon-generator: cannot write the %dx%d icon in %s\n", size, size,
                         qPrintable(apps));
            return 1;
        }
    }
    return 0;
}
