#include "AppState.h"

#include <QDesktopServices>
#include <QDir>
#include <QLocale>
#include <QUrl>

#include <algorithm>

namespace orvane {

QString AppState::filteredProjectName(const QString& name) {
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

tl::expected<std::shared_ptr<ProjectBundle>, Error> AppState::makeBundle(const QString& folder,
                                                                         Project project) {
    auto bundle = std::make_shared<ProjectBundle>(folder, std::move(project), m_clock);
    if (auto made = bundle->ensureOnDisk(); !made)
        return tl::unexpected(made.error());
    return bundle;
}

tl::expected<std::shared_ptr<ProjectBundle>, Error> AppState::createProject(const QString& name, int width,
                                                                            int height, int frameRate) {
    const QString filtered = filteredProjectName(name);
    const QString folder =
        QDir(recordingsRootDirectory()).filePath(filtered + QStringLiteral(".orvanescreen"));
    auto bundle = makeBundle(folder, newProject(filtered, std::max(width, 320), std::max(height, 240),
                                                std::clamp(frameRate, 1, 120)));
    if (!bundle)
        return bundle;
    setCurrentBundle(*bundle);
    m_recents.registerBundle(**bundle);
    setScreen(AppScreen::editor);
    return bundle;
}

tl::expected<std::shared_ptr<ProjectBundle>, Error> AppState::ensureBundle() {
    if (m_currentBundle)
        return m_currentBundle;
    const QString name =
        QStringLiteral("Recording ") +
        QLocale::c().toString(m_clock.now().toLocalTime(), QStringLiteral("yyyy-MM-dd HH-mm-ss"));
    const QString folder = QDir(recordingsRootDirectory()).filePath(name + QStringLiteral(".orvanescreen"));
    auto bundle = makeBundle(folder, newProject(name, 1920, 1080, 60));
    if (!bundle)
        return bundle;
    setCurrentBundle(*bundle);
    m_recents.registerBundle(**bundle);
    return bundle;
}

bool AppState::openProject(const QString& path) {
    auto bundle = ProjectBundle::load(path, m_clock);
    if (!bundle) {
        AppError error;
        error.title = tr("Couldn't open the project");
        error.message = bundle.error().description;
        error.recoveryActions.push_back({tr("Browse…"), [self = QPointer<AppState>(this)] {
                                             if (self)
                                                 self->openProject();
                                         }});
        error.recoveryActions.push_back({tr("Open in Finder"), [path] {
                                             QDesktopServices::openUrl(
                                                 QUrl::fromLocalFile(QFileInfo(path).absolutePath()));
                                         }});
        setLastError(std::move(error));
        return false;
    }
    setCurrentBundle(*bundle);
    m_recents.registerBundle(**bundle);
    setScreen(AppScreen::editor);
    return true;
}

void AppState::openProject() {
    if (m_openPanelHandler)
        m_openPanelHandler();
}

void AppState::setCurrentBundle(std::shared_ptr<ProjectBundle> bundle) {
    if (bundle == m_currentBundle)
        return;
    // Steps hold whole projects of the project they were made in; they must not reach another one.
    if (m_currentBundle)
        m_undoManager.removeAllActions();
    m_currentBundle = std::move(bundle);
    Q_EMIT currentBundleChanged();
}

} // namespace orvane
