#pragma once

#include "project/Geometry.h"

#include <QString>

#include <cstdint>
#include <optional>
#include <vector>

namespace orvane {

// What the window server offers for capture, in its own order, before any filtering: the displays, every
// managed window, and the applications that own them. Rectangles are in global pixels, origin at the top
// left of the root window (on X11 points and pixels are the same).
struct ShareableContent {
    // How an application shows itself: `regular` ones have a window in the task bar, `accessory` ones
    // only panels, docks and windows that skip the task bar. X11 has nothing that `prohibited` would
    // stand for, so it is never produced there; the filter still honours it.
    enum class ActivationPolicy { regular, accessory, prohibited };

    struct Display {
        std::uint32_t displayID = 0;
        Rect frame;
        int width = 0;
        int height = 0;
        bool operator==(const Display&) const = default;
    };

    // One running application: on X11 one WM_CLASS in one process.
    struct Application {
        QString bundleIdentifier; // the WM_CLASS class
        QString applicationName;  // the same class, as the window manager shows it
        std::uint32_t processID = 0;
        ActivationPolicy activationPolicy = ActivationPolicy::regular;
        // A desktop shell, panel or notifier: it owns a dock, desktop or notification window.
        bool isSystemChrome = false;
        bool operator==(const Application&) const = default;
    };

    struct Window {
        std::uint32_t windowID = 0;
        std::optional<QString> title;
        Rect frame;
        std::optional<Application> owningApplication; // absent without WM_CLASS
        // A dock, desktop or notification window: surfaces that sit above or below ordinary windows.
        bool isSystemSurface = false;
        bool operator==(const Window&) const = default;
    };

    std::vector<Display> displays;
    std::vector<Window> windows;
    std::vector<Application> applications;

    bool operator==(const ShareableContent&) const = default;
};

} // namespace orvane
