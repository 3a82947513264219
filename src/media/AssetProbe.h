#pragma once

#include "media/AssetInfo.h"
#include "media/MediaError.h"

#include <QString>

#include <tl/expected.hpp>

namespace orvane {

// Opens a file and describes it: container, duration, video tracks with their natural and displayed size,
// audio tracks, and whether the file actually decodes. Anything that is not media (a missing path, a folder,
// an empty file, text, a file cut off before its index) gives a MediaError; a file that opens but holds
// nothing decodable gives an AssetInfo with isPlayable false.
//
// Blocking and reentrant: each call opens the file afresh. Decoding one frame costs a few milliseconds.
tl::expected<AssetInfo, MediaError> probeAsset(const QString& path);

} // namespace orvane
