#include "MediaWriter.h"

#include "AudioQueue.h"
#include "FFmpegPtr.h"
#include "VideoEncoder.h"

#include <QFile>

#include <pthread.h>

#include <condition_variable>
#include <mutex>
#include <thread>

extern "C" {
#include <libavutil/channel_layout.h>
#include <libavutil/display.h>
}

namespace orvane {

namespace {

struct AudioTrack {
    ff::CodecContextPtr encoder;
    AVStream* stream = nullptr;
    ff::FramePtr frame;
    std::unique_ptr<AudioQueue> queue;
    // Planar samples popped under the lock, copied into `frame` outside it.
    std::vector<float> staging;
    std::vector<float*> stagingPlanes;
    std::int64_t encodedFrames = 0;
    bool finishMarked = false;
    bool flushed = false;
};

struct PendingFrame {
    VideoFrame frame;
    std::int64_t pts = 0;
};

enum class Job { none, video, videoFlush, audio, audioFlush };

std::int64_t ticksSinceStart(MediaTime time, MediaTime start, std::int32_t timescale) {
    const AVRational to{1, timescale};
    return av_rescale_q(time.value, AVRational{1, time.timescale}, to) -
           av_rescale_q(start.value, AVRational{1, start.timescale}, to);
}

} // namespace

struct MediaWriter::State {
    QString path;
    MediaWriterSettings settings;
    ff::OutputFormatPtr format;
    std::unique_ptr<ff::VideoEncoder> video;
    AVStream* videoStream = nullptr;
    std::int64_t nominalFrameTicks = 1;
    std::vector<AudioTrack> audio;
    ff::PacketPtr packet;
    std::optional<FramePool> pool;
    std::thread encoderThread;
    std::size_t nextAudioTrack = 0; // encoder thread only: where the round-robin over tracks resumes
    bool preferAudio = false;       // encoder thread only
    bool closed = false;            // finish() or cancel() ran; caller's thread only

    // queueLock guards everything below. It is never held across an FFmpeg call.
    mutable std::mutex queueLock;
    std::condition_variable workReady;
    std::condition_variable threadEnded;
    // Signalled when a queue gains room or a track can no longer take anything: what the waitUntilReady*
    // calls sleep on. The "any" kind, so that a stop request wakes them too.
    mutable std::condition_variable_any roomChanged;
    std::vector<PendingFrame> videoQueue;
    std::size_t videoHead = 0;
    std::size_t videoCount = 0;
    bool videoFinishMarked = false;
    bool videoFlushed = false;
    std::optional<std::int64_t> lastVideoPts;
    std::optional<MediaTime> sessionStart;
    std::optional<MediaError> error;
    bool stopRequested = false;
    bool threadDone = false;

