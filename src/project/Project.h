#pragma once

#include "AutoZoomConfig.h"
#include "BackgroundStyle.h"
#include "CursorStyle.h"
#include "FrameStyle.h"
#include "Geometry.h"
#include "Json.h"
#include "RGBAColor.h"
#include "Timeline.h"

#include <QByteArray>
#include <QDateTime>
#include <QString>
#include <QUuid>

#include <tl/expected.hpp>

namespace orvane {

// The document. Every key is optional on reading, so `{}` is a valid project; every key is written.
struct Project {
    static constexpr int currentSchemaVersion = 1;

    int schemaVersion = currentSchemaVersion;
    QUuid id = QUuid::createUuid();
    QString name = QStringLiteral("Untitled");
    QDateTime createdAt = nowAtWholeSeconds();
    QDateTime modifiedAt = createdAt;
    Size canvasSize{1920, 1080};
    RGBAColor canvasBackground = RGBAColor::black();
    int frameRate = 60;
    Timeline timeline;
    // Given to new clips.
    BackgroundStyle defaultBackground = BackgroundStyle::defaults();
    FrameStyle defaultFrame = FrameStyle::defaults();
    CursorStyle defaultCursor = CursorStyle::defaults();
    AutoZoomConfig defaultAutoZoom = AutoZoomConfig::defaults();
    QString notes;

    // A new clip that follows everything on the timeline and wears the project's default looks
    // (background, frame, cursor, auto-zoom), playing its source from the start at normal speed for
    // `duration`. The caller places it on a track and adds what is its own: audio, camera, overlays.
    Clip makeClip(const QString& name, ProjectTime duration, Size sourceSize) const;

    // Refreshes modifiedAt.
    void touch() { modifiedAt = nowAtWholeSeconds(); }

    // Dates are stored at whole seconds, so a project equals itself after a save and a load.
    static QDateTime nowAtWholeSeconds();

    bool operator==(const Project&) const = default;
};

void fromJson(const JsonIn& in, Project& out);
JsonValue toJson(const Project& value);

// project.json as bytes: pretty-printed, keys sorted. Fails only on values JSON cannot hold (NaN).
tl::expected<QByteArray, JsonError> encodeProject(const Project& project);
// All or nothing: any syntax error, missing required key or wrong type fails the whole document, with
// the path of the offending value in the error.
tl::expected<Project, JsonError> decodeProject(const QByteArray& bytes);

} // namespace orvane
