#include "MediaTime.h"

extern "C" {
#include <libavutil/mathematics.h>
}

namespace orvane {

MediaTime MediaTime::rescaled(std::int32_t to) const {
    return {av_rescale_q(value, AVRational{1, timescale}, AVRational{1, to}), to};
}

int compare(MediaTime a, MediaTime b) {
    return av_compare_ts(a.value, AVRational{1, a.timescale}, b.value, AVRational{1, b.timescale});
}

} // namespace orvane
