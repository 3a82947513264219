#include "ApplyAutoRecompose.h"

#include "support/Log.h"

namespace orvane {

QCoro::Task<void> applyAutoRecompose(std::shared_ptr<ProjectBundle> bundle, double targetAspect,
                                     AutoRecompose::Strategy strategy) {
    if (!bundle)
        co_return;
    // The clips as they are now; the project may change while the movies are read, so each result goes
    // to the clip with that id, if it is still there.
    const std::vector<Clip> clips = bundle->project().timeline.clips;
    AutoRecompose recompose;
    for (const Clip& clip : clips) {
        if (clip.sourceVideoPath.isEmpty())
            continue;
        auto running = recompose.recompose(clip, bundle->path(), targetAspect, strategy);
        const auto track = co_await running;
        if (!track) {
            log::warning("Export",
                         QStringLiteral("recompose of %1 failed: %2").arg(clip.name, track.error()));
            continue;
        }
        bundle->update([&](Project& project) {
            for (Clip& c : project.timeline.clips)
                if (c.id == clip.id)
                    c.zoomTrack = *track;
        });
    }
}

} // namespace orvane
