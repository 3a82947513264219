#pragma once

#include <QString>
#include <QStringList>

namespace orvane {

// The application's "Wallpapers" resource folder. Looked for, in order: $ORVANE_RESOURCES_DIR/Wallpapers,
// share/orvane-screen/Wallpapers beside the installed program, resources/Wallpapers beside the program,
// and the checkout's resources/Wallpapers.
class Wallpapers {
public:
    static QStringList directories();
    // The file for a wallpaper name, which normally carries its extension; a bare name also finds a
    // ".png" or ".jpg" of that name. Empty when there is none.
    static QString path(const QString& name);
    // The file names in the first folder that exists, sorted.
    static QStringList names();
};

} // namespace orvane
