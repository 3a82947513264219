#pragma once

#include "project/Clip.h"
#include "project/JsonValue.h"
#include "project/ProjectBundle.h"

#include <memory>

namespace orvane {

// The API's short and long JSON forms of a clip (not the document's form).
JsonObject clipSummaryJson(const Clip& clip);
JsonObject clipDetailJson(const Clip& clip);
// Seconds as the API reports them: two decimal places.
double roundedSeconds(double seconds);

// The clip an import or a recording has just appended: the timeline's last; none without a project or clips.
const Clip* lastClip(const std::shared_ptr<ProjectBundle>& bundle);

} // namespace orvane
