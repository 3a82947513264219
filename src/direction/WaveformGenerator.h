#pragma once

#include "media/MediaError.h"

#include <QColor>
#include <QImage>
#include <QSizeF>
#include <QString>

#include <tl/expected.hpp>

#include <optional>
#include <span>
#include <stop_token>
#include <vector>

namespace orvane {

// A clip's sound as a PNG for its bar on the timeline: one pixel column a bucket, each bucket the loudest
// moment of its stretch of the sound, normalised to the file's own peak. The PNG is a cache inside the
// project folder, fresh while it is not older than its source. Never fails loudly: a bar without a
// waveform is better than an error.
//
// Stateless and reentrant; every operation that reads media blocks, so callers run it off the main thread.
class WaveformGenerator {
public:
    static constexpr int renderHeight = 96;
    static constexpr int minimumBucketCount = 8;

    // Makes (or finds fresh) the waveform of `source`'s first audio track at `destination`, with at least
    // eight buckets, and gives the destination; nullopt when the source is missing, has no sound, or the
    // picture cannot be written, or when `stop` was requested (nothing is written then).
    static std::optional<QString> generate(const QString& source, const QString& destination, int bucketCount,
                                           const QColor& tint, std::stop_token stop = {});
    // The destination exists and is not older than the source; equal dates count as fresh.
    static bool isCacheFresh(const QString& source, const QString& destination);

    // The peaks of the first audio track, mixed to mono and normalised to its largest magnitude (a silent
    // track stays at zero). Empty for a file without sound, a track that fails to decode, or a stop
    // request; an error only when the file cannot be opened as media at all.
    static tl::expected<std::vector<float>, MediaError> peaks(const QString& source, int bucketCount,
                                                              std::stop_token stop = {});
    // `bucketCount` magnitudes: each the largest of the next n / bucketCount samples (1 when there are fewer
    // samples than buckets), padded with zeros. Samples past the last full bucket are not looked at.
    static std::vector<float> peaks(std::span<const float> samples, int bucketCount);
    // The peaks drawn as a shape mirrored around the middle row, filled with `tint` fading from 0.92 alpha
    // at the top to 0.3 at the bottom, on a transparent ground. Nullopt without peaks or with an empty size.
    static std::optional<QImage> render(std::span<const float> peaks, QSizeF size, const QColor& tint);
};

} // namespace orvane
