#pragma once

#include <QImage>

namespace orvane {

// The application's icon, drawn rather than shipped as pictures, so that every size the desktop asks for
// is sharp: a violet tile holding a screen and a recording dot. Below 32 pixels the screen's outline would
// blur into the tile, so small icons keep the tile and the dot alone.
class AppIcon {
public:
    static QImage render(int size);
    // The sizes the desktop's icon theme is given.
    static constexpr int themeSizes[] = {16, 24, 32, 48, 64, 128, 256, 512};
};

} // namespace orvane
