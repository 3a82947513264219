#pragma once

#include "AppTypes.h"
#include "capture/CaptureEngine.h"
#include "capture/CaptureEnvironment.h"
#include "capture/CaptureResult.h"
#include "capture/CaptureSource.h"
#include "capture/pulse/SoundEffects.h"
#include "project/Clip.h"
#include "project/Project.h"
#include "support/Error.h"

#include <QCoro/QCoroTask>
#include <QObject>
#include <QStringList>

#include <tl/expected.hpp>

#include <chrono>
#include <memory>

namespace orvane {

class AppState;
class Clock;
class UserDefaults;

// The recording side of the application: permissions and sources, the countdown, the capture engine's
// start and stop, and the turning of a finished recording into a clip. It owns the engine while a
// recording runs and keeps every observable field (phase, screen, last error, sources) in AppState, which
// forwards its recording operations here. Main thread only.
class RecordingController : public QObject {
    Q_OBJECT
public:
    static constexpr int countdownSeconds = 3;

    RecordingController(AppState& app, UserDefaults& defaults, Clock& clock);
    ~RecordingController() override;

    // Where capture looks (X display, sound server) and how the engine encodes; tests point these at
    // private servers.
    void setCaptureEnvironment(CaptureEnvironment environment);
    const CaptureEnvironment& captureEnvironment() const { return m_environment; }
    void setCaptureEngineOptions(CaptureEngine::Options options) { m_options = std::move(options); }
    void setCountdownTick(std::chrono::milliseconds tick) { m_countdownTick = tick; }

    const std::shared_ptr<CaptureEngine>& captureEngine() const { return m_engine; }
    QStringList warnings() const { return m_engine ? m_engine->warnings() : m_lastWarnings; }

    QCoro::Task<void> refreshPermissions();
    QCoro::Task<void> checkPermissionsOnLaunch();
    QCoro::Task<tl::expected<void, Error>> refreshSources();
    QCoro::Task<void> apiRefreshSources();
    QCoro::Task<void> beginCapture();
    void cancelCountdown();
    QCoro::Task<void> stopCapture();
    // Stops the running recording and throws it away: no clip, no files; back to the source picker.
    QCoro::Task<void> discardCapture();
    QCoro::Task<void> recordOnboardingSample();
    void apiBeginCaptureNoCountdown();

    // The clip a finished recording becomes in `project`: "Recording N" after everything on the
    // timeline, the project's default looks, the user's manual marks as zoom keyframes, the full sound
    // mix on. A recovered recording is built by the same rule.
    static Clip makeRecordingClip(const Project& project, const CaptureResult& result);

private:
    void failStart(const QString& message);
    void watchSourceEnd(const std::shared_ptr<CaptureEngine>& engine);
    void dropEngine();
    void playRecordingSound(bool starting);
    void appendRecording(const CaptureResult& result);
    QCoro::Task<void> apiStartCapture(CaptureSource source);
    const CaptureSource* selectedSource() const;

    AppState& m_app;
    UserDefaults& m_defaults;
    Clock& m_clock;
    std::shared_ptr<CaptureEngine> m_engine;
    // The warnings of the last recording, kept after its engine has gone.
    QStringList m_lastWarnings;
    CaptureEnvironment m_environment = CaptureEnvironment::fromSystem();
    CaptureEngine::Options m_options;
    std::chrono::milliseconds m_countdownTick{1000};
    SoundEffects m_soundEffects;
};

} // namespace orvane
