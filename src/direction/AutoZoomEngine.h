#pragma once

#include "capture/CursorTrack.h"
#include "capture/InputEvent.h"
#include "project/AutoZoomConfig.h"
#include "project/Clip.h"
#include "project/KeyframeTrack.h"
#include "project/ProjectBundle.h"
#include "support/SerialExecutor.h"

#include <QCoro/QCoroTask>
#include <QString>

#include <vector>

namespace orvane {

// Turns the clicks of a recording into a camera move: clicks close in time and place become one zoom,
// zooms are rate-limited and spaced, and each lays down four keyframes of the clip's zoom track.
//
// An engine keeps nothing between runs; make a fresh one per run. `generate` does its file reading and
// computing on the engine's own serial executor and resumes the caller on the main thread, so the
// engine must outlive the awaited task.
class AutoZoomEngine {
public:
    AutoZoomEngine();

    // The zoom track for `clip`, whose track files lie under `projectFolder`. Never fails: a disabled
    // auto-zoom, a clip without an event file or an unreadable one give an empty track; a missing or
    // unreadable cursor file only loses the cursor's aim.
    QCoro::Task<KeyframeTrack<NormalizedRect>> generate(Clip clip, QString projectFolder);
    // The same for a clip of an open project; the bundle is read once, before the work leaves.
    QCoro::Task<KeyframeTrack<NormalizedRect>> generate(Clip clip, const ProjectBundle& bundle) {
        return generate(std::move(clip), bundle.path());
    }

    // What `generate` runs off the main thread, for callers that already are (or may block).
    static KeyframeTrack<NormalizedRect> generateFromFiles(const Clip& clip, const QString& projectFolder);

    // The pure core. `cursor` is the smoothed track, sampled at the middle of each cluster to aim the
    // zoom; without samples the zoom aims at the mean of the cluster's clicks. Times are source seconds.
    static KeyframeTrack<NormalizedRect> generateKeyframes(const std::vector<InputEvent>& events,
                                                           const CursorTrack& cursor, Size sourceSize,
                                                           const AutoZoomConfig& config,
                                                           ProjectTime duration);

private:
    SerialExecutor m_executor;
};

} // namespace orvane
