#pragma once

#include "JsonFwd.h"

#include <QString>

namespace orvane {

// Settings for finding cuts in imported footage. The transition kind is kept as free text so that a
// name this build does not know survives a load and save instead of failing the document.
struct SceneDetectionConfig {
    bool isEnabled = false;
    double sensitivity = 0.5;
    QString transitionKind = QStringLiteral("crossDissolve");
    double transitionDuration = 0.3;

    static SceneDetectionConfig defaults() { return {}; }

    bool operator==(const SceneDetectionConfig&) const = default;
};

void fromJson(const JsonIn& in, SceneDetectionConfig& out);
JsonValue toJson(const SceneDetectionConfig& value);

} // namespace orvane
