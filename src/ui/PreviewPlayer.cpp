#include "ui/PreviewPlayer.h"

#include "capture/CursorSmoothing.h"
#include "capture/TelemetryFiles.h"
#include "media/FrameReader.h"
#include "rendering/Compositor.h"
#include "rendering/VideoFrameImage.h"
#include "support/Log.h"

#include <QDir>
#include <QFileInfo>

#include <pthread.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

namespace orvane {

namespace {

// Reverse play decodes forward from a key frame and hands the frames out backwards, this much at a time:
// a quarter second of 1080p is 15 frames, 120 MB held at once.
constexpr double reverseChunkSeconds = 0.25;
// A decoder this far behind the clock seeks ahead instead of decoding frames no one will see.
constexpr double decoderLagSeconds = 0.3;
constexpr int tickMilliseconds = 8;

QString resolve(const QString& folder, const QString& path) {
    return QFileInfo(path).isAbsolute() || folder.isEmpty() ? path : QDir(folder).filePath(path);
}

// The canvas as a QImage over the compositor's own pixels: the image keeps the canvas alive, and the pool
// gets the buffer back when the last QImage copy goes. The preview stands on black, and premultiplied
// pixels read as opaque ones are exactly that canvas over black, so the image says it is opaque and the
// renderer copies it instead of blending every pixel.
QImage sharedImage(const Image& canvas) {
    auto holder = std::make_unique<Image>(canvas);
    const Image& image = *holder;
    QImage shared(
        image.constRow(0), image.width(), image.height(), image.stride(), QImage::Format_RGB32,
        [](void* info) { std::unique_ptr<Image>(static_cast<Image*>(info)); }, holder.get());
    if (!shared.isNull())
        holder.release(); // now owned by the QImage's cleanup
    return shared;
}

// The canvas fitted into the view here rather than by the scene graph: without a GPU the renderer scales
// on the render thread, and a full-size canvas scaled there every frame costs more than composing it.
Image fittedToView(Image canvas, QSize view) {
    if (view.isEmpty() || canvas.isNull())
        return canvas;
    const double scale =
        std::min(double(view.width()) / canvas.width(), double(view.height()) / canvas.height());
    if (scale >= 1)
        return canvas;
    Image fitted = canvas.resampled(std::max(1, int(std::lround(canvas.width() * scale))),
                                    std::max(1, int(std::lround(canvas.height() * scale))));
    return fitted ? fitted : canvas;
}

bool cameraShows(const Clip& clip, double time) {
    if (!clip.cameraEnabledTrack.isEmpty())
        return clip.cameraEnabledTrack.value(ProjectTime(time), clip.camera.isEnabled ? 1.0 : 0.0) > 0.5;
    return clip.camera.isEnabled;
}

void nameThread(std::thread& thread, const char* name) {
    pthread_setname_np(thread.native_handle(), name);
}

} // namespace

struct PreviewPlayer::DecodeState {
    std::unique_ptr<FrameReader> reader;
    std::uint64_t handled = ~std::uint64_t(0);
    Request active;
    bool ended = false;
    double reverseCursor = 0;
    std::vector<VideoFrame> reverseChunk; // decoded forward, handed out from the back
};

struct PreviewPlayer::ComposeShared {
    std::shared_ptr<const Clip> clip;
    std::shared_ptr<const CursorTrack> cursor = std::make_shared<CursorTrack>();
    std::shared_ptr<const EventTrack> events = std::make_shared<EventTrack>();
    std::optional<std::unique_ptr<FrameReader>> newCamera;
};

PreviewPlayer::PreviewPlayer(QByteArray soundServer, QObject* parent)
    : QObject(parent)
    , m_audio(std::move(soundServer))
    , m_shared(std::make_unique<ComposeShared>()) {
    m_ticker.setInterval(tickMilliseconds);
    m_ticker.setTimerType(Qt::PreciseTimer);
    connect(&m_ticker, &QTimer::timeout, this, &PreviewPlayer::tick);
    m_decodeThread = std::thread([this] { decodeLoop(); });
    nameThread(m_decodeThread, "preview-decode");
    m_composeThread = std::thread([this] { composeLoop(); });
    nameThread(m_composeThread, "preview-compose");
}

PreviewPlayer::~PreviewPlayer() {
    {
        std::lock_guard lock(m_pipelineLock);
        m_quit = true;
    }
    m_decodeWake.notify_all();
    m_composeWake.notify_all();
    m_decodeThread.join();
    m_composeThread.join();
}

void PreviewPlayer::loadClip(std::optional<Clip> clip, const QString& folder) {
    m_ticker.stop();
    m_audio.stop();
    const bool wasPlaying = m_playing;
    m_playing = false;
    m_clip = std::move(clip);
    m_duration = 0;
    ++m_loadGeneration;
    {
        std::lock_guard lock(m_pipelineLock);
        m_queue.clear();
        m_lastShown.reset();
        m_request = Request{Mode::idle, 0, 0, m_request.generation + 1};
        m_shared->clip = m_clip ? std::make_shared<const Clip>(*m_clip) : nullptr;
        if (m_clip) {
            Load load;
            load.videoPath = resolve(folder, m_clip->sourceVideoPath);
            if (m_clip->sourceCameraPath && QFileInfo::exists(resolve(folder, *m_clip->sourceCameraPath)))
                load.cameraPath = resolve(folder, *m_clip->sourceCameraPath);
            if (m_clip->sourceCursorPath)
                load.cursorPath = resolve(folder, *m_clip->sourceCursorPath);
            if (m_clip->sourceEventsPath)
                load.eventsPath = resolve(folder, *m_clip->sourceEventsPath);
            load.smoothing = m_clip->cursor.smoothing;
            load.generation = m_loadGeneration;
            m_pendingLoad = std::move(load);
        } else {
            m_pendingLoad = Load{}; // closes the readers
        }
    }
    m_decodeWake.notify_all();
    if (m_clip)
        m_audio.setSource(resolve(folder, m_clip->sourceAudioPath.value_or(m_clip->sourceVideoPath)));
    else
        m_audio.setSource(std::nullopt);
    m_audio.setPosition(0);
    if (wasPlaying)
        Q_EMIT playingChanged();
    setPlayhead(0);
    Q_EMIT loaded();
}

void PreviewPlayer::updateClip(const Clip& clip) {
    if (!m_clip || m_clip->id != clip.id)
        return;
    m_clip = clip;
    {
        std::lock_guard lock(m_pipelineLock);
        m_shared->clip = std::make_shared<const Clip>(clip);
        m_recompose = !m_playing;
    }
    m_composeWake.notify_all();
}

void PreviewPlayer::setViewSize(QSize size) {
    {
        std::lock_guard lock(m_pipelineLock);
        if (size == m_viewSize)
            return;
        m_viewSize = size;
        // A paused frame was fitted to the old size; playing frames pick the new one up by themselves.
        m_recompose = m_recompose || (!m_playing && m_lastShown.has_value());
    }
    m_composeWake.notify_all();
}

void PreviewPlayer::opened(std::uint64_t generation, double duration, double frameRate) {
    if (generation != m_loadGeneration)
        return;
    m_duration = duration;
    m_frameRate = frameRate > 0 ? frameRate : 60;
    {
        std::lock_guard lock(m_pipelineLock);
        m_frameSeconds = 1.0 / m_frameRate;
    }
    Q_EMIT loaded();
    if (m_playing)
        startPlaying();
    else
        request(Mode::still, m_playheadTime, 0);
}

void PreviewPlayer::request(Mode mode, double time, double rate) {
    {
        std::lock_guard lock(m_pipelineLock);
        m_queue.clear();
        m_request = Request{mode, time, rate, m_request.generation + 1};
    }
    m_decodeWake.notify_all();
    m_composeWake.notify_all();
}

void PreviewPlayer::setPlayhead(double seconds) {
    if (seconds == m_playheadTime)
        return;
    m_playheadTime = seconds;
    Q_EMIT playheadTimeChanged();
}

void PreviewPlayer::setRate(double rate) {
    if (rate == m_transportRate)
        return;
    m_transportRate = rate;
    Q_EMIT transportRateChanged();
}

void PreviewPlayer::setPlaying(bool playing) {
    if (playing == m_playing)
        return;
    m_playing = playing;
    if (playing) {
        if (m_transportRate == 0)
            setRate(1);
        startPlaying();
    } else {
        m_ticker.stop();
        m_audio.stop();
        const double at = std::clamp(m_audio.position(), 0.0, m_duration);
        setPlayhead(at);
        // The frame on screen stays; the pipeline only stops reading ahead.
        std::lock_guard lock(m_pipelineLock);
        m_queue.clear();
        m_request = Request{Mode::idle, at, 0, m_request.generation + 1};
    }
    Q_EMIT playingChanged();
}

void PreviewPlayer::startPlaying() {
    if (!m_clip || m_duration <= 0)
        return; // starts when the movie is open
    double from = std::clamp(m_playheadTime, 0.0, m_duration);
    // Play at the end (or reverse at the start) begins again from the other end.
    if (m_transportRate > 0 && from >= m_duration - frameDuration())
        from = 0;
    if (m_transportRate < 0 && from <= 0)
        from = m_duration;
    setPlayhead(from);
    m_audio.start(from, m_transportRate);
    request(Mode::play, from, m_transportRate);
    m_ticker.start();
}

void PreviewPlayer::shuttleForward() {
    setRate(m_transportRate <= 0 ? 1 : std::min(m_transportRate * 2, maxRate));
    if (m_playing)
        startPlaying();
    else
        setPlaying(true);
}

void PreviewPlayer::shuttleReverse() {
    setRate(m_transportRate >= 0 ? -1 : std::max(m_transportRate * 2, -maxRate));
    if (m_playing)
        startPlaying();
    else
        setPlaying(true);
}

void PreviewPlayer::shuttlePause() {
    setRate(0);
    setPlaying(false);
}

void PreviewPlayer::stepFrame(int count) {
    setPlaying(false);
    double target = 0;
    {
        std::lock_guard lock(m_pipelineLock);
        if (m_lastShown && m_lastShown->generation == m_request.generation) {
            // From the frame on screen; half a frame in lands inside the wanted one whatever rounding its
            // timestamp had.
            target = m_lastShown->time + (count + 0.5) * frameDuration();
        } else {
            // The frame asked for last is still on its way (keys pressed faster than frames are decoded), so
            // the one on screen is stale: step from the time asked for, a hair past so that a frame starting
            // exactly there counts.
            target = m_playheadTime + count * frameDuration() + 1e-4;
        }
    }
    seek(std::clamp(target, 0.0, m_duration));
}

void PreviewPlayer::jump(double seconds) {
    const double target = std::max(0.0, m_playheadTime + seconds);
    seek(m_duration > 0 ? std::min(target, m_duration) : target);
}

void PreviewPlayer::seek(double seconds) {
    seconds = std::max(0.0, seconds);
    setPlayhead(seconds);
    if (m_playing) {
        startPlaying();
        return;
    }
    m_audio.setPosition(seconds);
    if (m_clip && m_duration > 0)
        request(Mode::still, seconds, 0);
}

void PreviewPlayer::tick() {
    if (!m_playing)
        return;
    const double now = m_audio.position();
    if (m_transportRate > 0 && now >= m_duration) {
        setPlayhead(m_duration);
        setPlaying(false);
        setPlayhead(m_duration);
        return;
    }
    if (m_transportRate < 0 && now <= 0) {
        setPlaying(false);
        setPlayhead(0);
        return;
    }
    setPlayhead(std::clamp(now, 0.0, m_duration));
}

// ---- decode thread ----

void PreviewPlayer::decodeLoop() {
    DecodeState state;
    std::unique_lock lock(m_pipelineLock);
    while (!m_quit) {
        if (m_pendingLoad) {
            Load load = std::move(*m_pendingLoad);
            m_pendingLoad.reset();
            lock.unlock();
            state = DecodeState{};
            std::unique_ptr<FrameReader> camera;
            double duration = 0;
            double frameRate = 0;
            auto cursor = std::make_shared<CursorTrack>();
            auto events = std::make_shared<EventTrack>();
            if (!load.videoPath.isEmpty()) {
                if (auto reader = FrameReader::open(load.videoPath)) {
                    state.reader = std::move(*reader);
                    duration = state.reader->duration();
                    frameRate = state.reader->frameRate();
                } else {
                    log::warning("Preview", QStringLiteral("the clip's movie could not be opened: ") +
                                                reader.error().description);
                }
                if (load.cameraPath) {
                    if (auto reader = FrameReader::open(*load.cameraPath))
                        camera = std::move(*reader);
                }
                // The smoothing is applied once here, so a later change shows when the clip is next loaded.
                if (load.cursorPath)
                    *cursor = CursorSmoothing::smooth(TelemetryFiles::loadCursorTrack(*load.cursorPath),
                                                      load.smoothing);
                if (load.eventsPath)
                    *events = TelemetryFiles::loadEventTrack(*load.eventsPath);
            }
            lock.lock();
            if (m_pendingLoad)
                continue; // already replaced
            m_shared->cursor = std::move(cursor);
            m_shared->events = std::move(events);
            m_shared->newCamera = std::move(camera);
            m_composeWake.notify_all();
            if (state.reader)
                QMetaObject::invokeMethod(
                    this,
                    [this, generation = load.generation, duration, frameRate] {
                        opened(generation, duration, frameRate);
                    },
                    Qt::QueuedConnection);
            continue;
        }
        if (state.reader && m_request.generation != state.handled) {
            state.handled = m_request.generation;
            state.active = m_request;
            state.ended = false;
            state.reverseChunk.clear();
            const Request active = state.active;
            lock.unlock();
            if (active.mode == Mode::still) {
                auto frame = state.reader->frameAt(active.time);
                lock.lock();
                if (frame && *frame && m_request.generation == active.generation) {
                    const double time = (*frame)->time().seconds();
                    m_queue.push_back(Decoded{std::move(**frame), time, active.generation, true});
                    m_composeWake.notify_all();
                }
                state.active.mode = Mode::idle;
            } else if (active.mode == Mode::play && active.rate > 0) {
                (void)state.reader->seek(active.time);
                lock.lock();
            } else {
                // Just past the playhead, so the frame on screen is the first one handed out backwards.
                state.reverseCursor = active.time + 1e-6;
                lock.lock();
            }
            continue;
        }
        if (!decodeStep(state, lock))
            m_decodeWake.wait(lock);
    }
}

bool PreviewPlayer::decodeStep(DecodeState& state, std::unique_lock<std::mutex>& lock) {
    if (!state.reader || state.active.mode != Mode::play || state.ended ||
        m_queue.size() >= std::size_t(readAheadFrames))
        return false;
    const std::uint64_t generation = state.active.generation;
    const double rate = state.active.rate;
    const double clock = m_audio.position();

    if (rate > 0) {
        lock.unlock();
        auto frame = state.reader->next();
        lock.lock();
        if (m_request.generation != generation)
            return true;
        if (!frame || !*frame) {
            state.ended = true;
            return true;
        }
        const double time = (*frame)->time().seconds();
        if (time + decoderLagSeconds * rate < clock) {
            lock.unlock();
            (void)state.reader->seek(clock + 0.1 * rate);
            lock.lock();
            return true;
        }
        m_queue.push_back(Decoded{std::move(**frame), time, generation, false});
        m_composeWake.notify_all();
        return true;
    }

    if (state.reverseChunk.empty()) {
        if (state.reverseCursor > clock + decoderLagSeconds * -rate)
            state.reverseCursor = clock; // fell behind: skip to the clock
        const double end = state.reverseCursor;
        if (end <= 0) {
            state.ended = true;
            return true;
        }
        lock.unlock();
        std::optional<double> first;
        if (state.reader->seek(std::max(0.0, end - reverseChunkSeconds))) {
            for (;;) {
                auto frame = state.reader->next();
                if (!frame || !*frame || (*frame)->time().seconds() >= end - 1e-6)
                    break;
                if (!first)
                    first = (*frame)->time().seconds();
                state.reverseChunk.push_back(std::move(**frame));
            }
        }
        lock.lock();
        if (m_request.generation != generation) {
            state.reverseChunk.clear();
            return true;
        }
        if (!first) {
            state.ended = true;
            return true;
        }
        state.reverseCursor = *first;
    }
    VideoFrame frame = std::move(state.reverseChunk.back());
    state.reverseChunk.pop_back();
    const double time = frame.time().seconds();
    m_queue.push_back(Decoded{std::move(frame), time, generation, false});
    m_composeWake.notify_all();
    return true;
}

// ---- compose thread ----

bool PreviewPlayer::isDue(double frameTime, double clock, double rate) const {
    // A frame is on screen from its time until the next frame's; backwards, the clock enters it at its end.
    return rate >= 0 ? clock >= frameTime : clock < frameTime + m_frameSeconds;
}

bool PreviewPlayer::waitUntilDue(const Decoded& frame, std::unique_lock<std::mutex>& lock) {
    for (;;) {
        if (m_quit || m_request.generation != frame.generation)
            return false;
        const double rate = m_request.rate;
        const double clock = m_audio.position();
        if (isDue(frame.time, clock, rate))
            return true;
        const double distance = rate >= 0 ? frame.time - clock : clock - (frame.time + m_frameSeconds) + 1e-4;
        const double wait = std::clamp(distance / std::max(std::abs(rate), 1.0), 0.0005, 0.02);
        m_composeWake.wait_for(lock, std::chrono::duration<double>(wait));
    }
}

void PreviewPlayer::composeLoop() {
    std::unique_ptr<Compositor> compositor;
    std::unique_ptr<FrameReader> camera;
    // Far from every time until a camera frame is decoded, so the first one seeks.
    double cameraTime = -std::numeric_limits<double>::infinity();
    std::unique_lock lock(m_pipelineLock);
    while (!m_quit) {
        if (m_shared->newCamera) {
            camera = std::move(*m_shared->newCamera);
            m_shared->newCamera.reset();
            cameraTime = -std::numeric_limits<double>::infinity();
        }
        std::optional<Decoded> next;
        bool recomposing = false;
        if (m_recompose) {
            m_recompose = false;
            recomposing = true;
            next = m_lastShown;
            if (next)
                next->still = true;
        } else if (!m_queue.empty()) {
            next = std::move(m_queue.front());
            m_queue.pop_front();
            m_decodeWake.notify_all();
            if (next->generation != m_request.generation)
                continue;
            if (!next->still && !m_queue.empty() && m_queue.front().generation == next->generation &&
                isDue(m_queue.front().time, m_audio.position(), m_request.rate)) {
                ++m_skippedFrames; // its successor is already due: showing it would only add lateness
                continue;
            }
        }
        if (!next) {
            m_composeWake.wait(lock);
            continue;
        }
        const std::shared_ptr<const Clip> clip = m_shared->clip;
        const std::shared_ptr<const CursorTrack> cursor = m_shared->cursor;
        const std::shared_ptr<const EventTrack> events = m_shared->events;
        Size canvas{1920, 1080};
        if (clip && clip->sourceSize.width > 0 && clip->sourceSize.height > 0)
            canvas = clip->sourceSize;
        else if (m_viewSize.width() > 0 && m_viewSize.height() > 0)
            canvas = Size{double(m_viewSize.width()), double(m_viewSize.height())};
        if (!clip)
            continue;
        const QSize view = m_viewSize;
        lock.unlock();

        if (!compositor || compositor->canvasSize() != canvas)
            compositor = std::make_unique<Compositor>(canvas);
        std::optional<Image> cameraImage;
        if (camera && cameraShows(*clip, next->time)) {
            // Decoding onwards keeps the camera in step; once it is off by more than the tolerance (a seek,
            // a shuttle, a slow decoder) it is sought again.
            if (std::abs(cameraTime - next->time) > cameraResyncSeconds)
                (void)camera->seek(next->time);
            if (auto frame = camera->frameAt(next->time); frame && *frame) {
                cameraTime = (*frame)->time().seconds();
                cameraImage = imageFromVideoFrame(**frame);
            }
        }
        compositor->setCurrentCameraFrame(std::move(cameraImage));
        const Image source = imageFromVideoFrame(next->frame);
        Image composed = compositor->composeFrame(source, *clip, ProjectTime(next->time), *cursor, *events);
        QImage image = sharedImage(fittedToView(std::move(composed), view));

        lock.lock();
        if (!next->still && !waitUntilDue(*next, lock))
            continue;
        if (next->generation != m_request.generation && !recomposing)
            continue;
        m_lastShown = Decoded{next->frame, next->time, next->generation, true};
        QMetaObject::invokeMethod(
            this, [this, image = std::move(image), time = next->time] { Q_EMIT frameComposed(image, time); },
            Qt::QueuedConnection);
    }
}

} // namespace orvane