    void run();
    Job takeJob(PendingFrame& frame, std::size_t& track, std::size_t& frames);
    bool allFlushed() const;
    // Under queueLock. "Settled": ready, or never going to be ready again.
    bool videoReady() const;
    bool videoSettled() const;
    bool audioReady(int track) const;
    bool audioSettled(int track) const;
    tl::expected<void, MediaError> perform(Job job, PendingFrame& frame, std::size_t track,
                                           std::size_t frames);
    tl::expected<void, MediaError> writePackets(AVCodecContext* encoder, AVStream* stream, bool isVideo);
    void fail(MediaError e);
};

bool MediaWriter::State::videoReady() const {
    return video && !error && !stopRequested && !videoFinishMarked && videoCount < videoQueue.size();
}

bool MediaWriter::State::videoSettled() const {
    return !video || error || stopRequested || videoFinishMarked || videoCount < videoQueue.size();
}

bool MediaWriter::State::audioReady(int track) const {
    if (track < 0 || std::size_t(track) >= audio.size() || error || stopRequested)
        return false;
    const AudioTrack& t = audio[std::size_t(track)];
    return !t.finishMarked && t.queue->freeFrames() >= t.queue->capacityFrames() / 2;
}

bool MediaWriter::State::audioSettled(int track) const {
    if (track < 0 || std::size_t(track) >= audio.size() || error || stopRequested)
        return true;
    const AudioTrack& t = audio[std::size_t(track)];
    return t.finishMarked || t.queue->freeFrames() >= t.queue->capacityFrames() / 2;
}

bool MediaWriter::State::allFlushed() const {
    if (video && !videoFlushed)
        return false;
    for (const auto& t : audio)
        if (!t.flushed)
            return false;
    return true;
}

Job MediaWriter::State::takeJob(PendingFrame& frame, std::size_t& track, std::size_t& frames) {
    auto videoJob = [&] {
        if (videoCount > 0) {
            frame = std::move(videoQueue[videoHead]);
            videoHead = (videoHead + 1) % videoQueue.size();
            --videoCount;
            return Job::video;
        }
        if (video && videoFinishMarked && !videoFlushed) {
            videoFlushed = true;
            return Job::videoFlush;
        }
        return Job::none;
    };
    auto audioJob = [&] {
        for (std::size_t k = 0; k < audio.size(); ++k) {
            const std::size_t i = (nextAudioTrack + k) % audio.size();
            AudioTrack& t = audio[i];
            if (t.flushed)
                continue;
            const auto frameSize = std::size_t(t.encoder->frame_size);
            const auto available = std::size_t(t.queue->available());
            if (available >= frameSize || (t.finishMarked && available > 0)) {
                track = i;
                frames = t.queue->pop(t.stagingPlanes.data(), std::min(available, frameSize));
                nextAudioTrack = i + 1;
                return Job::audio;
            }
            if (t.finishMarked) {
                t.flushed = true;
                track = i;
                return Job::audioFlush;
            }
        }
        return Job::none;
    };
    // Alternate, so that a long run of frames does not starve the audio queues or the reverse.
    preferAudio = !preferAudio;
    Job job = preferAudio ? audioJob() : videoJob();
    if (job == Job::none)
        job = preferAudio ? videoJob() : audioJob();
    return job;
}

void MediaWriter::State::run() {
    pthread_setname_np(pthread_self(), "media-writer");
    while (true) {
        PendingFrame frame;
        std::size_t track = 0, frames = 0;
        Job job = Job::none;
        {
            std::unique_lock lock(queueLock);
            while (true) {
                if (stopRequested || error || allFlushed()) {
                    threadDone = true;
                    threadEnded.notify_all();
                    return;
                }
                job = takeJob(frame, track, frames);
                if (job != Job::none)
                    break;
                workReady.wait(lock);
            }
        }
        // Taking a frame or a block of samples made room in its queue.
        if (job == Job::video || job == Job::audio)
            roomChanged.notify_all();
        if (auto done = perform(job, frame, track, frames); !done) {
            fail(done.error());
        }
    }
}

void MediaWriter::State::fail(MediaError e) {
    {
        std::lock_guard lock(queueLock);
        if (!error)
            error = std::move(e);
    }
    // A failed writer is never ready again: nobody may go on waiting for it.
    roomChanged.notify_all();
}

tl::expected<void, MediaError> MediaWriter::State::perform(Job job, PendingFrame& pending, std::size_t track,
                                                           std::size_t frames) {
    switch (job) {
    case Job::video: {
        auto sent = video->send(&pending.frame, pending.pts);
        // The pixels are converted: hand the buffer back to its pool now rather than after the packets.
        pending.frame = {};
        if (!sent)
            return sent;
        return writePackets(video->context(), videoStream, true);
    }
    case Job::videoFlush:
        if (auto sent = video->send(nullptr, 0); !sent)
            return sent;
        return writePackets(video->context(), videoStream, true);
    case Job::audio: {
        AudioTrack& t = audio[track];
        AVFrame* f = t.frame.get();
        int r = av_frame_make_writable(f);
        if (r < 0)
            return tl::unexpected(MediaError::ffmpeg(r, QStringLiteral("Preparing audio")));
        const auto frameSize = std::size_t(t.encoder->frame_size);
        for (int c = 0; c < t.encoder->ch_layout.nb_channels; ++c)
            std::copy_n(t.staging.data() + std::size_t(c) * frameSize, frames,
                        reinterpret_cast<float*>(f->data[c]));
        f->nb_samples = int(frames);
        f->pts = t.encodedFrames;
        t.encodedFrames += std::int64_t(frames);
        r = avcodec_send_frame(t.encoder.get(), f);
        if (r < 0)
            return tl::unexpected(MediaError::ffmpeg(r, QStringLiteral("Encoding audio")));
        return writePackets(t.encoder.get(), t.stream, false);
    }
    case Job::audioFlush: {
        AudioTrack& t = audio[track];
        const int r = avcodec_send_frame(t.encoder.get(), nullptr);
        if (r < 0 && r != AVERROR_EOF)
            return tl::unexpected(MediaError::ffmpeg(r, QStringLiteral("Finishing audio")));
        return writePackets(t.encoder.get(), t.stream, false);
    }
    case Job::none:
        break;
    }
    return {};
}

tl::expected<void, MediaError> MediaWriter::State::writePackets(AVCodecContext* encoder, AVStream* stream,
                                                                bool isVideo) {
    AVPacket* pkt = packet.get();
    while (true) {
        const int r = avcodec_receive_packet(encoder, pkt);
        if (r == AVERROR(EAGAIN) || r == AVERROR_EOF)
            return {};
        if (r < 0)
            return tl::unexpected(MediaError::ffmpeg(r, QStringLiteral("Encoding")));
        // The muxer needs a length for the last frame, which the encoder does not always give.
        if (isVideo && pkt->duration <= 0)
            pkt->duration = nominalFrameTicks;
        av_packet_rescale_ts(pkt, encoder->time_base, stream->time_base);
        pkt->stream_index = stream->index;
        const int w = av_interleaved_write_frame(format.get(), pkt);
        if (w < 0)
            return tl::unexpected(MediaError::ffmpeg(w, QStringLiteral("Writing to the file")));
    }
}

namespace {

tl::expected<void, MediaError> validate(const MediaWriterSettings& s) {
    auto invalid = [](const char* text) {
        return tl::unexpected(MediaError::media(MediaError::invalidSettings, QString::fromUtf8(text)));
    };
    if (!s.video && s.audio.empty())
        return invalid("A movie needs a video or an audio track.");
    if (s.video && s.video->codec == VideoCodec::prores422 && s.container != ContainerFormat::mov)
        return invalid("ProRes needs a QuickTime movie (.mov).");
    if (s.videoQueueDepth < 1 || !(s.audioQueueSeconds > 0))
        return invalid("The writer's queues need room for at least one frame.");
    for (const auto& a : s.audio)
        if (a.sampleRate <= 0 || a.channels < 1 || a.channels > 8 || a.bitRate <= 0)
            return invalid("An audio track's rate, channels or bit rate is not valid.");
    return {};
}

tl::expected<AudioTrack, MediaError> openAudioTrack(const AudioEncoderSettings& s, AVFormatContext* fmt,
                                                    double queueSeconds) {
    AudioTrack t;
    const AVCodec* codec = avcodec_find_encoder(AV_CODEC_ID_AAC);
    if (!codec)
        return tl::unexpected(
            MediaError::media(MediaError::invalidSettings, QStringLiteral("No AAC encoder.")));
    t.encoder.reset(avcodec_alloc_context3(codec));
    AVCodecContext* ctx = t.encoder.get();
    if (!ctx)
        return tl::unexpected(
            MediaError::ffmpeg(AVERROR(ENOMEM), QStringLiteral("Opening the audio encoder")));
    ctx->sample_fmt = AV_SAMPLE_FMT_FLTP;
    ctx->sample_rate = s.sampleRate;
    av_channel_layout_default(&ctx->ch_layout, s.channels);
    ctx->bit_rate = s.bitRate;
    ctx->time_base = AVRational{1, s.sampleRate};
    if (fmt->oformat->flags & AVFMT_GLOBALHEADER)
        ctx->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
    int r = avcodec_open2(ctx, codec, nullptr);
    if (r < 0)
        return tl::unexpected(MediaError::ffmpeg(r, QStringLiteral("Opening the AAC encoder")));
    t.stream = avformat_new_stream(fmt, nullptr);
    if (!t.stream)
        return tl::unexpected(MediaError::ffmpeg(AVERROR(ENOMEM), QStringLiteral("Adding an audio track")));
    r = avcodec_parameters_from_context(t.stream->codecpar, ctx);
    if (r < 0)
        return tl::unexpected(MediaError::ffmpeg(r, QStringLiteral("Adding an audio track")));
    t.stream->time_base = ctx->time_base;

    t.frame.reset(av_frame_alloc());
    if (!t.frame)
        return tl::unexpected(MediaError::ffmpeg(AVERROR(ENOMEM), QStringLiteral("Preparing audio")));
    t.frame->format = ctx->sample_fmt;
    t.frame->sample_rate = ctx->sample_rate;
    t.frame->nb_samples = ctx->frame_size;
    av_channel_layout_copy(&t.frame->ch_layout, &ctx->ch_layout);
    r = av_frame_get_buffer(t.frame.get(), 0);
    if (r < 0)
        return tl::unexpected(MediaError::ffmpeg(r, QStringLiteral("Preparing audio")));
    const auto frameSize = std::size_t(ctx->frame_size);
    t.staging.resize(frameSize * std::size_t(s.channels));
    for (int c = 0; c < s.channels; ++c)
        t.stagingPlanes.push_back(t.staging.data() + std::size_t(c) * frameSize);
    const auto capacity = std::max<std::size_t>(std::size_t(s.sampleRate * queueSeconds), 2 * frameSize);
    // Capture clocks wobble by a few milliseconds; only a gap or overlap beyond 20 ms is taken literally.
    t.queue = std::make_unique<AudioQueue>(s.channels, capacity, s.sampleRate / 50);
    return t;
}

} // namespace

tl::expected<std::unique_ptr<MediaWriter>, MediaError>
MediaWriter::create(const QString& path, const MediaWriterSettings& settings) {
    if (auto valid = validate(settings); !valid)
        return tl::unexpected(valid.error());
    ff::installLogForwarding();
    if (QFile::exists(path) && !QFile::remove(path))
        return tl::unexpected(
            MediaError::media(MediaError::invalidSettings,
                              QStringLiteral("The existing file at \"%1\" cannot be replaced.").arg(path)));

    auto state = std::make_unique<State>();
    state->path = path;
    state->settings = settings;
    const QByteArray encodedPath = QFile::encodeName(path);
    AVFormatContext* raw = nullptr;
    int r = avformat_alloc_output_context2(
        &raw, nullptr, settings.container == ContainerFormat::mov ? "mov" : "mp4", encodedPath.constData());
    if (r < 0 || !raw)
        return tl::unexpected(
            MediaError::ffmpeg(r < 0 ? r : AVERROR(ENOMEM), QStringLiteral("Creating the movie")));
    state->format.reset(raw);
    AVFormatContext* fmt = raw;

    if (settings.video) {
        const VideoEncoderSettings& vs = *settings.video;
        auto encoder = ff::VideoEncoder::open(vs, fmt->oformat->flags & AVFMT_GLOBALHEADER);
        if (!encoder)
            return tl::unexpected(encoder.error());
        state->video = std::move(*encoder);
        AVCodecContext* ctx = state->video->context();
        AVStream* st = avformat_new_stream(fmt, nullptr);
        if (!st)
            return tl::unexpected(
                MediaError::ffmpeg(AVERROR(ENOMEM), QStringLiteral("Adding the video track")));
        r = avcodec_parameters_from_context(st->codecpar, ctx);
        if (r < 0)
            return tl::unexpected(MediaError::ffmpeg(r, QStringLiteral("Adding the video track")));
        // Some encoders name their own tag (ProRes by profile); keep it unless we have a reason not to.
        if (state->video->codecTag() != 0)
            st->codecpar->codec_tag = state->video->codecTag();
        st->time_base = ctx->time_base;
        st->avg_frame_rate = ctx->framerate;
        if (vs.rotationDegrees % 360 != 0) {
            auto* matrix = reinterpret_cast<std::int32_t*>(
                av_stream_new_side_data(st, AV_PKT_DATA_DISPLAYMATRIX, 9 * sizeof(std::int32_t)));
            if (!matrix)
                return tl::unexpected(
                    MediaError::ffmpeg(AVERROR(ENOMEM), QStringLiteral("Adding the video track")));
            // The matrix a player applies to turn the picture clockwise by this angle; FFmpeg's reading side
            // reports it as the negative (counter-clockwise) angle.
            av_display_rotation_set(matrix, double(vs.rotationDegrees));
        }
        state->videoStream = st;
        state->nominalFrameTicks = std::max<std::int64_t>(1, std::llround(vs.timescale / vs.frameRate));
        state->videoQueue.resize(std::size_t(settings.videoQueueDepth));
        state->pool.emplace(vs.width, vs.height, std::size_t(settings.videoQueueDepth) + 2);
    } else {
        state->pool.emplace(1, 1, 1);
    }
    for (const auto& a : settings.audio) {
        auto track = openAudioTrack(a, fmt, settings.audioQueueSeconds);
        if (!track)
            return tl::unexpected(track.error());
        state->audio.push_back(std::move(*track));
    }
    state->packet.reset(av_packet_alloc());
    if (!state->packet)
        return tl::unexpected(MediaError::ffmpeg(AVERROR(ENOMEM), QStringLiteral("Creating the movie")));

    r = avio_open(&fmt->pb, encodedPath.constData(), AVIO_FLAG_WRITE);
    if (r < 0)
        return tl::unexpected(MediaError::ffmpeg(r, QStringLiteral("Creating the file")));
    ff::Dictionary options;
    if (settings.fragmentInterval) {
        options.set("movflags", "frag_keyframe+empty_moov+default_base_moof");
        options.set("frag_duration", (long long)std::llround(*settings.fragmentInterval * 1e6));
        // Every finished fragment goes to the kernel at once, so it survives the process.
        fmt->flags |= AVFMT_FLAG_FLUSH_PACKETS;
    }
    if (settings.video)
        // Keep the caller's clock in the file; the muxer would otherwise pick a multiple of it.
        options.set("video_track_timescale", (long long)settings.video->timescale);
    // A track that gets no samples (a silent microphone) must not hold the others' packets back for long.
    fmt->max_interleave_delta = AV_TIME_BASE;
    r = avformat_write_header(fmt, options.address());
    if (r < 0) {
        state->format.reset();
        QFile::remove(path);
        return tl::unexpected(MediaError::ffmpeg(r, QStringLiteral("Writing the movie's header")));
    }

    std::unique_ptr<MediaWriter> writer(new MediaWriter(std::move(state)));
    State* s = writer->d.get();
    s->encoderThread = std::thread([s] { s->run(); });
    return writer;
}

MediaWriter::MediaWriter(std::unique_ptr<State> state)
    : d(std::move(state)) {}

MediaWriter::~MediaWriter() {
    if (d->encoderThread.joinable()) {
        {
            std::lock_guard lock(d->queueLock);
            d->stopRequested = true;
        }
        d->workReady.notify_all();
        d->roomChanged.notify_all();
        d->encoderThread.join();
    }
}

const MediaWriterSettings& MediaWriter::settings() const {
    return d->settings;
}

QString MediaWriter::videoEncoderName() const {
    return d->video ? d->video->name() : QString();
}

FramePool& MediaWriter::framePool() {
    return *d->pool;
}

void MediaWriter::startSession(MediaTime sourceTime) {
    std::lock_guard lock(d->queueLock);
    if (!d->sessionStart)
        d->sessionStart = sourceTime;
}

bool MediaWriter::isReadyForVideo() const {
    std::lock_guard lock(d->queueLock);
    return d->videoReady();
}

bool MediaWriter::isReadyForAudio(int track) const {
    std::lock_guard lock(d->queueLock);
    return d->audioReady(track);
}

bool MediaWriter::waitUntilReadyForVideo(std::stop_token stop) const {
    std::unique_lock lock(d->queueLock);
    d->roomChanged.wait(lock, stop, [this] { return d->videoSettled(); });
    return d->videoReady();
}

bool MediaWriter::waitUntilReadyForAudio(int track, std::stop_token stop) const {
    std::unique_lock lock(d->queueLock);
    d->roomChanged.wait(lock, stop, [this, track] { return d->audioSettled(track); });
    return d->audioReady(track);
}

tl::expected<void, MediaError> MediaWriter::appendVideo(const VideoFrame& frame, MediaTime time) {
    {
        std::lock_guard lock(d->queueLock);
        if (d->error)
            return tl::unexpected(*d->error);
        if (!d->video)
            return tl::unexpected(MediaError::media(MediaError::invalidSettings,
                                                    QStringLiteral("The movie has no video track.")));
        if (d->videoFinishMarked || d->stopRequested)
            return tl::unexpected(
                MediaError::media(MediaError::finished, QStringLiteral("The video track is finished.")));
        const AVCodecContext* ctx = d->video->context();
        if (frame.isNull() || frame.width() != ctx->width || frame.height() != ctx->height)
            return tl::unexpected(MediaError::media(
                MediaError::invalidSettings, QStringLiteral("A frame's size differs from the video's.")));
        if (!d->sessionStart)
            d->sessionStart = time;
        const std::int64_t pts = ticksSinceStart(time, *d->sessionStart, d->settings.video->timescale);
        if (pts < 0)
            return {};
        if (d->lastVideoPts && pts <= *d->lastVideoPts)
            return tl::unexpected(
                MediaError::media(MediaError::timeOutOfOrder,
                                  QStringLiteral("A frame's time is not after the previous frame's.")));
        if (d->videoCount == d->videoQueue.size())
            return tl::unexpected(
                MediaError::media(MediaError::notReady, QStringLiteral("The video queue is full.")));
        PendingFrame& slot = d->videoQueue[(d->videoHead + d->videoCount) % d->videoQueue.size()];
        slot.frame = frame;
        slot.pts = pts;
        ++d->videoCount;
        d->lastVideoPts = pts;
    }
    d->workReady.notify_one();
    return {};
}

tl::expected<void, MediaError> MediaWriter::appendAudio(int track, std::span<const float> samples,
                                                        MediaTime time) {
    {
        std::lock_guard lock(d->queueLock);
        if (d->error)
            return tl::unexpected(*d->error);
        if (track < 0 || std::size_t(track) >= d->audio.size())
            return tl::unexpected(
                MediaError::media(MediaError::invalidSettings, QStringLiteral("No such audio track.")));
        AudioTrack& t = d->audio[std::size_t(track)];
        if (t.finishMarked || d->stopRequested)
            return tl::unexpected(
                MediaError::media(MediaError::finished, QStringLiteral("The audio track is finished.")));
        const int channels = t.encoder->ch_layout.nb_channels;
        if (samples.size() % std::size_t(channels) != 0)
            return tl::unexpected(MediaError::media(MediaError::invalidSettings,
                                                    QStringLiteral("Audio samples must be whole frames.")));
        if (!d->sessionStart)
            d->sessionStart = time;
        const std::int64_t start = ticksSinceStart(time, *d->sessionStart, t.encoder->sample_rate);
        if (t.queue->push(samples, start) == AudioQueue::Push::full)
            return tl::unexpected(
                MediaError::media(MediaError::notReady, QStringLiteral("The audio queue is full.")));
    }
    d->workReady.notify_one();
    return {};
}

void MediaWriter::markVideoFinished() {
    {
        std::lock_guard lock(d->queueLock);
        d->videoFinishMarked = true;
    }
    d->workReady.notify_one();
    d->roomChanged.notify_all();
}

void MediaWriter::markAudioFinished(int track) {
    {
        std::lock_guard lock(d->queueLock);
        if (track >= 0 && std::size_t(track) < d->audio.size())
            d->audio[std::size_t(track)].finishMarked = true;
    }
    d->workReady.notify_one();
    d->roomChanged.notify_all();
}

std::optional<MediaError> MediaWriter::error() const {
    std::lock_guard lock(d->queueLock);
    return d->error;
}

tl::expected<void, MediaError> MediaWriter::finish() {
    if (d->closed) {
        if (auto e = error())
            return tl::unexpected(*e);
        return tl::unexpected(
            MediaError::media(MediaError::finished, QStringLiteral("The writer is closed.")));
    }
    d->closed = true;
    {
        std::unique_lock lock(d->queueLock);
        d->videoFinishMarked = true;
        for (auto& t : d->audio)
            t.finishMarked = true;
        d->workReady.notify_all();
        d->roomChanged.notify_all();
        d->threadEnded.wait(lock, [this] { return d->threadDone; });
    }
    d->encoderThread.join();
    if (auto e = error()) {
        d->format.reset();
        return tl::unexpected(*e);
    }
    int r = av_write_trailer(d->format.get());
    if (r >= 0 && !(d->format->oformat->flags & AVFMT_NOFILE))
        r = avio_closep(&d->format->pb);
    if (r < 0) {
        d->fail(MediaError::ffmpeg(r, QStringLiteral("Finishing the file")));
        return tl::unexpected(*error());
    }
    d->format.reset();
    return {};
}

void MediaWriter::cancel() {
    {
        std::lock_guard lock(d->queueLock);
        d->stopRequested = true;
        if (!d->error)
            d->error = MediaError::media(MediaError::cancelled, QStringLiteral("Writing was cancelled."));
    }
    d->workReady.notify_all();
    d->roomChanged.notify_all();
    if (d->encoderThread.joinable())
        d->encoderThread.join();
    d->closed = true;
    d->format.reset();
    QFile::remove(d->path);
}

} // namespace orvane
