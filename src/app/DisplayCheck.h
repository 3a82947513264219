#pragma once

#include <QString>

#include <optional>

namespace orvane {

// Why no window can be opened here, or nothing when a display answers: an X server named by DISPLAY
// that accepts a connection, or a Wayland socket named by WAYLAND_DISPLAY. Asked before the GUI toolkit
// starts, which otherwise aborts the process when it finds none.
std::optional<QString> missingDisplayReason();

} // namespace orvane
