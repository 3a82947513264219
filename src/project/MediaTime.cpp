#include "MediaTime.h"

namespace orvane {

MediaTime MediaTime::rescaled(std::int32_t to) const {
    if (timescale <= 0 || to <= 0)
        return {0, to};
    // 128-bit intermediate: value × to cannot overflow for any 64-bit value and 32-bit scale.
    const __int128 scaled = __int128(value) * to;
    const __int128 half = timescale / 2;
    const __int128 rounded = scaled >= 0 ? (scaled + half) / timescale : -((-scaled + half) / timescale);
    return {std::int64_t(rounded), to};
}

int compare(MediaTime a, MediaTime b) {
    const __int128 left = __int128(a.value) * b.timescale;
    const __int128 right = __int128(b.value) * a.timescale;
    return left < right ? -1 : (left > right ? 1 : 0);
}

} // namespace orvane
