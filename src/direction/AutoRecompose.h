#pragma once

#include "capture/CursorTrack.h"
#include "project/Clip.h"
#include "project/Geometry.h"
#include "project/KeyframeTrack.h"
#include "support/SerialExecutor.h"

#include <QCoro/QCoroTask>
#include <QString>

#include <tl/expected.hpp>

#include <functional>
#include <optional>
#include <vector>

namespace orvane {

// Reframes a recording for another aspect ratio: a crop window of the target's shape, fixed in size,
// that follows the subject over time on a spring, written as a zoom track so the compositor needs nothing
// new. It is how a landscape recording becomes a vertical or square one.
//
// Keeps nothing between runs. `recompose` reads the movie (and for a clip, its cursor file) on the
// object's own serial executor and resumes the caller on the main thread, so the object must outlive the
// awaited task.
class AutoRecompose {
public:
    enum class Strategy { followCursor, centerWeighted, faceTracking };

    // A wanted centre of the crop window, normalised to 0...1 from the top left.
    struct Sample {
        double time = 0;
        double x = 0.5;
        double y = 0.5;
        bool operator==(const Sample&) const = default;
    };

    // Where the largest face of the frame at a time lies, as the centre of its box normalised from the top
    // left; none when the frame or the detection fails or shows no face.
    using FaceLocator = std::function<std::optional<Sample>(double seconds)>;

    static constexpr double sampleRate = 2;    // samples a second
    static constexpr double springOmega = 12;  // the spring's angular frequency
    static constexpr double cursorSpan = 0.55; // the cursor's range maps onto the middle of the frame
    static constexpr double driftAmplitude = 0.03;
    static constexpr double driftFrequency = 0.3;

    AutoRecompose();

    // The zoom track for the movie at `source`, of `sourceSize` pixels. Fails only when the movie's length
    // cannot be read; a frame or a detection that fails gives a centred sample.
    QCoro::Task<tl::expected<KeyframeTrack<NormalizedRect>, QString>>
    recompose(QString source, double targetAspect, std::optional<CursorTrack> cursorTrack, Size sourceSize,
              Strategy strategy);
    // The same for a clip of the project in `projectFolder`: its source video, and its cursor file when it
    // has one that decodes (a file that doesn't is no cursor track, not an error).
    QCoro::Task<tl::expected<KeyframeTrack<NormalizedRect>, QString>>
    recompose(Clip clip, QString projectFolder, double targetAspect, Strategy strategy);

    // What `recompose` runs off the main thread.
    static tl::expected<KeyframeTrack<NormalizedRect>, QString>
    recomposeFile(const QString& source, double targetAspect, const std::optional<CursorTrack>& cursorTrack,
                  Size sourceSize, Strategy strategy);

    // ---- the pure steps -------------------------------------------------------------------------------
    // The crop window's normalised size: the full height of a wider source, the full width of a narrower.
    static Size cropWindow(Size sourceSize, double targetAspect);
    // Two a second from 0, the last under half a second before `duration`; none for a duration of 0.
    static std::vector<double> sampleTimes(double duration);
    static std::vector<Sample> sampleFollowCursor(const CursorTrack& cursor, Size sourceSize,
                                                  const std::vector<double>& times);
    static std::vector<Sample> sampleCenterWeighted(const std::vector<double>& times);
    static std::vector<Sample> sampleFaceTracking(const FaceLocator& locate,
                                                  const std::vector<double>& times);
    // A critically damped spring, integrated implicitly per axis: stable at any step, so two samples a
    // second are enough. The first sample stays where it is.
    static std::vector<Sample> springSmooth(const std::vector<Sample>& samples);
    // A keyframe per sample: the window of `window`'s size around it, kept inside the frame.
    static KeyframeTrack<NormalizedRect> keyframes(const std::vector<Sample>& samples, Size window);
    // All of the above for a movie of `duration` seconds; `locate` serves `faceTracking`.
    static KeyframeTrack<NormalizedRect> track(double duration, double targetAspect,
                                               const std::optional<CursorTrack>& cursorTrack, Size sourceSize,
                                               Strategy strategy, const FaceLocator& locate);

private:
    SerialExecutor m_executor;
};

} // namespace orvane
