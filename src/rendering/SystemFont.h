#pragma once

#include <QFont>

namespace orvane {

// The interface font for text drawn into bitmaps: Inter, else whatever sans-serif the system has.
class SystemFont {
public:
    // Sizes are bitmap pixels, so text keeps its size whatever the screen's density.
    static QFont font(double pixelSize, QFont::Weight weight);
    // Fonts need a QGuiApplication; without one, callers draw no text rather than crash.
    static bool isAvailable();
};

} // namespace orvane
