#pragma once

#include "project/Project.h"

#include <QImage>
#include <QSize>
#include <QString>

#include <memory>

namespace orvane {

class Compositor;

// A still of a saved project for the version history: its first clip a short way in, composed with that
// clip's styles on the project's canvas and shrunk to fit `bounds`. A clip whose movie cannot be read is
// composed over a plain stand-in picture, so its background and frame still show; a project without clips
// is the bundle's own name card.
//
// Not thread-safe: one thread at a time, and the same one for the renderer's life, since the compositor it
// keeps between stills holds caches for that thread. Needs a QGuiApplication for chrome titles and text.
class VersionPreviewRenderer {
public:
    explicit VersionPreviewRenderer(QSize bounds);
    ~VersionPreviewRenderer();
    VersionPreviewRenderer(const VersionPreviewRenderer&) = delete;
    VersionPreviewRenderer& operator=(const VersionPreviewRenderer&) = delete;

    QImage render(const Project& project, const QString& bundlePath);

    // Where in `clip`'s source the still is taken: past a fade-in at the very start, never past its end.
    static double stillTime(const Clip& clip);

private:
    QImage composed(const Clip& clip, Size canvas, const QString& bundlePath);

    QSize m_bounds;
    std::unique_ptr<Compositor> m_compositor; // reused while the canvas keeps its size
};

} // namespace orvane
