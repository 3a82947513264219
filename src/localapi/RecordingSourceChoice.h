#pragma once

#include "ApiCall.h"
#include "capture/CaptureSource.h"

#include <tl/expected.hpp>

#include <optional>
#include <vector>

namespace orvane {

// What a caller of /recording/start said about the source.
struct RecordingSourceRequest {
    std::optional<QString> source;     // an id, or part of a title or subtitle
    std::optional<QString> sourceType; // lower-cased; "display"/"screen", "window", "app"/"application"
};

// The kind a sourceType text filters to; none for any other text, which filters nothing.
std::optional<CaptureSource::Kind> recordingSourceKind(const QString& sourceType);

// The source a recording started over the API records, picked from the sources just discovered, or
// the answer that refuses the start (404 for a text that matches nothing, 400 with no sources at all).
tl::expected<CaptureSource, ApiResponse> chooseRecordingSource(const std::vector<CaptureSource>& available,
                                                               const RecordingSourceRequest& request,
                                                               const QString& selectedSourceID);

} // namespace orvane
