#include "Project.h"

namespace orvane {

QDateTime Project::nowAtWholeSeconds() {
    return QDateTime::fromSecsSinceEpoch(QDateTime::currentSecsSinceEpoch(), Qt::UTC);
}

void fromJson(const JsonIn& in, Project& out) {
    const JsonObjectIn o(in);
    out.schemaVersion = o.value("schemaVersion", Project::currentSchemaVersion);
    out.id = o.optional<QUuid>("id").value_or(QUuid::createUuid());
    out.name = o.value("name", QStringLiteral("Untitled"));
    const QDateTime now = Project::nowAtWholeSeconds();
    out.createdAt = o.value("createdAt", now);
    out.modifiedAt = o.value("modifiedAt", now);
    out.canvasSize = o.value("canvasSize", Size{1920, 1080});
    out.canvasBackground = o.value("canvasBackground", RGBAColor::black());
    out.frameRate = o.value("frameRate", 60);
    out.timeline = o.optional<Timeline>("timeline").value_or(Timeline());
    out.defaultBackground = o.value("defaultBackground", BackgroundStyle::defaults());
    out.defaultFrame = o.value("defaultFrame", FrameStyle::defaults());
    out.defaultCursor = o.value("defaultCursor", CursorStyle::defaults());
    out.defaultAutoZoom = o.value("defaultAutoZoom", AutoZoomConfig::defaults());
    out.notes = o.value("notes", QString());
}

JsonValue toJson(const Project& p) {
    JsonObjectOut o;
    o.set("schemaVersion", p.schemaVersion)
        .set("id", p.id)
        .set("name", p.name)
        .set("createdAt", p.createdAt)
        .set("modifiedAt", p.modifiedAt)
        .set("canvasSize", p.canvasSize)
        .set("canvasBackground", p.canvasBackground)
        .set("frameRate", p.frameRate)
        .set("timeline", p.timeline)
        .set("defaultBackground", p.defaultBackground)
        .set("defaultFrame", p.defaultFrame)
        .set("defaultCursor", p.defaultCursor)
        .set("defaultAutoZoom", p.defaultAutoZoom)
        .set("notes", p.notes);
    return o.take();
}

tl::expected<QByteArray, JsonError> encodeProject(const Project& project) {
    try {
        return writeJsonDocument(toJson(project));
    } catch (const JsonError& e) {
        return tl::unexpected(e);
    }
}

tl::expected<Project, JsonError> decodeProject(const QByteArray& bytes) {
    try {
        const JsonPath root;
        return decodeJson<Project>(JsonIn(readJsonDocument(bytes), root));
    } catch (const JsonError& e) {
        return tl::unexpected(e);
    }
}

Clip Project::makeClip(const QString& name, ProjectTime duration, Size sourceSize) const {
    Clip clip;
    clip.id = QUuid::createUuid();
    clip.name = name;
    clip.sourceIn = ProjectTime::zero();
    clip.sourceOut = duration;
    clip.timelineStart = timeline.duration();
    clip.sourceSize = sourceSize;
    clip.speed = 1.0;
    clip.background = defaultBackground;
    clip.frame = defaultFrame;
    clip.cursor = defaultCursor;
    clip.autoZoom = defaultAutoZoom;
    return clip;
}

} // namespace orvane
