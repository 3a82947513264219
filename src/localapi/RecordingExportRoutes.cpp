// Routes that run the parts with a lifetime of their own: the recordings folder and the export queue.
#include "LocalAPIServer.h"

#include <QDir>
#include <QFileInfo>

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

void addRecordingExportRoutes(std::vector<LocalAPIServer::Route>& routes) {
    const QString get = QStringLiteral("GET");
    const QString post = QStringLiteral("POST");
    const QString recording = QStringLiteral("recording");
    const QString project = QStringLiteral("project");
    routes.push_back({get, {recording, QStringLiteral("output-dir")}, &handleGetOutputDir});
    routes.push_back({post, {recording, QStringLiteral("output-dir")}, &handleSetOutputDir});
    routes.push_back({post, {project, QStringLiteral("export")}, &handleExport});
    routes.push_back(
        {get, {project, QStringLiteral("export"), QStringLiteral("status")}, &handleExportStatus});
}

} // namespace orvane
