#include "FramePool.h"

#include "FrameStorage.h"

#include <condition_variable>
#include <mutex>
#include <vector>

namespace orvane {

class FramePoolState {
public:
    FramePoolState(int width, int height, std::size_t maxFrames)
        : width(width)
        , height(height)
        , stride(VideoFrame::strideFor(width))
        , maxFrames(maxFrames) {}

    const int width;
    const int height;
    const int stride;
    const std::size_t maxFrames;

    mutable std::mutex freeLock; // guards all, free
    // Signalled after each buffer comes home, for acquire's bounded wait.
    std::condition_variable frameReturned;
    std::vector<std::unique_ptr<FrameStorage>> all;
    // Always reserved to all.size(), so a return never allocates.
    std::vector<FrameStorage*> free;

    // Under freeLock: a free buffer, else a new one while the limit allows, else null.
    FrameStorage* take() {
        if (!free.empty()) {
            FrameStorage* storage = free.back();
            free.pop_back();
            return storage;
        }
        if (maxFrames == 0 || all.size() < maxFrames)
            return grow();
        return nullptr;
    }

    // Under freeLock.
    FrameStorage* grow() {
        all.push_back(std::make_unique<FrameStorage>(width, height, stride));
        free.reserve(all.size());
        return all.back().get();
    }
};

void releaseFrameStorage(FrameStorage* storage) {
    if (!storage->owner) {
        delete storage;
        return;
    }
    // Hold the pool's state in a local: once the buffer is on the free list, a FramePool destroyed on
    // another thread may drop its own reference, and this one must outlive the push.
    std::shared_ptr<FramePoolState> owner = std::move(storage->owner);
    {
        std::lock_guard lock(owner->freeLock);
        owner->free.push_back(storage);
    }
    owner->frameReturned.notify_one();
}

FramePool::FramePool(int width, int height, std::size_t maxFrames)
    : m_state(std::make_shared<FramePoolState>(width > 0 ? width : 1, height > 0 ? height : 1, maxFrames)) {}

FramePool::~FramePool() = default;
FramePool::FramePool(FramePool&&) noexcept = default;
FramePool& FramePool::operator=(FramePool&&) noexcept = default;

int FramePool::width() const {
    return m_state->width;
}

int FramePool::height() const {
    return m_state->height;
}

std::size_t FramePool::maxFrames() const {
    return m_state->maxFrames;
}

VideoFrame FramePool::acquire() {
    return acquire(std::chrono::milliseconds(0));
}

VideoFrame FramePool::acquire(std::chrono::milliseconds timeout) {
    FrameStorage* storage = nullptr;
    {
        std::unique_lock lock(m_state->freeLock);
        storage = m_state->take();
        if (!storage && timeout.count() > 0)
            m_state->frameReturned.wait_for(lock, timeout,
                                            [&] { return (storage = m_state->take()) != nullptr; });
        if (!storage)
            return {};
    }
    storage->owner = m_state;
    storage->handles.store(1, std::memory_order_relaxed);
    return VideoFrame(storage);
}

void FramePool::reserve(std::size_t frames) {
    std::lock_guard lock(m_state->freeLock);
    while (m_state->all.size() < frames &&
           (m_state->maxFrames == 0 || m_state->all.size() < m_state->maxFrames))
        m_state->free.push_back(m_state->grow());
}

std::size_t FramePool::allocatedCount() const {
    std::lock_guard lock(m_state->freeLock);
    return m_state->all.size();
}

std::size_t FramePool::outstandingCount() const {
    std::lock_guard lock(m_state->freeLock);
    return m_state->all.size() - m_state->free.size();
}

} // namespace orvane
