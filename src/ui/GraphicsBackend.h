#pragma once

namespace orvane {

// Without a GPU, Qt Quick's OpenGL path runs on Mesa's LLVM rasteriser: 50 MB more resident memory and a
// slower first frame than Qt Quick's own software renderer, which draws everything these views use. So the
// desktop build draws in software when no render node exists or software GL was asked for, unless the user
// chose a Qt Quick backend. Call before the first window.
void chooseGraphicsBackend();
// The decision alone, from the environment and the render nodes present.
bool prefersSoftwareRenderer();

} // namespace orvane
