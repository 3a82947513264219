#pragma once

#include "RenderingTestSupport.h"
#include "rendering/Compositor.h"

#include <gtest/gtest.h>

namespace orvane::test {

// A 400 by 300 canvas over an 800 by 600 source (both 4:3). With 10% padding the picture fills
// (40, 30, 320, 240), y down, which the probes below rely on.
struct FrameFixture : ::testing::Test {
    static constexpr Size canvas{400, 300};
    static constexpr Size sourceSize{800, 600};
    static constexpr Rect content{40, 30, 320, 240};

    Clip clip = [] {
        Clip c = plainClip(sourceSize);
        c.frame.paddingFraction = 0.1;
        return c;
    }();
    Image source = coordinateSource(800, 600);
    CursorTrack noCursor;
    EventTrack noEvents;

    Image compose(Compositor& compositor, ProjectTime t = ProjectTime(0)) {
        return compositor.composeFrame(source, clip, t, noCursor, noEvents);
    }
    Image compose(ProjectTime t = ProjectTime(0)) {
        Compositor compositor(canvas);
        return compose(compositor, t);
    }
};

inline CursorTrack stillCursor(Point at) {
    CursorTrack track;
    track.samples.push_back({ProjectTime(0), at.x, at.y, 0});
    track.samples.push_back({ProjectTime(10), at.x, at.y, 0});
    return track;
}

inline EventTrack clickAt(Point at, double time) {
    EventTrack track;
    track.events.push_back({InputEvent::LeftMouseDown{ProjectTime(time), at.x, at.y}});
    track.events.push_back({InputEvent::LeftMouseUp{ProjectTime(time + 0.1), at.x, at.y}});
    return track;
}

// The centre and size of what changed between two frames, over changes larger than `threshold`.
struct Difference {
    int count = 0;
    double cx = 0;
    double cy = 0;
    int minX = 1 << 30, minY = 1 << 30, maxX = -1, maxY = -1;
};
inline Difference difference(const Image& a, const Image& b, int threshold = 40) {
    Difference d;
    for (int y = 0; y < a.height(); ++y)
        for (int x = 0; x < a.width(); ++x) {
            if (distance(at(a, x, y), at(b, x, y)) <= threshold)
                continue;
            ++d.count;
            d.cx += x + 0.5;
            d.cy += y + 0.5;
            d.minX = std::min(d.minX, x);
            d.maxX = std::max(d.maxX, x);
            d.minY = std::min(d.minY, y);
            d.maxY = std::max(d.maxY, y);
        }
    if (d.count) {
        d.cx /= d.count;
        d.cy /= d.count;
    }
    return d;
}

} // namespace orvane::test
