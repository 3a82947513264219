#include "ImagePool.h"

#include <cstdlib>

namespace orvane {

namespace {
// Trivially destructible, so it can still be read while other statics are torn down at exit.
std::atomic<bool> sharedPoolAlive{false};

std::size_t alignUp(std::size_t n, std::size_t to) {
    return (n + to - 1) / to * to;
}
} // namespace

ImagePool::~ImagePool() {
    if (m_isShared)
        sharedPoolAlive.store(false);
    trim();
}

ImagePool::ImagePool(SharedTag)
    : m_isShared(true) {
    sharedPoolAlive.store(true);
}

ImagePool& ImagePool::shared() {
    static ImagePool pool{SharedTag{}};
    return pool;
}

PixelBuffer* ImagePool::takeHeader() {
    if (m_idleHeaders) {
        PixelBuffer* h = m_idleHeaders;
        m_idleHeaders = h->nextIdle;
        h->nextIdle = nullptr;
        return h;
    }
    return &m_headers.emplace_back();
}

PixelBuffer* ImagePool::acquire(std::size_t bytes) {
    bytes = std::max<std::size_t>(alignUp(bytes, rowAlignment), rowAlignment);
    std::lock_guard lock(m_idleLock);
    // Smallest idle buffer that fits, but not one so large that a small image would pin a frame's worth.
    PixelBuffer** best = nullptr;
    for (PixelBuffer** link = &m_idle; *link; link = &(*link)->nextIdle) {
        const std::size_t c = (*link)->capacity;
        if (c >= bytes && c <= bytes * 2 + (std::size_t(64) << 10) && (!best || c < (*best)->capacity))
            best = link;
    }
    if (best) {
        PixelBuffer* b = *best;
        *best = b->nextIdle;
        b->nextIdle = nullptr;
        m_idleBytes -= b->capacity;
        --m_idleCount;
        b->handles.store(1, std::memory_order_relaxed);
        return b;
    }
    auto* memory = static_cast<std::uint8_t*>(std::aligned_alloc(rowAlignment, bytes));
    if (!memory)
        return nullptr;
    PixelBuffer* b = takeHeader();
    b->owned.reset(memory);
    b->data = memory;
    b->capacity = bytes;
    b->release = nullptr;
    b->releaseContext = nullptr;
    b->handles.store(1, std::memory_order_relaxed);
    ++m_allocated;
    return b;
}

PixelBuffer* ImagePool::wrap(std::uint8_t* data, PixelBuffer::ReleaseFunction release, void* context) {
    std::lock_guard lock(m_idleLock);
    PixelBuffer* b = takeHeader();
    b->owned.reset();
    b->data = data;
    b->capacity = 0;
    b->release = release;
    b->releaseContext = context;
    b->handles.store(1, std::memory_order_relaxed);
    return b;
}

void ImagePool::recycle(PixelBuffer* b) {
    // The owner's callback runs outside the lock: it may take locks of its own.
    if (b->capacity == 0) {
        const auto release = b->release;
        void* context = b->releaseContext;
        {
            std::lock_guard lock(m_idleLock);
            b->data = nullptr;
            b->release = nullptr;
            b->releaseContext = nullptr;
            b->nextIdle = m_idleHeaders;
            m_idleHeaders = b;
        }
        if (release)
            release(context);
        return;
    }
    std::lock_guard lock(m_idleLock);
    b->nextIdle = m_idle;
    m_idle = b;
    m_idleBytes += b->capacity;
    ++m_idleCount;
    // Over the budget, the buffers that waited longest go first: the one just returned is the likeliest
    // to be asked for again by the next frame.
    while (m_idleCount > 1 && (m_idleBytes > m_idleBudget || m_idleCount > maxIdleBuffers)) {
        PixelBuffer** last = &m_idle;
        while ((*last)->nextIdle)
            last = &(*last)->nextIdle;
        PixelBuffer* oldest = *last;
        *last = nullptr;
        m_idleBytes -= oldest->capacity;
        --m_idleCount;
        oldest->owned.reset();
        oldest->data = nullptr;
        oldest->capacity = 0;
        oldest->nextIdle = m_idleHeaders;
        m_idleHeaders = oldest;
    }
}

ImagePool::Statistics ImagePool::statistics() const {
    std::lock_guard lock(m_idleLock);
    return {m_allocated, m_idleCount, m_idleBytes};
}

void ImagePool::trim() {
    std::lock_guard lock(m_idleLock);
    while (m_idle) {
        PixelBuffer* b = m_idle;
        m_idle = b->nextIdle;
        b->owned.reset();
        b->data = nullptr;
        b->capacity = 0;
        b->nextIdle = m_idleHeaders;
        m_idleHeaders = b;
    }
    m_idleBytes = 0;
    m_idleCount = 0;
}

void ImagePool::setIdleBudget(std::size_t bytes) {
    std::lock_guard lock(m_idleLock);
    m_idleBudget = bytes;
}

void releasePixelBuffer(PixelBuffer* b) {
    if (!b || b->handles.fetch_sub(1, std::memory_order_acq_rel) != 1)
        return;
    if (sharedPoolAlive.load()) {
        ImagePool::shared().recycle(b);
        return;
    }
    // Exit: the pool is gone, so the buffer is settled here and its header is left to the process end.
    if (b->capacity == 0 && b->release)
        b->release(b->releaseContext);
    else
        b->owned.reset();
}

} // namespace orvane
