#include "AutoZoomEngine.h"

#include "ZoomFraming.h"
#include "capture/CursorSmoothing.h"
#include "capture/TelemetryFiles.h"

#include <QCoro/QCoroFuture>
#include <QDir>

#include <algorithm>
#include <cmath>

namespace orvane {

namespace {

constexpr double clusterTimeGap = 0.5;        // seconds between consecutive clicks of one cluster
constexpr double clusterDistanceFactor = 0.2; // of the source's longer side, from the running mean
constexpr double holdTail = 0.4;              // seconds a zoom stays after its last click
constexpr double initialLastEnd = -1000.0;    // before the first zoom nothing is too close

struct Click {
    ProjectTime time;
    double x;
    double y;
};

struct Cluster {
    ProjectTime start;
    ProjectTime end;
    double centerX;
    double centerY;
    int clickCount;
};

std::vector<Cluster> clusterClicks(const std::vector<Click>& clicks, Size sourceSize) {
    const double maxDistance = clusterDistanceFactor * std::max(sourceSize.width, sourceSize.height);
    std::vector<Cluster> clusters;
    ProjectTime start = clicks.front().time;
    ProjectTime last = start;
    double sumX = clicks.front().x;
    double sumY = clicks.front().y;
    int count = 1;
    auto close = [&] {
        clusters.push_back({start, last, sumX / count, sumY / count, count});
    };
    for (std::size_t i = 1; i < clicks.size(); ++i) {
        const Click& c = clicks[i];
        // Distance is measured from the running mean and time from the previous click, so a long chain
        // of nearby clicks stays one cluster however long it lasts.
        const bool tooLate = (c.time - last).seconds > clusterTimeGap;
        const bool tooFar = !tooLate && std::hypot(c.x - sumX / count, c.y - sumY / count) > maxDistance;
        if (tooLate || tooFar) {
            close();
            start = last = c.time;
            sumX = c.x;
            sumY = c.y;
            count = 1;
        } else {
            sumX += c.x;
            sumY += c.y;
            ++count;
            last = c.time;
        }
    }
    close();
    return clusters;
}

// Keeps the busiest clusters when there are more than the rate allows, in time order.
std::vector<Cluster> limitRate(std::vector<Cluster> clusters, const AutoZoomConfig& config,
                               ProjectTime duration) {
    const double cap = std::max(std::trunc(config.maxZoomsPerMinute * duration.seconds / 60), 1.0);
    if (double(clusters.size()) <= cap)
        return clusters;
    std::vector<std::size_t> order(clusters.size());
    for (std::size_t i = 0; i < order.size(); ++i)
        order[i] = i;
    // Stable, so among equally busy clusters the earlier wins.
    std::stable_sort(order.begin(), order.end(), [&](std::size_t a, std::size_t b) {
        return clusters[a].clickCount > clusters[b].clickCount;
    });
    order.resize(std::size_t(cap));
    std::sort(order.begin(), order.end());
    std::vector<Cluster> kept;
    kept.reserve(order.size());
    for (std::size_t i : order)
        kept.push_back(clusters[i]);
    return kept;
}

} // namespace

AutoZoomEngine::AutoZoomEngine()
    : m_executor(QStringLiteral("tech.velvetcomet.orvane.screen.autozoom")) {}

QCoro::Task<KeyframeTrack<NormalizedRect>> AutoZoomEngine::generate(Clip clip, QString projectFolder) {
    // The job is made outside the co_await expression: GCC 12 may destroy temporaries of an awaited
    // full-expression twice.
    QFuture<KeyframeTrack<NormalizedRect>> result =
        m_executor.submit([clip = std::move(clip), folder = std::move(projectFolder)] {
            return generateFromFiles(clip, folder);
        });
    co_return co_await result;
}

KeyframeTrack<NormalizedRect> AutoZoomEngine::generateFromFiles(const Clip& clip,
                                                                const QString& projectFolder) {
    if (!clip.autoZoom.isEnabled || !clip.sourceEventsPath)
        return {};
    const QDir folder(projectFolder);
    auto events = TelemetryFiles::readEventTrack(folder.filePath(*clip.sourceEventsPath));
    if (!events)
        return {};
    // A bad cursor file costs only the aim: the zooms then centre on the clicks themselves.
    const CursorTrack cursor = clip.sourceCursorPath
                                   ? TelemetryFiles::loadCursorTrack(folder.filePath(*clip.sourceCursorPath))
                                   : CursorTrack{};
    const CursorTrack smoothed = CursorSmoothing::smooth(cursor, clip.cursor.smoothing);
    return generateKeyframes(events->events, smoothed, clip.sourceSize, clip.autoZoom, clip.sourceOut);
}

KeyframeTrack<NormalizedRect> AutoZoomEngine::generateKeyframes(const std::vector<InputEvent>& events,
                                                                const CursorTrack& cursor, Size sourceSize,
                                                                const AutoZoomConfig& config,
                                                                ProjectTime duration) {
    KeyframeTrack<NormalizedRect> track;
    if (!(duration.seconds > 0) || !(sourceSize.width > 0) || !(sourceSize.height > 0))
        return track;
    ZoomFraming::insert(track, ProjectTime::zero(), NormalizedRect::unit(), config.easing);

    std::vector<Click> clicks;
    for (const InputEvent& e : events) {
        if (!e.isClick())
            continue;
        const Point at = *e.location();
        clicks.push_back({e.time(), at.x, at.y});
    }
    if (clicks.empty()) {
        ZoomFraming::insert(track, duration, NormalizedRect::unit(), config.easing);
        return track;
    }

    const std::vector<Cluster> kept = limitRate(clusterClicks(clicks, sourceSize), config, duration);
    const double pull = ZoomFraming::centerPull(config);
    double lastEnd = initialLastEnd;
    for (const Cluster& c : kept) {
        if (c.start.seconds - lastEnd < config.minHoldDuration)
            continue;
        // The smoothed cursor at the cluster's middle, where there is one, aims better than the clicks'
        // mean: it is where the viewer's eye is.
        const auto focus =
            CursorSmoothing::sample(cursor, ProjectTime((c.start.seconds + c.end.seconds) * 0.5))
                .value_or(Point{c.centerX, c.centerY});
        const NormalizedRect crop = ZoomFraming::cropRect(focus, sourceSize, config.zoomLevel, pull);
        const ProjectTime holdEnd(c.end.seconds + holdTail);
        ZoomFraming::insertZoom(track, c.start, holdEnd, crop, config);
        lastEnd = holdEnd.seconds + config.zoomOutDuration;
    }

    if (track.isEmpty() || track.keyframes.back().value != NormalizedRect::unit())
        ZoomFraming::insert(track, duration, NormalizedRect::unit(), config.easing);
    return track;
}

} // namespace orvane
