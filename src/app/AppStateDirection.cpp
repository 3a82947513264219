#include "AppState.h"
#include "direction/AutoZoomEngine.h"

namespace orvane {

QCoro::Task<tl::expected<int, Error>> AppState::apiGenerateAutoZoom(QUuid clipID) {
    if (!m_currentBundle)
        co_return tl::unexpected(apiError(QStringLiteral("No project open")));
    const Clip* clip = m_currentBundle->project().timeline.clip(clipID);
    if (!clip)
        co_return tl::unexpected(apiError(QStringLiteral("Clip not found: %1").arg(uuidString(clipID))));

    // The engine reads the clip's files on its own executor; the project may change meanwhile, so the
    // result goes to the clip with that id in the bundle the run started on.
    const std::shared_ptr<ProjectBundle> bundle = m_currentBundle;
    AutoZoomEngine engine;
    auto generating = engine.generate(*clip, *bundle);
    const KeyframeTrack<NormalizedRect> track = co_await generating;
    bundle->update([&](Project& p) {
        for (Clip& c : p.timeline.clips)
            if (c.id == clipID)
                c.zoomTrack = track;
    });
    co_return int(track.count());
}

} // namespace orvane
