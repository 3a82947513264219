#pragma once

#include "media/VideoFrame.h"

#include <chrono>
#include <cstddef>
#include <memory>

namespace orvane {

class FramePoolState;

// Recycles VideoFrame buffers of one size. `acquire` hands out a free buffer, or makes a new one while
// fewer than `maxFrames` exist; a frame's buffer comes back when its last handle is dropped, on whatever
// thread that happens. In steady state (a bounded number of frames in flight) nothing is allocated.
//
// Thread-safe: acquire and the returns may run on any threads at once. The pool may be destroyed while
// frames are still out; their buffers are freed when those frames go.
class FramePool {
public:
    // maxFrames 0: no limit.
    FramePool(int width, int height, std::size_t maxFrames = 0);
    ~FramePool();
    FramePool(FramePool&&) noexcept;
    FramePool& operator=(FramePool&&) noexcept;
    FramePool(const FramePool&) = delete;
    FramePool& operator=(const FramePool&) = delete;

    int width() const;
    int height() const;
    std::size_t maxFrames() const;

    // A frame with undefined contents and time zero; a null frame when `maxFrames` are all lent out.
    VideoFrame acquire();
    // The same, but when all are lent out it waits up to `timeout` for one to come back.
    VideoFrame acquire(std::chrono::milliseconds timeout);
    // Makes buffers up front, so the first frames of a hot path do not allocate either.
    void reserve(std::size_t frames);

    // Buffers made so far, and how many of them are lent out now.
    std::size_t allocatedCount() const;
    std::size_t outstandingCount() const;

private:
    std::shared_ptr<FramePoolState> m_state;
};

} // namespace orvane
