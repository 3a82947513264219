#pragma once

#include "Compositor.h"

#include <QImage>
#include <QString>

#include <tl/expected.hpp>

namespace orvane {

// One composed frame of a clip as a picture or a PNG file: what a "still" command or a thumbnail needs.
// Needs a QGuiApplication (offscreen is fine) for chrome titles and demo text.
class StillRenderer {
public:
    static tl::expected<QImage, QString> render(Compositor& compositor, const Image& source, const Clip& clip,
                                                ProjectTime time, const CursorTrack& cursor,
                                                const EventTrack& events);
    // Composes on a canvas of `canvas` and writes an 8-bit RGBA PNG (straight alpha) to `path`. The error
    // names what failed: "could not compose the frame" or "could not write <path>".
    static tl::expected<void, QString> writePng(const Image& source, const Clip& clip, ProjectTime time,
                                                const CursorTrack& cursor, const EventTrack& events,
                                                Size canvas, const QString& path);
    // The demo recording (DemoSource) at `time`, composed with `clip`'s styles, written as a PNG.
    static tl::expected<void, QString> writeDemoPng(const Clip& styles, ProjectTime time, Size canvas,
                                                    const QString& path);
};

} // namespace orvane
