#include "Exporter.h"

#include "ExportAudioSource.h"
#include "capture/CursorSmoothing.h"
#include "capture/TelemetryFiles.h"
#include "media/AssetProbe.h"
#include "media/FrameReader.h"
#include "media/MediaWriter.h"
#include "rendering/Compositor.h"
#include "rendering/VideoFrameImage.h"
#include "support/Log.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <cstring>

namespace orvane {

namespace {

VideoCodec writerCodec(ExportConfiguration::Codec codec) {
    switch (codec) {
    case ExportConfiguration::Codec::h264:
        return VideoCodec::h264;
    case ExportConfiguration::Codec::hevc:
        return VideoCodec::hevc;
    case ExportConfiguration::Codec::prores:
        return VideoCodec::prores422;
    }
    return VideoCodec::h264;
}

} // namespace

MediaWriterSettings Exporter::makeVideoSettings(const ExportConfiguration& config, bool withAudio) {
    MediaWriterSettings settings;
    settings.container =
        config.container == ExportConfiguration::Container::mov ? ContainerFormat::mov : ContainerFormat::mp4;
    VideoEncoderSettings video;
    const QSize size = config.outputSize();
    video.width = size.width();
    video.height = size.height();
    video.codec = writerCodec(config.codec);
    video.frameRate = config.preset.frameRate();
    video.keyframeInterval = config.preset.frameRate();
    // A multiple of 600 and of 30000, so the usual source frame times, NTSC rates included, pass unrounded.
    video.timescale = 600 * 100;
    if (config.codec != ExportConfiguration::Codec::prores && config.preset.bitRate() > 0)
        video.bitRate = config.preset.bitRate();
    video.preferHardware = true;
    settings.video = video;
    if (withAudio)
        settings.audio.push_back(AudioEncoderSettings{48000, 2, 192000});
    return settings;
}

namespace {

// The source frame as the compositor's input without a copy and without a handle of its own: the pump
// holds the frame until the composed canvas has been copied out, and the compositor keeps no reference to
// its input, so nothing is allocated per frame.
Image borrowFrame(const VideoFrame& frame) {
    Image image = Image::wrap(const_cast<std::uint8_t*>(frame.data()), frame.width(), frame.height(),
                              frame.stride(), PixelFormat::bgra8Premultiplied, nullptr, nullptr);
    image.setOpaque(true);
    return image;
}

// The camera recording beside the screen: the last camera frame at or before each screen time, and the
// final one after the camera file ends.
class CameraFrameSource {
public:
    explicit CameraFrameSource(std::unique_ptr<FrameReader> reader)
        : m_reader(std::move(reader)) {}

