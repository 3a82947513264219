#pragma once

#include "project/Geometry.h"

#include <QString>

#include <cstdint>
#include <optional>

namespace orvane {

// Something that can be recorded: a display (one RandR monitor), a window, or an application. Its numbers
// are valid only for the running X session; a window can be gone by the time it is recorded.
struct CaptureSource {
    enum class Kind { display, window, app };

    QString id; // "display-" + display id, "window-" + window id, or "app-" + bundle id
    Kind kind = Kind::display;
    QString title;
    QString subtitle;
    Size pixelSize;
    std::optional<std::uint32_t> displayID; // set for displays
    std::optional<std::uint32_t> windowID;  // set for windows
    std::optional<QString> appBundleID;     // set for applications

    // "display", "window" or "app".
    static QString kindName(Kind kind);
    static std::optional<Kind> kindFromName(const QString& name);

    // One line for listings: id, kind, pixel size, title and subtitle, separated by tabs.
    QString describe() const;

    bool operator==(const CaptureSource&) const = default;
};

} // namespace orvane
