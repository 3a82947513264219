#include "FramePool.h"

#include "FrameStorage.h"

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
    std::vector<std::unique_ptr<FrameStorage>> all;
    // Always reserved to all.size(), so a return never allocates.
    std::vector<FrameStorage*> free;

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
    std::lock_guard lock(owner->freeLock);
    owner->free.push_back(storage);
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
    FrameStorage* storage = nullptr;
    {
        std::lock_guard lock(m_state->freeLock);
        if (!m_state->free.empty()) {
            storage = m_state->free.back();
            m_state->free.pop_back();
        } else if (m_state->maxFrames == 0 || m_state->all.size() < m_state->maxFrames) {
            storage = m_state->grow();
        } else {
            return {};
        }
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
