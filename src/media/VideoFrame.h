#pragma once

#include "project/MediaTime.h"

#include <cstddef>
#include <cstdint>

namespace orvane {

class FrameStorage;

// The image that moves between reader, compositor and writer: premultiplied BGRA8, bytes B, G, R, A in
// memory. That order is libyuv's "ARGB", the layout its fastest I420/NV12 converters read and write, and
// it is QImage::Format_ARGB32_Premultiplied on little-endian machines, so QPainter draws into it without a
// copy. Rows start on 64-byte boundaries and the stride is a multiple of 64.
//
// A VideoFrame is a counted handle: copies share the pixels, and the last handle to go returns the buffer
// to its FramePool (or frees it, for a frame made by `allocate`). The presentation time belongs to the
// handle, not to the pixels. Handles may be copied and dropped on any thread; writing to pixels that another
// handle still reads is the caller's business (`isUnique` tells).
class VideoFrame {
public:
    static constexpr int bytesPerPixel = 4;
    static constexpr int rowAlignment = 64;

    VideoFrame() = default;
    // A frame of its own, outside any pool: for stills and tests, not for per-frame paths.
    static VideoFrame allocate(int width, int height);

    VideoFrame(const VideoFrame& other);
    VideoFrame(VideoFrame&& other) noexcept;
    VideoFrame& operator=(const VideoFrame& other);
    VideoFrame& operator=(VideoFrame&& other) noexcept;
    ~VideoFrame();

    bool isNull() const { return m_storage == nullptr; }
    explicit operator bool() const { return m_storage != nullptr; }

    int width() const;
    int height() const;
    // Bytes from one row to the next.
    int stride() const;
    std::size_t byteCount() const { return std::size_t(stride()) * std::size_t(height()); }
    std::uint8_t* data();
    const std::uint8_t* data() const;
    std::uint8_t* row(int y) { return data() + std::ptrdiff_t(y) * stride(); }
    const std::uint8_t* row(int y) const { return data() + std::ptrdiff_t(y) * stride(); }
    // The pixel at (x, y) as 0xAARRGGBB, for tests and probes.
    std::uint32_t pixel(int x, int y) const;

    MediaTime time() const { return m_time; }
    void setTime(MediaTime time) { m_time = time; }

    // True when no other handle shares these pixels.
    bool isUnique() const;
    // Sets every pixel; (b, g, r, a) already premultiplied.
    void fill(std::uint8_t b, std::uint8_t g, std::uint8_t r, std::uint8_t a);

    // Bytes per row for a width, rounded up to the alignment.
    static int strideFor(int width) {
        return (width * bytesPerPixel + rowAlignment - 1) / rowAlignment * rowAlignment;
    }

private:
    friend class FramePool;
    explicit VideoFrame(FrameStorage* adopted)
        : m_storage(adopted) {}
    void release();

    FrameStorage* m_storage = nullptr;
    MediaTime m_time;
};

} // namespace orvane
