#pragma once

#include <QString>

#include <tl/expected.hpp>

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>

namespace orvane {

// Reads a PipeWire video node (a portal's screen cast, or any video source) on PipeWire's own thread: the
// format is negotiated as 32-bit RGB in one of its four byte orders, buffers come as shared memory mapped
// by PipeWire, and each frame is handed to the caller on that thread, without copying, for the length of
// the call. The cursor travels as metadata where the source offers it. Nothing here allocates per frame.
class PipeWireStream {
public:
    enum class PixelOrder { bgrx, rgbx, bgra, rgba };

    struct Cursor {
        int x = 0;
        int y = 0;
        int hotspotX = 0;
        int hotspotY = 0;
        bool visible = false;
        bool operator==(const Cursor&) const = default;
    };

    struct Frame {
        const std::uint8_t* pixels = nullptr;
        int width = 0;
        int height = 0;
        int stride = 0;
        PixelOrder order = PixelOrder::bgrx;
        // CLOCK_MONOTONIC when the buffer reached us, the clock sound and telemetry are stamped on.
        std::int64_t arrivalNs = 0;
        // The source's own sequence number, to count what it skipped.
        std::uint64_t sequence = 0;
        std::optional<Cursor> cursor;
    };

    struct Options {
        // A PipeWire remote from the portal (the stream takes its own copy), or -1 for the user's daemon.
        int remoteFd = -1;
        std::uint32_t nodeId = 0;
        // On PipeWire's thread, for every frame.
        std::function<void(const Frame&)> onFrame;
        // On PipeWire's thread, once, when the source goes away or the stream fails; with the reason.
        std::function<void(const QString&)> onEnded;
    };

    static tl::expected<std::unique_ptr<PipeWireStream>, QString> open(Options options);
    ~PipeWireStream();
    PipeWireStream(const PipeWireStream&) = delete;
    PipeWireStream& operator=(const PipeWireStream&) = delete;

    // Stops the thread; no callback runs after it returns. Safe to call more than once.
    void stop();

    // The size negotiated so far, 0x0 before the first format.
    std::pair<int, int> size() const;

    // Only open() can make an Impl: it is defined where the stream is.
    struct Impl;
    explicit PipeWireStream(std::unique_ptr<Impl> impl);

private:
    std::unique_ptr<Impl> m_impl;
};

} // namespace orvane
