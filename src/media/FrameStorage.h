#pragma once

#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <memory>

namespace orvane {

class FramePoolState;

// The pixels behind VideoFrame handles, with the handle count. Private to the media library.
class FrameStorage {
public:
    FrameStorage(int width, int height, int stride);
    FrameStorage(const FrameStorage&) = delete;
    FrameStorage& operator=(const FrameStorage&) = delete;

    struct FreeDeleter {
        void operator()(std::uint8_t* p) const { std::free(p); }
    };

    std::atomic<int> handles{0};
    const int width;
    const int height;
    const int stride;
    std::unique_ptr<std::uint8_t, FreeDeleter> pixels;
    // The pool this buffer goes back to, set while it is lent out; null for a frame of its own. Holding the
    // pool's state here keeps it alive until the last lent buffer is home, even if the FramePool is gone.
    std::shared_ptr<FramePoolState> owner;
};

} // namespace orvane

namespace orvane {
// Called by the last handle: a pooled buffer goes back to its pool, a frame of its own is freed.
void releaseFrameStorage(FrameStorage* storage);
} // namespace orvane
