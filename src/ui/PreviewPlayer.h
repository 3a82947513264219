#pragma once

#include "capture/CursorTrack.h"
#include "capture/EventTrack.h"
#include "media/VideoFrame.h"
#include "project/Clip.h"
#include "ui/PreviewAudioOutput.h"

#include <QImage>
#include <QObject>
#include <QSize>
#include <QTimer>

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>

namespace orvane {

class Compositor;
class FrameReader;

// Plays one clip's movie through the compositor for the editor's preview. The movie is decoded on the
// "preview-decode" thread a few frames ahead of the clock; the "preview-compose" thread composes each frame
// when its time nears and hands the finished canvas to the main thread (`frameComposed`), at its time on the
// clock. The clock is PreviewAudioOutput's: the sound heard at 1x, else the wall clock. The playhead is the
// position in the source movie, the time the compositor is given.
//
// Everything public is for the main thread. The two threads meet under `pipelineLock`, which guards the
// request, the read-ahead queue and the clip copy; it is never held while decoding or composing, and the
// clock's own lock is only ever taken inside it, never the other way round.
class PreviewPlayer : public QObject {
    Q_OBJECT
public:
    static constexpr int readAheadFrames = 4;
    static constexpr double maxRate = 8;
    // A camera movie further than this from the playhead is sought again rather than decoded onwards.
    static constexpr double cameraResyncSeconds = 0.5;

    explicit PreviewPlayer(QByteArray soundServer = {}, QObject* parent = nullptr);
    ~PreviewPlayer() override;

    // Replaces the movie, the tracks and the camera; paths are resolved against `folder`. None unloads.
    // Shows the first frame once the movie is open.
    void loadClip(std::optional<Clip> clip, const QString& folder);
    // The same clip with other settings: a paused preview composes its frame again at once.
    void updateClip(const Clip& clip);
    // The view's size in device pixels: the canvas when the clip does not say its size, and the size the
    // composed canvas is shrunk to before it is shown.
    void setViewSize(QSize size);

    bool hasClip() const { return m_clip.has_value(); }
    const std::optional<Clip>& clip() const { return m_clip; }
    double duration() const { return m_duration; }
    double frameDuration() const { return 1.0 / m_frameRate; }
    double playheadTime() const { return m_playheadTime; }
    bool isPlaying() const { return m_playing; }
    double transportRate() const { return m_transportRate; }
    // The clock the frames are shown by, callable from any thread.
    double clockTime() const { return m_audio.position(); }
    bool usesSoundServer() const { return m_audio.usesSoundServer(); }
    // Frames decoded but passed over because a later one was already due.
    std::uint64_t skippedFrames() const {
        std::lock_guard lock(m_pipelineLock);
        return m_skippedFrames;
    }

    void setPlaying(bool playing);
    void togglePlay() { setPlaying(!m_playing); }
    void shuttleForward();
    void shuttlePause();
    void shuttleReverse();
    void stepFrame(int count);
    void jump(double seconds);
    void seekToStart() { seek(0); }
    void seekToEnd() { seek(m_duration); }
    // Shows exactly the frame on screen at `seconds`; while playing, plays on from there.
    void seek(double seconds);

Q_SIGNALS:
    // A finished canvas and the source time of the frame in it; the image shares the compositor's pixels.
    void frameComposed(const QImage& image, double sourceTime);
    void loaded();
    void playheadTimeChanged();
    void playingChanged();
    void transportRateChanged();

private:
    enum class Mode { idle, still, play };
    struct Request {
        Mode mode = Mode::idle;
        double time = 0;
        double rate = 0;
        std::uint64_t generation = 0;
    };
    struct Decoded {
        VideoFrame frame;
        double time = 0;
        std::uint64_t generation = 0;
        bool still = false;
    };
    struct Load {
        QString videoPath;
        std::optional<QString> cameraPath;
        std::optional<QString> cursorPath;
        std::optional<QString> eventsPath;
        double smoothing = 0;
        std::uint64_t generation = 0;
    };
    struct DecodeState;
    struct ComposeShared;

    void request(Mode mode, double time, double rate);
    void setPlayhead(double seconds);
    void setRate(double rate);
    void startPlaying();
    void tick();
    void opened(std::uint64_t generation, double duration, double frameRate);

    void decodeLoop();
    bool decodeStep(DecodeState& state, std::unique_lock<std::mutex>& lock);
    void composeLoop();
    void present(Compositor& compositor, const Decoded& frame, FrameReader* camera);
    bool isDue(double frameTime, double clock, double rate) const;
    bool waitUntilDue(const Decoded& frame, std::unique_lock<std::mutex>& lock);

    PreviewAudioOutput m_audio;
    QTimer m_ticker; // moves the playhead with the clock while playing

    // Main thread.
    std::optional<Clip> m_clip;
    double m_duration = 0;
    double m_frameRate = 60;
    double m_playheadTime = 0;
    bool m_playing = false;
    double m_transportRate = 0;
    std::uint64_t m_loadGeneration = 0;

    mutable std::mutex m_pipelineLock; // guards everything below up to the threads
    std::condition_variable m_decodeWake;
    std::condition_variable m_composeWake;
    bool m_quit = false;
    Request m_request;
    std::optional<Load> m_pendingLoad;
    std::deque<Decoded> m_queue;
    std::unique_ptr<ComposeShared> m_shared; // the clip, tracks and camera reader the compositor uses
    QSize m_viewSize;
    double m_frameSeconds = 1.0 / 60;
    bool m_recompose = false;
    std::optional<Decoded> m_lastShown; // for composing again after a style change
    std::uint64_t m_skippedFrames = 0;

    std::thread m_decodeThread;
    std::thread m_composeThread;
};

} // namespace orvane
