#pragma once

#include "export/Exporter.h"
#include "media/MediaTestSupport.h"
#include "speech/AudioTestSupport.h"

#include <QDir>
#include <QMap>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <memory>
#include <vector>

// Readable QString values in failure messages.
inline void PrintTo(const QString& s, std::ostream* os) {
    *os << '"' << s.toStdString() << '"';
}

namespace orvane::test {

inline const RGBAColor exportBackground{0.1, 0.6, 0.3, 1};

// A clip over the movie at `relativePath` with a flat look that pixel probes can read: a solid
// background, no shadow, square corners without a border, no cursor; the audio settings plain.
inline Clip exportClip(const QString& relativePath, Size sourceSize, double seconds) {
    Clip clip;
    clip.id = QUuid::createUuid();
    clip.name = QStringLiteral("Clip");
    clip.sourceVideoPath = relativePath;
    clip.sourceIn = ProjectTime(0);
    clip.sourceOut = ProjectTime(seconds);
    clip.sourceSize = sourceSize;
    clip.background = BackgroundStyle::solid(exportBackground);
    clip.frame.paddingFraction = 0.1;
    clip.frame.cornerRadius = 0;
    clip.frame.shadow = ShadowStyle::none();
    clip.frame.innerBorderWidth = 0;
    clip.cursor.isVisible = false;
    clip.cursor.clickRipple.isEnabled = false;
    clip.audio = AudioConfig{1, 1, false, false};
    return clip;
}

inline Project projectWith(std::vector<Clip> clips) {
    Project project;
    project.id = QUuid::createUuid();
    project.name = QStringLiteral("Export Test");
    project.timeline.clips = std::move(clips);
    return project;
}

// 288 by 288 at 30 frames a second: small and square, so a 4:3 source leaves bands of background above
// and below the picture.
inline ExportConfiguration
smallExport(const QString& output, ExportConfiguration::Codec codec = ExportConfiguration::Codec::h264,
            ExportConfiguration::Container container = ExportConfiguration::Container::mp4,
            bool includeAudio = true) {
    ExportConfiguration config;
    config.outputPath = output;
    config.codec = codec;
    config.container = container;
    config.includeAudio = includeAudio;
    config.preset = ExportConfiguration::Preset::custom(288, 288, 30, 1'000'000);
    return config;
}

struct ExportRun {
    tl::expected<void, ExporterError> result;
    std::vector<double> progress;
};

inline ExportRun runExport(Exporter& exporter, const Project& project, const QString& bundlePath,
                           const ExportConfiguration& config,
                           const std::function<void(double)>& onProgress = {}) {
    ExportRun run;
    run.result = exporter.exportProject(project, bundlePath, config, [&](double p) {
        run.progress.push_back(p);
        if (onProgress)
            onProgress(p);
    });
    return run;
}

inline ExportRun runExport(const Project& project, const QString& bundlePath,
                           const ExportConfiguration& config) {
    Exporter exporter;
    return runExport(exporter, project, bundlePath, config);
}

inline QString describe(const ExportRun& run) {
    return run.result ? QStringLiteral("ok") : run.result.error().description();
}

// ffprobe's "key=value" lines for one stream selection; a key seen twice keeps its last value.
inline QMap<QString, QString> probeStream(const QString& path, const QString& stream, const QString& entries,
                                          bool countFrames = false) {
    QStringList extra{QStringLiteral("-select_streams"), stream};
    if (countFrames)
        extra << QStringLiteral("-count_frames");
    QMap<QString, QString> values;
    for (const QString& line : ffprobe(path, QStringLiteral("stream=") + entries, extra).split(u'\n')) {
        const auto eq = line.indexOf(u'=');
        if (eq > 0)
            values[line.left(eq)] = line.mid(eq + 1).trimmed();
    }
    return values;
}

inline int streamCount(const QString& path, const QString& kind) {
    return int(ffprobe(path, QStringLiteral("stream=index"), {QStringLiteral("-select_streams"), kind})
                   .count(QStringLiteral("index=")));
}

// A movie made with the ffmpeg tool: a grey 160x120 picture at 30 fps with AAC tracks whose samples
// follow the given aevalsrc expressions (commas escaped), all `seconds` long.
inline bool makeMovieWithTracks(const QString& path, double seconds, const QStringList& audioExpressions) {
    const QString d = QString::number(seconds);
    QStringList args{QStringLiteral("-f"), QStringLiteral("lavfi"), QStringLiteral("-i"),
                     QStringLiteral("color=c=gray:s=160x120:r=30:d=") + d};
    for (const QString& e : audioExpressions)
        args << QStringLiteral("-f") << QStringLiteral("lavfi") << QStringLiteral("-i")
             << QStringLiteral("aevalsrc=%1:s=48000:d=%2").arg(e, d);
    for (int i = 0; i <= audioExpressions.size(); ++i)
        args << QStringLiteral("-map") << QString::number(i);
    args << QStringLiteral("-c:v") << QStringLiteral("libx264") << QStringLiteral("-preset")
         << QStringLiteral("ultrafast") << QStringLiteral("-pix_fmt") << QStringLiteral("yuv420p")
         << QStringLiteral("-c:a") << QStringLiteral("aac") << QStringLiteral("-b:a")
         << QStringLiteral("192k");
    return ffmpegMake(args, path);
}

} // namespace orvane::test
