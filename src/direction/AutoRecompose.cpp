#include "AutoRecompose.h"

#include "FaceDetector.h"
#include "capture/TelemetryFiles.h"
#include "media/AssetProbe.h"
#include "media/FrameReader.h"

#include <QCoro/QCoroFuture>
#include <QDir>
#include <QTransform>

#include <algorithm>
#include <cmath>

namespace orvane {

namespace {

constexpr Size unitWindow{1, 1};

// The cursor's position at `t` in source pixels: held before the first sample and after the last, linear
// between the two samples around it.
QPointF cursorAt(const std::vector<CursorSample>& samples, double t) {
    const CursorSample& first = samples.front();
    const CursorSample& last = samples.back();
    if (t <= first.time.seconds)
        return {first.x, first.y};
    if (t >= last.time.seconds)
        return {last.x, last.y};
    std::size_t lo = 0;
    std::size_t hi = samples.size() - 1;
    while (lo + 1 < hi) {
        const std::size_t mid = (lo + hi) / 2;
        if (samples[mid].time.seconds <= t)
            lo = mid;
        else
            hi = mid;
    }
    const CursorSample& a = samples[lo];
    const CursorSample& b = samples[hi];
    const double span = b.time.seconds - a.time.seconds;
    if (span == 0)
        return {a.x, a.y};
    const double u = (t - a.time.seconds) / span;
    return {a.x + (b.x - a.x) * u, a.y + (b.y - a.y) * u};
}

} // namespace

AutoRecompose::AutoRecompose()
    : m_executor(QStringLiteral("tech.velvetcomet.orvane.screen.autorecompose")) {}

Size AutoRecompose::cropWindow(Size sourceSize, double targetAspect) {
    if (sourceSize.width <= 0 || sourceSize.height <= 0 || targetAspect <= 0)
        return unitWindow;
    const double a = sourceSize.width / sourceSize.height;
    return a <= targetAspect ? Size{1, a / targetAspect} : Size{targetAspect / a, 1};
}

std::vector<double> AutoRecompose::sampleTimes(double duration) {
    std::vector<double> times;
    if (!(duration > 0))
        return times;
    const int count = std::max(1, int(std::ceil(duration * sampleRate)));
    times.reserve(size_t(count));
    for (int i = 0; i < count; ++i)
        times.push_back(std::min(i / sampleRate, duration));
    return times;
}

std::vector<AutoRecompose::Sample> AutoRecompose::sampleCenterWeighted(const std::vector<double>& times) {
    // A slow sideways drift keeps the picture alive when there is nothing to follow.
    std::vector<Sample> samples;
    samples.reserve(times.size());
    for (double t : times)
        samples.push_back({t, 0.5 + driftAmplitude * std::sin(driftFrequency * t), 0.5});
    return samples;
}

std::vector<AutoRecompose::Sample> AutoRecompose::sampleFollowCursor(const CursorTrack& cursor,
                                                                     Size sourceSize,
                                                                     const std::vector<double>& times) {
    if (cursor.samples.empty() || sourceSize.width <= 0 || sourceSize.height <= 0)
        return sampleCenterWeighted(times);
    // The cursor's whole range maps into the middle of the frame, so the window never swings to an edge.
    const double offset = (1 - cursorSpan) / 2;
    std::vector<Sample> samples;
    samples.reserve(times.size());
    for (double t : times) {
        const QPointF p = cursorAt(cursor.samples, t);
        samples.push_back({t, p.x() / sourceSize.width * cursorSpan + offset,
                           p.y() / sourceSize.height * cursorSpan + offset});
    }
    return samples;
}

std::vector<AutoRecompose::Sample> AutoRecompose::sampleFaceTracking(const FaceLocator& locate,
                                                                     const std::vector<double>& times) {
    // A moment without a face pulls the window back to the centre rather than holding the last place.
    std::vector<Sample> samples;
    samples.reserve(times.size());
    for (double t : times) {
        const std::optional<Sample> face = locate ? locate(t) : std::nullopt;
        samples.push_back(face ? Sample{t, face->x, face->y} : Sample{t, 0.5, 0.5});
    }
    return samples;
}

std::vector<AutoRecompose::Sample> AutoRecompose::springSmooth(const std::vector<Sample>& samples) {
    if (samples.size() < 2)
        return samples;
    std::vector<Sample> smoothed;
    smoothed.reserve(samples.size());
    smoothed.push_back(samples.front());
    double px = samples.front().x;
    double py = samples.front().y;
    double vx = 0;
    double vy = 0;
    for (std::size_t i = 1; i < samples.size(); ++i) {
        const Sample& goal = samples[i];
        const double dt = std::max(goal.time - samples[i - 1].time, 0.0001);
        const double a = 1 + 2 * springOmega * dt;
        const double b = springOmega * springOmega * dt;
        const double c = springOmega * springOmega * dt * dt;
        const double k = 1 / (a + c);
        const double nextX = (a * px + dt * vx + c * goal.x) * k;
        const double nextY = (a * py + dt * vy + c * goal.y) * k;
        vx = (vx + b * (goal.x - px)) * k;
        vy = (vy + b * (goal.y - py)) * k;
        px = nextX;
        py = nextY;
        smoothed.push_back({goal.time, px, py});
    }
    return smoothed;
}

KeyframeTrack<NormalizedRect> AutoRecompose::keyframes(const std::vector<Sample>& samples, Size window) {
    KeyframeTrack<NormalizedRect> track;
    for (const Sample& s : samples) {
        // Upper bound first, then the lower: a window as large as the frame sits at 0.
        const double x = std::max(std::min(s.x - window.width / 2, 1 - window.width), 0.0);
        const double y = std::max(std::min(s.y - window.height / 2, 1 - window.height), 0.0);
        track.insert({ProjectTime(s.time), NormalizedRect{x, y, window.width, window.height},
                      EasingCurve::cinematic()});
    }
    return track;
}

KeyframeTrack<NormalizedRect> AutoRecompose::track(double duration, double targetAspect,
                                                   const std::optional<CursorTrack>& cursorTrack,
                                                   Size sourceSize, Strategy strategy,
                                                   const FaceLocator& locate) {
    const std::vector<double> times = sampleTimes(duration);
    if (times.empty())
        return {};
    std::vector<Sample> samples;
    switch (strategy) {
    case Strategy::followCursor:
        samples = sampleFollowCursor(cursorTrack.value_or(CursorTrack{}), sourceSize, times);
        break;
    case Strategy::centerWeighted:
        samples = sampleCenterWeighted(times);
        break;
    case Strategy::faceTracking:
        samples = sampleFaceTracking(locate, times);
        break;
    }
    return keyframes(springSmooth(samples), cropWindow(sourceSize, targetAspect));
}

tl::expected<KeyframeTrack<NormalizedRect>, QString>
AutoRecompose::recomposeFile(const QString& source, double targetAspect,
                             const std::optional<CursorTrack>& cursorTrack, Size sourceSize,
                             Strategy strategy) {
    const auto probed = probeAsset(source);
    if (!probed)
        return tl::unexpected(probed.error().description);
    const double duration = probed->duration;

    std::unique_ptr<FrameReader> reader;
    double rotation = 0;
    std::unique_ptr<FaceDetector> detector;
    FaceLocator locate;
    if (strategy == Strategy::faceTracking && duration > 0) {
        if (auto opened = FrameReader::open(source))
            reader = std::move(*opened);
        if (!probed->videoTracks.empty())
            rotation = probed->videoTracks.front().rotationDegrees;
        detector = std::make_unique<FaceDetector>();
        locate = [&](double seconds) -> std::optional<Sample> {
            if (!reader)
                return std::nullopt;
            const auto frame = reader->frameAt(seconds);
            if (!frame || !*frame || (*frame)->isNull())
                return std::nullopt;
            const VideoFrame& picture = **frame;
            // The frame's pixels go back to the reader's pool: the detector works on a copy, upright.
            QImage image = QImage(picture.data(), picture.width(), picture.height(), picture.stride(),
                                  QImage::Format_ARGB32_Premultiplied)
                               .copy();
            if (std::fmod(rotation, 360.0) != 0)
                image = image.transformed(QTransform().rotate(rotation));
            const std::optional<QRectF> face = detector->largestFace(image);
            if (!face)
                return std::nullopt;
            return Sample{seconds, face->center().x(), face->center().y()};
        };
    }
    return track(duration, targetAspect, cursorTrack, sourceSize, strategy, locate);
}

QCoro::Task<tl::expected<KeyframeTrack<NormalizedRect>, QString>>
AutoRecompose::recompose(QString source, double targetAspect, std::optional<CursorTrack> cursorTrack,
                         Size sourceSize, Strategy strategy) {
    auto result = m_executor.submit(
        [source = std::move(source), targetAspect, cursor = std::move(cursorTrack), sourceSize, strategy] {
            return recomposeFile(source, targetAspect, cursor, sourceSize, strategy);
        });
    co_return co_await result;
}

QCoro::Task<tl::expected<KeyframeTrack<NormalizedRect>, QString>>
AutoRecompose::recompose(Clip clip, QString projectFolder, double targetAspect, Strategy strategy) {
    auto result = m_executor.submit([clip = std::move(clip), folder = std::move(projectFolder), targetAspect,
                                     strategy]() -> tl::expected<KeyframeTrack<NormalizedRect>, QString> {
        const QDir dir(folder);
        std::optional<CursorTrack> cursor;
        if (clip.sourceCursorPath)
            if (auto read = TelemetryFiles::readCursorTrack(dir.filePath(*clip.sourceCursorPath)))
                cursor = std::move(*read);
        return recomposeFile(dir.filePath(clip.sourceVideoPath), targetAspect, cursor, clip.sourceSize,
                             strategy);
    });
    co_return co_await result;
}

} // namespace orvane
