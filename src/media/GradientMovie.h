#pragma once

#include "media/MediaError.h"
#include "media/VideoFrame.h"
#include "project/Geometry.h"

#include <QString>

#include <tl/expected.hpp>

namespace orvane {

// The sample project's movie: a QuickTime file with one H.264 track, each frame a vertical gradient whose
// colours drift with the frame's progress through the movie. Replaces any file at `path` and creates its
// folder. Blocks until the file is written.
//
// Errors: the writer's own, or domain "OrvaneScreen" with code 100 "Couldn't initialize sample writer.",
// 101 "Couldn't create pixel buffer for sample frame." or 102 "Sample writer didn't complete.".
tl::expected<void, MediaError> writeGradientMovie(const QString& path, Size size, double durationSeconds,
                                                  int fps);

// One gradient frame at `progress` (0 to 1): every row one colour, opaque. Null if the size is empty.
VideoFrame makeGradientFrame(Size size, double progress);
// Draws the gradient into an existing frame.
void fillGradientFrame(VideoFrame& frame, double progress);

} // namespace orvane
