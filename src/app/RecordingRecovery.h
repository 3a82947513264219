#pragma once

#include "capture/CaptureResult.h"
#include "project/Project.h"
#include "project/ProjectBundle.h"

#include <QString>
#include <QStringList>
#include <QUuid>

#include <tl/expected.hpp>

namespace orvane {

// Brings back recordings whose process died before their stop: the movie survives (it is written in
// fragments), the cursor and events may survive in the telemetry journal, but no clip refers to them.
class RecordingRecovery {
public:
    // The movies in `bundlePath`/media named as recordings ("media/clip-<UUID>.mov", not a camera's) that
    // no clip of `project` refers to, oldest first, as paths relative to the bundle.
    static QStringList findOrphans(const QString& bundlePath, const Project& project);

    // The id a recording's movie is named after ("media/clip-<UUID>.mov"); null for other names.
    static QUuid recordingID(const QString& videoRelative);

    // What the stop of that recording would have handed over: the movie's length and size from the
    // file itself, the cursor and event files (written from the journal when the stop never wrote them),
    // the manual zoom marks the journal kept, and the camera's movie when one survived. `paths` are the
    // recording's, as ProjectBundle::newClipMediaPaths names them. Blocking: call it off the main thread.
    // Fails when the movie cannot be read.
    static tl::expected<CaptureResult, QString> rebuild(const ClipMediaPaths& paths);
};

} // namespace orvane
