// Opening and creating projects: the folders of new projects, the open panel's way in, the sample
// project, and the recordings a crash left behind.
#include "ProjectController.h"

#include "AppState.h"
#include "RecordingController.h"
#include "RecordingRecovery.h"
#include "media/GradientMovie.h"
#include "support/Clock.h"

#include <QCoro/QCoroFuture>
#include <QDesktopServices>
#include <QDir>
#include <QFileInfo>
#include <QLocale>
#include <QPointer>
#include <QUrl>
#include <QtConcurrent/QtConcurrentRun>

#include <algorithm>

namespace orvane {

ProjectController::ProjectController(AppState& app, RecentProjectsStore& recents, Clock& clock)
    : m_app(app)
    , m_recents(recents)
    , m_clock(clock) {}

QString ProjectController::filteredProjectName(const QString& name) {
    // Letters, digits, blanks, '-' and '_' only: the name becomes a folder name as it stands.
    QString filtered;
    for (const char32_t c : name.toUcs4()) {
        if (QChar::isLetterOrNumber(c) || QChar::isSpace(c) || c == U'-' || c == U'_')
            filtered += QString::fromUcs4(&c, 1);
    }
    return filtered.isEmpty() ? QStringLiteral("Untitled") : filtered;
}

namespace {
Project newProject(const QString& name, int width, int height, int frameRate) {
    Project p;
    p.id = QUuid::createUuid();
    p.schemaVersion = Project::currentSchemaVersion;
    p.name = name;
    p.createdAt = p.modifiedAt = Project::nowAtWholeSeconds();
    p.canvasSize = Size{double(width), double(height)};
    p.canvasBackground = RGBAColor::black();
    p.frameRate = frameRate;
    p.timeline = Timeline();
    p.defaultBackground = BackgroundStyle::defaults();
    p.defaultFrame = FrameStyle::defaults();
    p.defaultCursor = CursorStyle::defaults();
    p.defaultAutoZoom = AutoZoomConfig::defaults();
    p.notes.clear();
    return p;
}
} // namespace

tl::expected<std::shared_ptr<ProjectBundle>, Error> ProjectController::makeBundle(const QString& folder,
                                                                                  Project project) {
    auto bundle = std::make_shared<ProjectBundle>(folder, std::move(project), m_clock);
    if (auto made = bundle->ensureOnDisk(); !made)
        return tl::unexpected(made.error());
    return bundle;
}

tl::expected<std::shared_ptr<ProjectBundle>, Error>
ProjectController::createProject(const QString& name, int width, int height, int frameRate) {
    const QString filtered = filteredProjectName(name);
    return createAndOpen(
        QDir(m_app.recordingsRootDirectory()).filePath(filtered + QStringLiteral(".orvanescreen")), filtered,
        width, height, frameRate);
}

tl::expected<std::shared_ptr<ProjectBundle>, Error>
ProjectController::createProjectAt(const QString& folder, int width, int height, int frameRate) {
    QString name = QFileInfo(folder).fileName();
    if (name.endsWith(QStringLiteral(".orvanescreen")))
        name.chop(13);
    return createAndOpen(QFileInfo(folder).absoluteFilePath(), filteredProjectName(name), width, height,
                         frameRate);
}

tl::expected<std::shared_ptr<ProjectBundle>, Error> ProjectController::createAndOpen(const QString& folder,
                                                                                     const QString& name,
                                                                                     int width, int height,
                                                                                     int frameRate) {
    auto bundle = makeBundle(
        folder, newProject(name, std::max(width, 320), std::max(height, 240), std::clamp(frameRate, 1, 120)));
    if (!bundle)
        return bundle;
    m_app.setCurrentBundle(*bundle);
    m_recents.registerBundle(**bundle);
    m_app.setScreen(AppScreen::editor);
    return bundle;
}

tl::expected<std::shared_ptr<ProjectBundle>, Error> ProjectController::ensureBundle() {
    if (m_app.currentBundle())
        return m_app.currentBundle();
    const QString name =
        QStringLiteral("Recording ") +
        QLocale::c().toString(m_clock.now().toLocalTime(), QStringLiteral("yyyy-MM-dd HH-mm-ss"));
    const QString folder =
        QDir(m_app.recordingsRootDirectory()).filePath(name + QStringLiteral(".orvanescreen"));
    auto bundle = makeBundle(folder, newProject(name, 1920, 1080, 60));
    if (!bundle)
        return bundle;
    m_app.setCurrentBundle(*bundle);
    m_recents.registerBundle(**bundle);
    return bundle;
}

bool ProjectController::openProject(const QString& path) {
    auto bundle = ProjectBundle::load(path, m_clock);
    if (!bundle) {
        AppError error;
        error.title = tr("Couldn't open the project");
        error.message = bundle.error().description;
        error.recoveryActions.push_back({tr("Browse…"), [self = QPointer<ProjectController>(this)] {
                                             if (self)
                                                 self->openProject();
                                         }});
        error.recoveryActions.push_back({tr("Open in Finder"), [path] {
                                             QDesktopServices::openUrl(
                                                 QUrl::fromLocalFile(QFileInfo(path).absolutePath()));
                                         }});
        m_app.setLastError(std::move(error));
        return false;
    }
    m_app.setCurrentBundle(*bundle);
    m_recents.registerBundle(**bundle);
    m_app.setScreen(AppScreen::editor);
    offerRecovery(*bundle);
    return true;
}

void ProjectController::offerRecovery(const std::shared_ptr<ProjectBundle>& bundle) {
    const QStringList orphans = RecordingRecovery::findOrphans(bundle->path(), bundle->project());
    if (orphans.isEmpty())
        return;
    AppError error;
    error.title = tr("Unfinished recording found");
    error.message = orphans.size() == 1
                        ? tr("A recording in this project was not finished and isn't on the timeline. "
                             "Recover it to add it as a clip with the cursor and clicks that were saved.")
                        : tr("%1 recordings in this project were not finished and aren't on the timeline. "
                             "Recover them to add them as clips with the cursor and clicks that were saved.")
                              .arg(orphans.size());
    error.recoveryActions.push_back({tr("Recover Recording"), [self = QPointer<ProjectController>(this)] {
                                         if (self)
                                             self->recoverRecordings();
                                     }});
    m_app.setLastError(std::move(error));
}

QCoro::Task<int> ProjectController::recoverRecordings() {
    const std::shared_ptr<ProjectBundle> bundle = m_app.currentBundle();
    if (!bundle)
        co_return 0;
    int recovered = 0;
    for (const QString& relative : RecordingRecovery::findOrphans(bundle->path(), bundle->project())) {
        auto rebuilding =
            QtConcurrent::run([paths = bundle->newClipMediaPaths(RecordingRecovery::recordingID(relative))] {
                return RecordingRecovery::rebuild(paths);
            });
        const auto rebuilt = co_await rebuilding;
        if (!rebuilt) {
            AppError error;
            error.title = tr("Couldn't recover the recording");
            error.message = rebuilt.error();
            const QString media = bundle->mediaDirectory();
            error.recoveryActions.push_back({tr("Open Recording in Finder"), [media] {
                                                 QDesktopServices::openUrl(QUrl::fromLocalFile(media));
                                             }});
            m_app.setLastError(std::move(error));
            break;
        }
        bundle->update([&](Project& project) {
            project.timeline.clips.push_back(RecordingController::makeRecordingClip(project, *rebuilt));
        });
        ++recovered;
    }
    if (recovered > 0 && m_app.currentBundle() == bundle)
        m_app.setScreen(AppScreen::editor);
    co_return recovered;
}

void ProjectController::openProject() {
    if (m_openPanelHandler)
        m_openPanelHandler();
}

QString ProjectController::sampleProjectDirectory() {
    return QDir(AppState::moviesDirectory()).filePath(QStringLiteral("Orvane Screen/Sample.orvanescreen"));
}

QCoro::Task<void> ProjectController::openSampleProject() {
    const QString folder = sampleProjectDirectory();
    if (!QFileInfo::exists(QDir(folder).filePath(QStringLiteral("project.json")))) {
        auto making = materializeSampleProject(folder);
        const auto made = co_await making;
        if (!made) {
            AppError error;
            error.title = tr("Couldn't open sample project");
            error.message = made.error().description;
            error.recoveryActions.push_back({tr("Try again"), [self = QPointer<ProjectController>(this)] {
                                                 if (self)
                                                     self->openSampleProject();
                                             }});
            m_app.setLastError(std::move(error));
            co_return;
        }
    }
    openProject(folder);
}

QCoro::Task<tl::expected<void, Error>> ProjectController::materializeSampleProject(QString folder) {
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
        Clip clip = p.makeClip(QStringLiteral("Welcome"), ProjectTime(10), Size{1280, 720});
        clip.trackIndex = p.timeline.ensureTrackIndex(Timeline::TrackKind::video);
        clip.sourceVideoPath = relative;
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