    std::optional<Image> frame(double t) {
        while (!m_exhausted) {
            if (!m_pending) {
                auto next = m_reader->next();
                if (!next || !*next) {
                    m_exhausted = true;
                    break;
                }
                m_pending = std::move(**next);
            }
            if (m_pending->time().seconds() > t)
                break;
            m_last = imageFromVideoFrame(*m_pending);
            m_pending.reset();
        }
        return m_last;
    }

private:
    std::unique_ptr<FrameReader> m_reader;
    std::optional<VideoFrame> m_pending;
    std::optional<Image> m_last;
    bool m_exhausted = false;
};

std::unique_ptr<CameraFrameSource> loadCameraSource(const Clip& clip, const QString& bundlePath) {
    if (!clip.camera.isEnabled || !clip.sourceCameraPath)
        return nullptr;
    const QString path = QDir(bundlePath).filePath(*clip.sourceCameraPath);
    if (!QFileInfo::exists(path))
        return nullptr;
    auto reader = FrameReader::open(path);
    if (!reader)
        return nullptr; // the export goes on without a camera
    return std::make_unique<CameraFrameSource>(std::move(*reader));
}

} // namespace

void Exporter::cancel() {
    m_cancel.request_stop();
}

bool Exporter::isCancelled() const {
    return m_cancel.stop_requested();
}

tl::expected<void, ExporterError> Exporter::exportProject(const Project& project, const QString& bundlePath,
                                                          const ExportConfiguration& config,
                                                          const Progress& progress) {
    if (config.container == ExportConfiguration::Container::gif)
        return tl::unexpected(ExporterError{ExporterError::Kind::notSupported,
                                            QStringLiteral("GIF export is not available in this version.")});
    std::vector<Clip> clips = project.timeline.clips;
    std::stable_sort(clips.begin(), clips.end(),
                     [](const Clip& a, const Clip& b) { return a.timelineStart < b.timelineStart; });
    std::vector<Clip> video;
    bool audioOnly = false;
    for (const Clip& c : clips) {
        if (c.sourceVideoPath.isEmpty())
            audioOnly = true;
        else
            video.push_back(c);
    }
    if (video.empty())
        return tl::unexpected(ExporterError::of(ExporterError::Kind::noClips));
    // Joining several clips and retiming by a speed ramp come with the assembly route; until then such a
    // project is refused rather than rendered wrong.
    if (video.size() > 1 || audioOnly)
        return tl::unexpected(
            ExporterError{ExporterError::Kind::notSupported,
                          QStringLiteral("Exporting several clips or audio-only clips is not available in "
                                         "this version: export one video clip.")});
    if (video.front().speedRamp.count() >= 2)
        return tl::unexpected(ExporterError{
            ExporterError::Kind::notSupported,
            QStringLiteral("Exporting a clip with a speed ramp is not available in this version.")});
    return exportSingleClip(video.front(), bundlePath, config, progress);
}

tl::expected<void, ExporterError> Exporter::exportSingleClip(const Clip& clip, const QString& bundlePath,
                                                             const ExportConfiguration& config,
                                                             const Progress& progress) {
    const QString sourcePath = QDir(bundlePath).filePath(clip.sourceVideoPath);
    if (!QFileInfo(sourcePath).isFile())
        return tl::unexpected(ExporterError::of(ExporterError::Kind::noSource));

    // Telemetry that can't be read is no failure: the export runs without it.
    CursorTrack cursor;
    if (clip.sourceCursorPath)
        cursor = CursorSmoothing::smooth(
            TelemetryFiles::loadCursorTrack(QDir(bundlePath).filePath(*clip.sourceCursorPath)),
            clip.cursor.smoothing);
    EventTrack events;
    if (clip.sourceEventsPath)
        events = TelemetryFiles::loadEventTrack(QDir(bundlePath).filePath(*clip.sourceEventsPath));

    const auto info = probeAsset(sourcePath);
    if (!info || info->videoTracks.empty())
        return tl::unexpected(ExporterError::of(ExporterError::Kind::noSource));
    const double totalSeconds = info->duration > 0 ? info->duration : 0.001;

    const QSize outputSize = config.outputSize();
    Compositor compositor(Size{double(outputSize.width()), double(outputSize.height())});
    auto reader = FrameReader::open(sourcePath);
    if (!reader)
        return tl::unexpected(ExporterError::reader(reader.error().description));
    auto camera = loadCameraSource(clip, bundlePath);
    auto audio = ExportAudioSource::open(sourcePath, clip.audio, config.includeAudio);
    if (!audio)
        return tl::unexpected(audio.error());

    if (QFileInfo::exists(config.outputPath) && !QFile::remove(config.outputPath))
        return tl::unexpected(ExporterError::writer(
            QStringLiteral("Couldn't replace the existing file at %1").arg(config.outputPath)));
    auto created = MediaWriter::create(config.outputPath, makeVideoSettings(config, (*audio)->hasAudio()));
    if (!created)
        return tl::unexpected(ExporterError::writer(created.error().description));
    MediaWriter& writer = **created;
    // Every output frame the pump can hold at once, made now: no frame of the pump allocates, however far
    // the encoder falls behind.
    writer.framePool().reserve(writer.framePool().maxFrames());
    writer.startSession(MediaTime{0, 600});

    auto fail = [&](ExporterError error) -> tl::expected<void, ExporterError> {
        writer.cancel(); // removes the partial file
        QFile::remove(config.outputPath);
        return tl::unexpected(std::move(error));
    };
    const std::stop_token cancelled = m_cancel.get_token();

    // Audio follows the video closely, so the file interleaves well and the muxer buffers little.
    constexpr double audioLead = 0.5;
    constexpr std::size_t audioBlock = 4800;
    // Once the source has no more, the writer's track is finished and never ready again: audio that
    // ends before the video must not be waited for.
    bool audioEnded = false;
    auto feedAudio = [&](double untilSeconds) -> tl::expected<void, ExporterError> {
        ExportAudioSource& source = **audio;
        if (!source.hasAudio() || audioEnded)
            return {};
        while (double(source.position()) / 48000.0 < untilSeconds) {
            if (!writer.waitUntilReadyForAudio(0, cancelled)) {
                if (const auto error = writer.error())
                    return tl::unexpected(ExporterError::writer(error->description));
                return {}; // cancelled: the pump notices
            }
            const std::int64_t at = source.position();
            auto block = source.read(audioBlock);
            if (!block)
                return tl::unexpected(block.error());
            if (block->empty()) {
                writer.markAudioFinished(0);
                audioEnded = true;
                return {};
            }
            if (auto appended = writer.appendAudio(0, *block, MediaTime{at, 48000}); !appended)
                return tl::unexpected(ExporterError::writer(appended.error().description));
        }
        return {};
    };

    while (true) {
        if (isCancelled())
            return fail(ExporterError::of(ExporterError::Kind::cancelled));
        auto next = (*reader)->next();
        if (!next)
            return fail(ExporterError::reader(next.error().description));
        if (!*next)
            break;
        const VideoFrame& source = **next;
        const double pts = source.time().seconds();

        if (camera)
            compositor.setCurrentCameraFrame(camera->frame(pts));
        const Image canvas =
            compositor.composeFrame(borrowFrame(source), clip, ProjectTime(pts), cursor, events);

        // The writer's readiness paces the pump, which sleeps until the encoder makes room; its pool is
        // the second brake. Only a failure or a cancel ends the wait without room.
        if (!writer.waitUntilReadyForVideo(cancelled)) {
            if (const auto error = writer.error())
                return fail(ExporterError::writer(error->description));
            return fail(ExporterError::of(ExporterError::Kind::cancelled));
        }
        VideoFrame out = writer.framePool().acquire(framePoolWait);
        if (!out)
            return fail(ExporterError::writer(QStringLiteral("pixel buffer pool exhausted after retries")));
        const std::size_t rowBytes = std::size_t(std::min(out.width(), canvas.width())) * 4;
        for (int y = 0; y < std::min(out.height(), canvas.height()); ++y)
            std::memcpy(out.row(y), canvas.constRow(y), rowBytes);

        if (auto appended = writer.appendVideo(out, source.time()); !appended)
            return fail(ExporterError::writer(appended.error().description));
        if (auto fed = feedAudio(pts + audioLead); !fed)
            return fail(fed.error());
        if (progress)
            progress(std::clamp(pts / totalSeconds, 0.0, 1.0));
    }
    writer.markVideoFinished();
    if (auto fed = feedAudio(1e12); !fed)
        return fail(fed.error());
    if (isCancelled())
        return fail(ExporterError::of(ExporterError::Kind::cancelled));
    if (auto finished = writer.finish(); !finished) {
        QFile::remove(config.outputPath);
        return tl::unexpected(ExporterError::writer(finished.error().description));
    }
    if (isCancelled()) {
        QFile::remove(config.outputPath);
        return tl::unexpected(ExporterError::of(ExporterError::Kind::cancelled));
    }
    if (progress)
        progress(1.0);
    return {};
}

} // namespace orvane
