#pragma once

#include "capture/ManualZoomEvent.h"
#include "project/Geometry.h"
#include "project/ProjectTime.h"

#include <QString>

#include <optional>
#include <vector>

namespace orvane {

// What a finished recording left in the project folder. Paths are absolute (the "URL" fields) and relative
// to the project folder. A recording's sound lies in the audio tracks of its movie, so the audio fields stay
// empty; the camera fields are set only when a camera recorded.
struct CaptureResult {
    QString videoURL;
    std::optional<QString> audioURL;
    QString cursorURL;
    QString eventsURL;
    std::optional<QString> cameraURL;
    QString videoRelativePath;
    std::optional<QString> audioRelativePath;
    QString cursorRelativePath;
    QString eventsRelativePath;
    std::optional<QString> cameraRelativePath;
    ProjectTime duration;
    Size frameSize;
    std::vector<ManualZoomEvent> manualZoomEvents;
    // The desktop drew the pointer into the movie (Wayland portals without cursor metadata): the clip must
    // not draw a second one.
    bool cursorInPicture = false;

    bool operator==(const CaptureResult&) const = default;
};

} // namespace orvane
