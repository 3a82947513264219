// Routes that create, open and read the project.
#include "ApiClipJson.h"
#include "LocalAPIServer.h"

#include <QDir>
#include <QFileInfo>
#include <QUrl>

namespace orvane {

namespace {

void handleProjectCreate(const ApiCall& call) {
    const QString name = call.string("name").value_or(QStringLiteral("Untitled"));
    const int width = call.integer("width").value_or(1920);
    const int height = call.integer("height").value_or(1080);
    const int frameRate = call.integer("frameRate").value_or(60);
    call.onMain([=](LocalScreenAPIDelegate& app) {
        auto bundle = app.createProject(name, width, height, frameRate);
        if (!bundle)
            return ApiResponse::error(500, bundle.error().description);
        const Project& p = (*bundle)->project();
        return ApiResponse::ok(
            {{"projectPath", (*bundle)->path()},
             {"name", p.name},
             {"canvasSize", JsonObject{{"width", p.canvasSize.width}, {"height", p.canvasSize.height}}},
             {"frameRate", p.frameRate}});
    });
}

void handleProjectOpen(const ApiCall& call) {
    const QString path = call.string("path").value_or(QString());
    if (path.isEmpty())
        return call.respond(400, QStringLiteral("Missing 'path'"));
    // Checked here, on the server's thread; the opening itself is not waited for.
    if (!QFileInfo(QDir(path).filePath(QStringLiteral("project.json"))).isFile())
        return call.respond(404, QStringLiteral("No project.json at %1").arg(path));
    call.onMain([path](LocalScreenAPIDelegate& app) {
        app.openProject(path);
        return ApiResponse::ok({{"projectPath", path}});
    });
}

JsonArray clipSummaries(const Project& project) {
    JsonArray clips;
    clips.reserve(qsizetype(project.timeline.clips.size()));
    for (const Clip& c : project.timeline.clips)
        clips.append(clipSummaryJson(c));
    return clips;
}

void handleProjectInfo(const ApiCall& call) {
    call.onMain([](LocalScreenAPIDelegate& app) {
        const auto bundle = app.currentBundle();
        if (!bundle)
            return ApiResponse::error(404, QStringLiteral("No project open"));
        const Project& p = bundle->project();
        JsonArray tracks;
        for (const Timeline::Track& t : p.timeline.tracks)
            tracks.append(JsonObject{{"id", uuidString(t.id)},
                                     {"name", t.name},
                                     {"kind", std::string(enumName(t.kind))},
                                     {"muted", t.muted},
                                     {"locked", t.locked},
                                     {"visible", t.visible}});
        JsonObject body{{"id", uuidString(p.id)},
                        {"name", p.name},
                        {"canvasSize", JsonObject{{"width", qint64(std::llround(p.canvasSize.width))},
                                                  {"height", qint64(std::llround(p.canvasSize.height))}}},
                        {"frameRate", p.frameRate},
                        {"duration", roundedSeconds(p.timeline.duration().seconds)},
                        {"clipCount", int(p.timeline.clips.size())},
                        {"projectPath", bundle->path()},
                        {"notes", p.notes}};
        // The lists go in by move: in the braces above they would be copied whole.
        body.insert("clips", clipSummaries(p));
        body.insert("tracks", std::move(tracks));
        return ApiResponse::json(std::move(body));
    });
}

void handleListClips(const ApiCall& call) {
    call.onMain([](LocalScreenAPIDelegate& app) {
        const auto bundle = app.currentBundle();
        if (!bundle)
            return ApiResponse::error(404, QStringLiteral("No project open"));
        // By move, not in braces, which would copy every summary once more.
        JsonObject body;
        body.insert("clips", clipSummaries(bundle->project()));
        return ApiResponse::json(std::move(body));
    });
}

void handleGetClip(const ApiCall& call) {
    const auto id = parseUuid(call.pathID());
    if (!id)
        return call.respond(400, QStringLiteral("Invalid clip ID"));
    call.onMain([id = *id, raw = call.pathID()](LocalScreenAPIDelegate& app) {
        const auto bundle = app.currentBundle();
        if (!bundle)
            return ApiResponse::error(404, QStringLiteral("No project open"));
        const Clip* clip = bundle->project().timeline.clip(id);
        if (!clip)
            return ApiResponse::error(404, QStringLiteral("Clip not found: %1").arg(raw));
        return ApiResponse::json(clipDetailJson(*clip));
    });
}

// A "file://" URL names its local file; anything else, or a URL that does not parse, is a path as it stands.
QString importPath(const QString& text) {
    if (text.startsWith(QStringLiteral("file://"))) {
        const QUrl url(text, QUrl::StrictMode);
        if (url.isValid() && url.isLocalFile())
            return url.toLocalFile();
    }
    return text;
}

// The text an import failure answers with. Failures that are not the file's own (a project that could not
// be made) have no message of their own, only their cause's.
QString importErrorDescription(const ImportError& error) {
    return error.kind == ImportError::Kind::other ? error.underlying : error.userFacingMessage();
}

void handleImport(const ApiCall& call, bool audio) {
    const QString url = call.string("url").value_or(QString());
    if (url.isEmpty())
        return call.respond(400, QStringLiteral("Missing 'url' (file path or file:// URL)"));
    call.onMainAsync(
        [call, audio, path = importPath(url)](LocalScreenAPIDelegate& app) -> QCoro::Task<ApiResponse> {
            auto importing = audio ? app.importAudio(path) : app.importVideo(path);
            const auto imported = co_await importing;
            if (!imported)
                co_return ApiResponse::error(400, importErrorDescription(imported.error()));
            LocalScreenAPIDelegate* current = call.currentDelegate();
            if (!current)
                co_return ApiResponse::error(503, QStringLiteral("App not available"));

            const auto bundle = current->currentBundle();
            const Clip* last = lastClip(bundle);
            JsonObject answer{{"clipId", last ? uuidString(last->id) : QString()},
                              {"clipName", last ? last->name : QString()}};
            if (!audio)
                answer.insert("duration", last ? roundedSeconds(last->timelineDuration().seconds) : 0.0);
            co_return ApiResponse::ok(std::move(answer));
        });
}

void handleImportVideo(const ApiCall& call) {
    handleImport(call, false);
}

void handleImportAudio(const ApiCall& call) {
    handleImport(call, true);
}

} // namespace

void addProjectRoutes(std::vector<LocalAPIServer::Route>& routes) {
    const QString get = QStringLiteral("GET");
    const QString post = QStringLiteral("POST");
    const QString project = QStringLiteral("project");
    routes.push_back({post, {project, QStringLiteral("create")}, &handleProjectCreate});
    routes.push_back({post, {project, QStringLiteral("open")}, &handleProjectOpen});
    routes.push_back({get, {project}, &handleProjectInfo});
    routes.push_back({get, {project, QStringLiteral("clips")}, &handleListClips});
    routes.push_back({get, {project, QStringLiteral("clip"), QStringLiteral("<id>")}, &handleGetClip});
    routes.push_back(
        {post, {project, QStringLiteral("import"), QStringLiteral("video")}, &handleImportVideo});
    routes.push_back(
        {post, {project, QStringLiteral("import"), QStringLiteral("audio")}, &handleImportAudio});
}

} // namespace orvane
