#include "VideoFrame.h"

#include "FrameStorage.h"

#include <cstring>
#include <new>

namespace orvane {

FrameStorage::FrameStorage(int width, int height, int stride)
    : width(width)
    , height(height)
    , stride(stride)
    , pixels(static_cast<std::uint8_t*>(std::aligned_alloc(
          VideoFrame::rowAlignment, std::size_t(stride) * std::size_t(height > 0 ? height : 1)))) {
    if (!pixels)
        throw std::bad_alloc();
}

VideoFrame VideoFrame::allocate(int width, int height) {
    if (width <= 0 || height <= 0)
        return {};
    auto* storage = new FrameStorage(width, height, strideFor(width));
    storage->handles.store(1, std::memory_order_relaxed);
    return VideoFrame(storage);
}

VideoFrame::VideoFrame(const VideoFrame& other)
    : m_storage(other.m_storage)
    , m_time(other.m_time) {
    if (m_storage)
        m_storage->handles.fetch_add(1, std::memory_order_relaxed);
}

VideoFrame::VideoFrame(VideoFrame&& other) noexcept
    : m_storage(other.m_storage)
    , m_time(other.m_time) {
    other.m_storage = nullptr;
}

VideoFrame& VideoFrame::operator=(const VideoFrame& other) {
    if (this != &other) {
        if (other.m_storage)
            other.m_storage->handles.fetch_add(1, std::memory_order_relaxed);
        release();
        m_storage = other.m_storage;
        m_time = other.m_time;
    }
    return *this;
}

VideoFrame& VideoFrame::operator=(VideoFrame&& other) noexcept {
    if (this != &other) {
        release();
        m_storage = other.m_storage;
        m_time = other.m_time;
        other.m_storage = nullptr;
    }
    return *this;
}

VideoFrame::~VideoFrame() {
    release();
}

void VideoFrame::release() {
    FrameStorage* storage = m_storage;
    m_storage = nullptr;
    // acq_rel: the writes of every other handle to the pixels happen before the buffer is reused.
    if (storage && storage->handles.fetch_sub(1, std::memory_order_acq_rel) == 1)
        releaseFrameStorage(storage);
}

int VideoFrame::width() const {
    return m_storage ? m_storage->width : 0;
}

int VideoFrame::height() const {
    return m_storage ? m_storage->height : 0;
}

int VideoFrame::stride() const {
    return m_storage ? m_storage->stride : 0;
}

std::uint8_t* VideoFrame::data() {
    return m_storage ? m_storage->pixels.get() : nullptr;
}

const std::uint8_t* VideoFrame::data() const {
    return m_storage ? m_storage->pixels.get() : nullptr;
}

std::uint32_t VideoFrame::pixel(int x, int y) const {
    const std::uint8_t* p = row(y) + std::ptrdiff_t(x) * bytesPerPixel;
    return std::uint32_t(p[3]) << 24 | std::uint32_t(p[2]) << 16 | std::uint32_t(p[1]) << 8 | p[0];
}

bool VideoFrame::isUnique() const {
    return m_storage && m_storage->handles.load(std::memory_order_acquire) == 1;
}

void VideoFrame::fill(std::uint8_t b, std::uint8_t g, std::uint8_t r, std::uint8_t a) {
    if (!m_storage)
        return;
    const std::uint8_t px[4] = {b, g, r, a};
    std::uint8_t* first = row(0);
    for (int x = 0; x < width(); ++x)
        std::memcpy(first + x * bytesPerPixel, px, sizeof px);
    for (int y = 1; y < height(); ++y)
        std::memcpy(row(y), first, std::size_t(width()) * bytesPerPixel);
}

} // namespace orvane
