#pragma once

#include "project/Clip.h"
#include "project/JsonValue.h"

namespace orvane {

// The API's short and long JSON forms of a clip (not the document's form).
JsonObject clipSummaryJson(const Clip& clip);
JsonObject clipDetailJson(const Clip& clip);
// Seconds as the API reports them: two decimal places.
double roundedSeconds(double seconds);

} // namespace orvane
