#pragma once

#include "capture/CaptureEngineError.h"
#include "capture/CaptureSource.h"
#include "capture/ShareableContent.h"

#include <tl/expected.hpp>

#include <array>
#include <vector>

namespace orvane {

// This program as the window server sees it, so that its own windows never become sources.
struct OwnProcess {
    QString bundleIdentifier; // our WM_CLASS class; empty if unknown
    std::uint32_t processID = 0;
};

// Where a source's pixels come from: a region of the root window (displays and applications, which
// record the whole display) or one window through Composite.
struct CaptureTarget {
    enum class Kind { display, window };
    Kind kind = Kind::display;
    std::uint32_t displayID = 0;
    std::uint32_t windowID = 0;
    // The captured region in global pixels: the coordinate frame of the telemetry.
    Rect frameInGlobal;
    Size pixelSize;

    bool operator==(const CaptureTarget&) const = default;
};

// The rules that turn shareable content into the sources a user picks from, and a source back into what
// to capture. Pure functions: the window server is asked elsewhere.
class SourceCatalog {
public:
    // Titles of helper windows that no user would call a window; compared after trimming, exactly.
    static constexpr std::array<const char*, 4> junkWindowTitles{"Window", "Item-0", "Focus Proxy",
                                                                 "Backstop Menubar"};
    // Windows this narrow or this low are handles and strips, not windows.
    static constexpr double minimumWindowSide = 80;
    // The size of an application source when there is no display to take it from.
    static constexpr Size fallbackApplicationSize{1920, 1080};

    // Displays in content order, then the windows that pass the filters, then the applications sorted by
    // name, one per bundle identifier.
    static std::vector<CaptureSource> sources(const ShareableContent& content, const OwnProcess& own);

    // The display, window or application of `source` in `content`. An application records the first
    // display whole: X11 cannot leave other applications' windows out of a display's pixels. Fails with
    // sourceNotFound when the id is absent, the bundle id empty, nothing matches or there is no display.
    static tl::expected<CaptureTarget, CaptureEngineError> resolve(const CaptureSource& source,
                                                                   const ShareableContent& content);
};

} // namespace orvane
