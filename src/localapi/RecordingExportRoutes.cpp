// Routes that run the parts with a lifetime of their own: capture, the recordings folder and the export
// queue.
#include "ApiClipJson.h"
#include "LocalAPIServer.h"
#include "RecordingSourceChoice.h"

#include <QCoro/QCoroTimer>
#include <QDir>
#include <QFileInfo>
#include <QTimer>

#include <unistd.h>

namespace orvane {

namespace {

QString expandTilde(const QString& path) {
    if (path == QLatin1StringView("~"))
        return QDir::homePath();
    if (path.startsWith(QStringLiteral("~/")))
        return QDir::homePath() + path.mid(1);
    return path;
}

// How long /recording/start holds its answer after asking for the start, so that "recording" tells the
// caller whether the capture got going rather than only that it was asked to.
constexpr std::chrono::seconds recordingStartSettle{1};

JsonObject sourceJson(const CaptureSource& source) {
    JsonObject json{{"id", source.id},
                    {"title", source.title},
                    {"subtitle", source.subtitle},
                    {"kind", CaptureSource::kindName(source.kind)},
                    {"width", qint64(std::llround(source.pixelSize.width))},
                    {"height", qint64(std::llround(source.pixelSize.height))}};
    if (source.appBundleID)
        json.insert("bundleID", *source.appBundleID);
    return json;
}

void handleListSources(const ApiCall& call) {
    call.onMainAsync([call](LocalScreenAPIDelegate& app) -> QCoro::Task<ApiResponse> {
        auto refreshing = app.apiRefreshSources();
        co_await refreshing;
        LocalScreenAPIDelegate* current = call.currentDelegate();
        if (!current)
            co_return ApiResponse::error(503, QStringLiteral("App not available"));
        JsonArray sources;
        for (const CaptureSource& source : current->availableSources())
            sources.append(sourceJson(source));
        co_return ApiResponse::json({{"sources", std::move(sources)}});
    });
}

// The first of `keys` that the body holds as text, empty or not.
std::optional<QString> firstString(const ApiCall& call, std::initializer_list<const char*> keys) {
    for (const char* key : keys)
        if (auto value = call.string(key))
            return value;
    return std::nullopt;
}

void handleRecordingStart(const ApiCall& call) {
    RecordingSourceRequest request;
    request.source = firstString(call, {"source", "sourceId"});
    if (const auto type = call.string("sourceType"))
        request.sourceType = type->toLower();
    const bool microphone = call.boolean("microphone").value_or(false);
    const bool systemAudio = call.boolean("systemAudio").value_or(true);
    const bool camera = call.boolean("camera").value_or(false);
    const std::optional<QString> outputDir = firstString(call, {"outputDir", "outputDirectory"});

    call.onMainAsync([=](LocalScreenAPIDelegate& app) -> QCoro::Task<ApiResponse> {
        if (app.isRecording())
            co_return ApiResponse::error(409, QStringLiteral("Already recording"));
        if (outputDir && !outputDir->isEmpty())
            app.setRecordingsRootDirectory(expandTilde(*outputDir));
        auto refreshing = app.apiRefreshSources();
        co_await refreshing;
        LocalScreenAPIDelegate* current = call.currentDelegate();
        if (!current)
            co_return ApiResponse::error(503, QStringLiteral("App not available"));

        const auto chosen =
            chooseRecordingSource(current->availableSources(), request, current->selectedSourceID());
        if (!chosen)
            co_return chosen.error();
        const CaptureSource source = *chosen;
        current->setSelectedSourceID(source.id);
        current->setIncludesMicrophone(microphone);
        current->setIncludesSystemAudio(systemAudio);
        current->setIncludesCamera(camera);
        current->apiBeginCaptureNoCountdown();

        // A coarse timer may fire up to 5% early; the caller is promised the whole second.
        QTimer settle;
        settle.setTimerType(Qt::PreciseTimer);
        settle.setSingleShot(true);
        settle.start(recordingStartSettle);
        co_await settle;
        current = call.currentDelegate();
        if (!current)
            co_return ApiResponse::error(503, QStringLiteral("App not available"));
        // What the capture had to start without (its sound, say), so that a caller is not left to find
        // out from a silent movie.
        JsonArray warnings;
        for (const QString& warning : current->recordingWarnings())
            warnings.append(warning);
        co_return ApiResponse::ok({{"recording", current->isRecording()},
                                   {"source", source.id},
                                   {"sourceTitle", source.title},
                                   {"outputDir", current->recordingsRootDirectory()},
                                   {"warnings", std::move(warnings)}});
    });
}

void handleRecordingStop(const ApiCall& call) {
    call.onMainAsync([call](LocalScreenAPIDelegate& app) -> QCoro::Task<ApiResponse> {
        if (!app.isRecording())
            co_return ApiResponse::error(409, QStringLiteral("Not recording"));
        auto stopping = app.stopCapture();
        co_await stopping;
        LocalScreenAPIDelegate* current = call.currentDelegate();
        if (!current)
            co_return ApiResponse::error(503, QStringLiteral("App not available"));

        const auto bundle = current->currentBundle();
        const Clip* last = lastClip(bundle);
        co_return ApiResponse::ok(
            {{"clipCount", bundle ? int(bundle->project().timeline.clips.size()) : 0},
             {"clipId", last ? uuidString(last->id) : QString()},
             {"filePath", last && !last->sourceVideoPath.isEmpty() ? bundle->mediaPath(last->sourceVideoPath)
                                                                   : QString()},
             {"projectPath", bundle ? bundle->path() : QString()},
             {"duration", last ? roundedSeconds(last->timelineDuration().seconds) : 0.0}});
    });
}

void handleGetOutputDir(const ApiCall& call) {
    call.onMain([](LocalScreenAPIDelegate& app) {
        return ApiResponse::json({{"outputDir", app.recordingsRootDirectory()},
                                  {"default", app.defaultRecordingsRootDirectory()}});
    });
}

void handleSetOutputDir(const ApiCall& call) {
    std::optional<QString> folder;
    for (const char* key : {"outputDir", "path", "outputDirectory"}) {
        const auto value = call.string(key);
        if (value && !value->isEmpty()) {
            folder = value;
            break;
        }
    }
    if (!folder)
        return call.respond(400, QStringLiteral("Missing 'outputDir' in request body"));
    const QString path = expandTilde(*folder);
    call.onMain([path](LocalScreenAPIDelegate& app) {
        QDir().mkpath(path); // a failure shows as "writable": false
        app.setRecordingsRootDirectory(path);
        const bool writable = ::access(QFile::encodeName(path).constData(), W_OK) == 0;
        return ApiResponse::ok({{"outputDir", path}, {"writable", writable}});
    });
}

void handleExport(const ApiCall& call) {
    const QString preset = call.string("preset").value_or(QStringLiteral("web1080"));
    const QString codec = call.string("codec").value_or(QStringLiteral("h264"));
    const auto output = call.string("outputPath");
    call.onMain([=](LocalScreenAPIDelegate& app) {
        const auto path = app.apiExport(preset, codec, output);
        if (!path)
            return ApiResponse::error(400, path.error().description);
        return ApiResponse::ok({{"outputPath", *path}});
    });
}

void handleExportStatus(const ApiCall& call) {
    call.onMain([](LocalScreenAPIDelegate& app) {
        const auto counts = app.exportCounts();
        return ApiResponse::json({{"pendingCount", counts.pending},
                                  {"activeCount", counts.active},
                                  {"completedCount", counts.completed},
                                  {"failedCount", counts.failed}});
    });
}

} // namespace

// Route 34: the window to the front, as a script that has just started a recording may want.
void handleShowWindow(const ApiCall& call) {
    call.onMain([](LocalScreenAPIDelegate& app) {
        app.showWindow();
        return ApiResponse::ok({});
    });
}

void addRecordingExportRoutes(std::vector<LocalAPIServer::Route>& routes) {
    const QString get = QStringLiteral("GET");
    const QString post = QStringLiteral("POST");
    const QString recording = QStringLiteral("recording");
    const QString project = QStringLiteral("project");
    routes.push_back({get, {QStringLiteral("sources")}, &handleListSources});
    routes.push_back({post, {recording, QStringLiteral("start")}, &handleRecordingStart});
    routes.push_back({post, {recording, QStringLiteral("stop")}, &handleRecordingStop});
    routes.push_back({get, {recording, QStringLiteral("output-dir")}, &handleGetOutputDir});
    routes.push_back({post, {recording, QStringLiteral("output-dir")}, &handleSetOutputDir});
    routes.push_back({post, {project, QStringLiteral("export")}, &handleExport});
    routes.push_back(
        {get, {project, QStringLiteral("export"), QStringLiteral("status")}, &handleExportStatus});
    routes.push_back({post, {QStringLiteral("window"), QStringLiteral("show")}, &handleShowWindow});
}

} // namespace orvane
