#pragma once

#include "Image.h"
#include "capture/CursorTrack.h"
#include "capture/EventTrack.h"
#include "project/Clip.h"

namespace orvane {

// A synthetic recording for demonstrations, still frames and benchmarks: a desktop with two windows, a
// cursor that travels across it and one click, and a clip that zooms in on the click. Nothing is read
// from disk; the picture is drawn with QPainter (its text needs a QGuiApplication, and is left out
// without one).
class DemoSource {
public:
    static constexpr double clickTime = 1.2;
    static constexpr double duration = 3.0;

    // An opaque picture of the given size.
    static Image image(int width, int height);
    // 120 samples a second from the top left toward the click and on, with the click at (0.62, 0.4) of
    // the source.
    static CursorTrack cursor(Size source);
    // A press and a release of the left button at `clickTime`.
    static EventTrack events(Size source);
    // A clip of the demo recording with the default styles and a zoom in on the click and out again.
    static Clip clip(Size source);
};

} // namespace orvane
