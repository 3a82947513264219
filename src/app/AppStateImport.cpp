#include "AppState.h"
#include "media/AssetProbe.h"
#include "media/GradientMovie.h"

#include <QCoro/QCoroFuture>
#include <QDesktopServices>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QUrl>
#include <QtConcurrent/QtConcurrentRun>

#include <cmath>

namespace orvane {

const QStringList& AppState::supportedVideoExtensions() {
    static const QStringList extensions{QStringLiteral("mov"), QStringLiteral("mp4"), QStringLiteral("m4v"),
                                        QStringLiteral("mkv")};
    return extensions;
}

const QStringList& AppState::supportedAudioExtensions() {
    static const QStringList extensions{QStringLiteral("mp3"), QStringLiteral("m4a"),
                                        QStringLiteral("wav"), QStringLiteral("aiff"),
                                        QStringLiteral("aif"), QStringLiteral("flac")};
    return extensions;
}

QCoro::Task<tl::expected<void, ImportError>> AppState::importVideo(QString path) {
    return importFile(std::move(path), false);
}

QCoro::Task<tl::expected<void, ImportError>> AppState::importAudio(QString path) {
    return importFile(std::move(path), true);
}

QCoro::Task<tl::expected<void, ImportError>> AppState::importFile(QString path, bool audio) {
    using Kind = ImportError::Kind;
    const QFileInfo file(path);
    const QString name = file.fileName();
    const QString extension = file.suffix().toLower();
    auto failure = [&](Kind kind, QString underlying = {}) {
        return tl::unexpected(ImportError{
            kind, name, QString::fromLatin1(audio ? ImportError::expectedAudio : ImportError::expectedVideo),
            std::move(underlying)});
    };

    if (!(audio ? supportedAudioExtensions() : supportedVideoExtensions()).contains(extension))
        co_return failure(Kind::unsupportedFormat);
    if (!file.exists())
        co_return failure(Kind::fileMissing);

    // isImporting is true from here on and false again on every way out.
    setIsImporting(true);
    struct ImportingFlag {
        AppState* app;
        ~ImportingFlag() { app->setIsImporting(false); }
    } flag{this};

    // GCC 12 destroys a temporary awaited in place twice: every awaited object is a named local here.
    auto probing = QtConcurrent::run([path] { return probeAsset(path); });
    const auto probed = co_await probing;
    if (!probed)
        co_return failure(Kind::invalidAsset, probed.error().description);
    if (!probed->isPlayable)
        co_return failure(Kind::invalidAsset, audio ? QStringLiteral("File is not a playable audio asset.")
                                                    : QStringLiteral("File is not a playable video asset."));
    if (!std::isfinite(probed->duration) || probed->duration <= 0)
        co_return failure(Kind::invalidAsset, QStringLiteral("File has zero duration."));
    Size sourceSize{0, 0};
    if (!audio) {
        if (probed->videoTracks.empty())
            co_return failure(Kind::noVideoTrack);
        sourceSize = probed->videoTracks.front().displaySize;
    }

    auto bundle = ensureBundle();
    if (!bundle)
        co_return failure(Kind::other, bundle.error().description);
    const std::shared_ptr<ProjectBundle> target = *bundle;

    const QString relative = (audio ? QStringLiteral("media/audio-") : QStringLiteral("media/imported-")) +
                             uuidString(QUuid::createUuid()) + u'.' + extension;
    const QString destination = target->mediaPath(relative);
    const QString mediaFolder = target->mediaDirectory();
    auto copying = QtConcurrent::run([path, destination, mediaFolder]() -> QString {
        if (!QDir().mkpath(mediaFolder))
            return QStringLiteral("The folder “media” couldn't be created.");
        if (QFileInfo::exists(destination) && !QFile::remove(destination))
            return QStringLiteral("The file “%1” couldn't be replaced.")
                .arg(QFileInfo(destination).fileName());
        QFile source(path);
        if (!source.copy(destination))
            return source.errorString();
        return {};
    });
    const QString copyError = co_await copying;
    if (!copyError.isEmpty())
        co_return failure(Kind::copyFailed, copyError);

    // The project may have changed while the copy ran; the clip goes into the one the file went to.
    target->update([&](Project& project) {
        Clip clip;
        clip.id = QUuid::createUuid();
        clip.trackIndex = project.timeline.ensureTrackIndex(audio ? Timeline::TrackKind::music
                                                                  : Timeline::TrackKind::video);
        clip.name = file.completeBaseName();
        if (clip.name.isEmpty())
            clip.name = audio ? QStringLiteral("Music")
                              : QStringLiteral("Imported %1").arg(project.timeline.clips.size() + 1);
        clip.sourceVideoPath = audio ? QString() : relative;
        if (audio)
            clip.sourceAudioPath = relative;
        clip.sourceIn = ProjectTime(0);
        clip.sourceOut = ProjectTime(probed->duration);
        clip.timelineStart = project.timeline.duration();
        clip.sourceSize = sourceSize;
        clip.speed = 1;
        clip.background = project.defaultBackground;
        clip.frame = project.defaultFrame;
        clip.cursor = project.defaultCursor;
        clip.autoZoom = project.defaultAutoZoom;
        project.timeline.add(clip);
    });
    co_return tl::expected<void, ImportError>();
}

AppError AppState::makeImportError(const QString& path, const ImportError& error, bool isAudio) {
    AppError appError;
    appError.title = tr("Couldn't import file");
    appError.message = error.kind == ImportError::Kind::other
                           ? QFileInfo(path).fileName() + QStringLiteral(" — ") + error.underlying +
                                 QStringLiteral("\n\n") +
                                 (isAudio ? tr("Try converting the file to MP3, M4A, or WAV.")
                                          : tr("Try converting the file to MP4 or MOV."))
                           : error.userFacingMessage();
    appError.recoveryActions.push_back(
        {tr("Choose a different file"), [self = QPointer<AppState>(this), isAudio] {
             if (self && self->m_importPanelHandler)
                 self->m_importPanelHandler(isAudio);
         }});
    appError.recoveryActions.push_back({tr("Reveal in Finder"), [path] {
                                            QDesktopServices::openUrl(
                                                QUrl::fromLocalFile(QFileInfo(path).absolutePath()));
                                        }});
    return appError;
}

QCoro::Task<void> AppState::importVideos(QStringList paths) {
    return importList(std::move(paths), false);
}

QCoro::Task<void> AppState::importAudios(QStringList paths) {
    return importList(std::move(paths), true);
}

QCoro::Task<void> AppState::importList(QStringList paths, bool audio) {
    for (const QString& path : paths) {
        auto importing = importFile(path, audio);
        const auto imported = co_await importing;
        if (!imported) {
            setLastError(makeImportError(path, imported.error(), audio));
            co_return;
        }
    }
}

QString AppState::sampleProjectDirectory() {
    return QDir(moviesDirectory()).filePath(QStringLiteral("Orvane Screen/Sample.orvanescreen"));
}

QCoro::Task<void> AppState::openSampleProject() {
    const QString folder = sampleProjectDirectory();
    if (!QFileInfo::exists(QDir(folder).filePath(QStringLiteral("project.json")))) {
        auto making = materializeSampleProject(folder);
        const auto made = co_await making;
        if (!made) {
            AppError error;
            error.title = tr("Couldn't open sample project");
            error.message = made.error().description;
            error.recoveryActions.push_back({tr("Try again"), [self = QPointer<AppState>(this)] {
                                                 if (self)
                                                     self->openSampleProject();
                                             }});
            setLastError(std::move(error));
            co_return;
        }
    }
    openProject(folder);
}

QCoro::Task<tl::expected<void, Error>> AppState::materializeSampleProject(QString folder) {
    Project project;
    project.id = QUuid::createUuid();
    project.name = QStringLiteral("Welcome to Orvane Screen");
    project.timeline = Timeline();
    project.frameRate = 60;
    auto bundle = std::make_shared<ProjectBundle>(folder, project);
    if (auto made = bundle->ensureOnDisk(); !made)
        co_return tl::unexpected(made.error());

    const QString relative =
        QStringLiteral("media/sample-") + uuidString(QUuid::createUuid()) + QStringLiteral(".mov");
    const QString moviePath = bundle->mediaPath(relative);
    // Encoding takes a second or two: off the main thread, so the window stays live.
    auto writing = QtConcurrent::run([moviePath] {
        return writeGradientMovie(moviePath, Size{1280, 720}, 10.0, 30);
    });
    const auto written = co_await writing;
    if (!written)
        co_return tl::unexpected(
            Error::make(written.error().domain, written.error().code, written.error().description));

    bundle->update([&](Project& p) {
        Clip clip;
        clip.id = QUuid::createUuid();
        clip.name = QStringLiteral("Welcome");
        clip.trackIndex = p.timeline.ensureTrackIndex(Timeline::TrackKind::video);
        clip.sourceVideoPath = relative;
        clip.sourceIn = ProjectTime(0);
        clip.sourceOut = ProjectTime(10);
        clip.timelineStart = ProjectTime(0);
        clip.sourceSize = Size{1280, 720};
        clip.speed = 1;
        clip.background = p.defaultBackground;
        clip.frame = p.defaultFrame;
        clip.cursor = p.defaultCursor;
        clip.autoZoom = p.defaultAutoZoom;
        clip.camera = CameraOverlay::defaults();

        TextOverlay title;
        title.id = QUuid::createUuid();
        title.text = QStringLiteral("Welcome to Orvane Screen");
        title.style = TextStyle::titleCard();
        title.timeRange = TimeRange{ProjectTime(0.5), ProjectTime(3.5)};
        title.position = TextOverlay::Position::middleCenter;
        title.animation = TextOverlay::Animation::fadeIn;
        TextOverlay lower;
        lower.id = QUuid::createUuid();
        lower.text = QStringLiteral("Cinematic screen recordings, made simple");
        lower.style = TextStyle::lowerThird();
        lower.timeRange = TimeRange{ProjectTime(4.5), ProjectTime(4.5)};
        lower.position = TextOverlay::Position::lowerThird;
        lower.animation = TextOverlay::Animation::slideUp;
        clip.textOverlays = {title, lower};

        CaptionsTrack captions;
        captions.captions = {
            Caption::create(ProjectTime(0.5), ProjectTime(3.0), QStringLiteral("Record. Polish. Ship.")),
            Caption::create(ProjectTime(4.0), ProjectTime(3.0), QStringLiteral("Auto-zoom on every click.")),
            Caption::create(ProjectTime(7.5), ProjectTime(2.5),
                            QStringLiteral("Export to MP4, HEVC, or ProRes.")),
        };
        captions.style = CaptionsStyle{44,
                                       TextStyle::FontWeight::semibold,
                                       RGBAColor::white(),
                                       RGBAColor{0, 0, 0, 0.72},
                                       CaptionPosition::bottom,
                                       0.82,
                                       true,
                                       RGBAColor{1, 0.84, 0.2, 1}};
        clip.captions = captions;
        p.timeline.add(clip);
    });
    co_return bundle->flushPendingSave();
}

} // namespace orvane
