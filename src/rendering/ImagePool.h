#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>

namespace orvane {

// The pixels behind Image handles. The count lives in the buffer itself, so taking and dropping a handle
// never allocates a control block; idle buffers wait in the pool for the next image of a similar size.
struct PixelBuffer {
    using ReleaseFunction = void (*)(void* context);
    struct FreeDeleter {
        void operator()(std::uint8_t* p) const { std::free(p); }
    };

    std::atomic<int> handles{0};
    std::uint8_t* data = nullptr;
    std::size_t capacity = 0; // bytes owned by the pool; 0 for wrapped memory
    std::unique_ptr<std::uint8_t, FreeDeleter> owned;
    // Wrapped memory: called once when the last handle goes.
    ReleaseFunction release = nullptr;
    void* releaseContext = nullptr;
    PixelBuffer* nextIdle = nullptr;
};

// Recycles pixel buffers between images, so a frame loop that drops its images before making the next
// ones reaches a steady state without allocating. Thread-safe: buffers can be taken and returned on any
// thread. Idle buffers beyond a byte budget are freed rather than kept. There is one pool per process.
class ImagePool {
public:
    static constexpr std::size_t rowAlignment = 64;
    static constexpr std::size_t maxIdleBuffers = 64;

    ~ImagePool();
    ImagePool(const ImagePool&) = delete;
    ImagePool& operator=(const ImagePool&) = delete;

    // The pool every Image uses. It lives until the end of the process; buffers returned after its
    // destruction at exit are freed directly.
    static ImagePool& shared();

    // A buffer of at least `bytes` with one handle; contents undefined.
    PixelBuffer* acquire(std::size_t bytes);
    // A buffer over memory the caller owns; `release` runs when the last handle goes.
    PixelBuffer* wrap(std::uint8_t* data, PixelBuffer::ReleaseFunction release, void* context);
    // Called by the last handle.
    void recycle(PixelBuffer* buffer);

    struct Statistics {
        std::size_t buffersAllocated = 0; // pixel allocations made since the start
        std::size_t idleBuffers = 0;
        std::size_t idleBytes = 0;
    };
    Statistics statistics() const;
    // Frees every idle buffer.
    void trim();
    // Idle memory kept for reuse; beyond it the longest-idle buffers are freed.
    void setIdleBudget(std::size_t bytes);

private:
    struct SharedTag {};
    explicit ImagePool(SharedTag);
    PixelBuffer* takeHeader();

    bool m_isShared = false;

    // Guards the idle lists, the header store and the statistics.
    mutable std::mutex m_idleLock;
    std::deque<PixelBuffer> m_headers; // stable addresses; headers are reused, never freed
    PixelBuffer* m_idle = nullptr;     // buffers with pixels, waiting
    PixelBuffer* m_idleHeaders = nullptr;
    std::size_t m_idleBytes = 0;
    std::size_t m_idleCount = 0;
    std::size_t m_idleBudget = std::size_t(384) << 20;
    std::size_t m_allocated = 0;
};

// Drops one handle; the last one hands the buffer back.
void releasePixelBuffer(PixelBuffer* buffer);

} // namespace orvane
