#pragma once

#include "Image.h"
#include "project/ChromeStyle.h"
#include "project/Geometry.h"

#include <QString>

#include <optional>

namespace orvane {

// The fake window bar, browser bar and device frames drawn around the picture. Sizes are canvas pixels
// and do not follow the canvas: a 52 pixel browser bar is 52 pixels on a 4K canvas too. Nothing here is
// cached; the bars are drawn anew for every frame. Stateless and thread-safe, but text needs a
// QGuiApplication (without one, titles and addresses are left out).
class ChromeRenderer {
public:
    struct Result {
        Rect content;               // where the picture goes now, canvas y down
        std::optional<Image> image; // the chrome, placed on the canvas (y up); none for no chrome
    };

    static constexpr double windowBarHeight = 28;
    static constexpr double browserBarHeight = 52;
    static constexpr double barCornerRadius = 10;

    // `over` is the picture's rectangle, canvas y down; `canvasHeight` places the image.
    static Result drawChrome(const ChromeStyle& style, const Rect& over, double canvasHeight);

    static std::optional<Image> renderMacOSWindowChrome(const QString& title, ChromeStyle::WindowTheme theme,
                                                        const Rect& frame, double titleBarHeight,
                                                        double cornerRadius, double canvasHeight);
    static std::optional<Image> renderBrowserChrome(ChromeStyle::BrowserTheme theme, const QString& urlText,
                                                    const Rect& frame, double titleBarHeight,
                                                    double cornerRadius, double canvasHeight);
    static Result renderMobileDeviceFrame(ChromeStyle::MobileDevice device, const Rect& over,
                                          double canvasHeight);

    struct Device {
        double aspect; // width / height
        double bezel;  // of the smaller side
        double corner; // of the smaller side
        enum class TopFeature { none, island, pill } topFeature;
        bool grayBar;
        bool homeBar;
    };
    static Device device(ChromeStyle::MobileDevice device);
};

} // namespace orvane
