#include "ImportController.h"

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

const QStringList& ImportController::supportedVideoExtensions() {
    static const QStringList extensions{QStringLiteral("mov"), QStringLiteral("mp4"), QStringLiteral("m4v"),
                                        QStringLiteral("mkv")};
    return extensions;
}

const QStringList& ImportController::supportedAudioExtensions() {
    static const QStringList extensions{QStringLiteral("mp3"), QStringLiteral("m4a"),
                                        QStringLiteral("wav"), QStringLiteral("aiff"),
                                        QStringLiteral("aif"), QStringLiteral("flac")};
    return extensions;
}

QCoro::Task<tl::expected<void, ImportError>> ImportController::importVideo(QString path) {
    return importFile(std::move(path), false);
}

QCoro::Task<tl::expected<void, ImportError>> ImportController::importAudio(QString path) {
    return importFile(std::move(path), true);
}

QCoro::Task<tl::expected<void, ImportError>> ImportController::importFile(QString path, bool audio) {
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
    m_app.setIsImporting(true);
    struct ImportingFlag {
        AppState* app;
        ~ImportingFlag() { app->setIsImporting(false); }
    } flag{&m_app};

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

    auto bundle = m_app.ensureBundle();
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
        QString name = file.completeBaseName();
        if (name.isEmpty())
            name = audio ? QStringLiteral("Music")
                         : QStringLiteral("Imported %1").arg(project.timeline.clips.size() + 1);
        Clip clip = project.makeClip(name, ProjectTime(probed->duration), sourceSize);
        clip.trackIndex = project.timeline.ensureTrackIndex(audio ? Timeline::TrackKind::music
                                                                  : Timeline::TrackKind::video);
        clip.sourceVideoPath = audio ? QString() : relative;
        if (audio)
            clip.sourceAudioPath = relative;
        project.timeline.add(clip);
    });
    co_return tl::expected<void, ImportError>();
}

AppError ImportController::makeImportError(const QString& path, const ImportError& error, bool isAudio) {
    AppError appError;
    appError.title = tr("Couldn't import file");
    appError.message = error.kind == ImportError::Kind::other
                           ? QFileInfo(path).fileName() + QStringLiteral(" — ") + error.underlying +
                                 QStringLiteral("\n\n") +
                                 (isAudio ? tr("Try converting the file to MP3, M4A, or WAV.")
                                          : tr("Try converting the file to MP4 or MOV."))
                           : error.userFacingMessage();
    appError.recoveryActions.push_back(
        {tr("Choose a different file"), [self = QPointer<ImportController>(this), isAudio] {
             if (self && self->m_importPanelHandler)
                 self->m_importPanelHandler(isAudio);
         }});
    appError.recoveryActions.push_back({tr("Reveal in Finder"), [path] {
                                            QDesktopServices::openUrl(
                                                QUrl::fromLocalFile(QFileInfo(path).absolutePath()));
                                        }});
    return appError;
}

QCoro::Task<void> ImportController::importVideos(QStringList paths) {
    return importList(std::move(paths), false);
}

QCoro::Task<void> ImportController::importAudios(QStringList paths) {
    return importList(std::move(paths), true);
}

QCoro::Task<void> ImportController::importList(QStringList paths, bool audio) {
    for (const QString& path : paths) {
        auto importing = importFile(path, audio);
        const auto imported = co_await importing;
        if (!imported) {
            m_app.setLastError(makeImportError(path, imported.error(), audio));
            co_return;
        }
    }
}

} // namespace orvane
