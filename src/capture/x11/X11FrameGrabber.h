#pragma once

#include "capture/SourceCatalog.h"
#include "capture/x11/XcbHandles.h"

#include <QByteArray>
#include <QString>

#include <tl/expected.hpp>

#include <cstdint>
#include <memory>
#include <vector>

namespace orvane {

// Reads the pixels of a display region or of one window into buffers of its own: MIT-SHM segments when
// the server shares memory with us (one copy, done by the server), plain GetImage replies otherwise. A
// window is read through Composite from its own off-screen pixmap, so what covers it on the screen never
// shows; its pixmap is named again whenever the window is resized or mapped anew. The pointer is never in
// the pixels: the server leaves its software cursor out of images.
//
// One thread at a time; it owns an X connection of its own, so it may be any thread.
class X11FrameGrabber {
public:
    struct Image {
        const std::uint8_t* pixels = nullptr; // 32 bits a pixel, B, G, R, undefined
        int width = 0;
        int height = 0;
        int stride = 0;
    };

    // `bufferCount` buffers of `width` by `height` pixels. Fails with the reason when the display cannot
    // be opened, its pixels are not 32-bit, or the window cannot be redirected.
    static tl::expected<std::unique_ptr<X11FrameGrabber>, QString>
    open(const QByteArray& displayName, const CaptureTarget& target, int width, int height, int bufferCount);
    ~X11FrameGrabber();
    X11FrameGrabber(const X11FrameGrabber&) = delete;
    X11FrameGrabber& operator=(const X11FrameGrabber&) = delete;

    // Reads the source now into buffer `index`. A window that is smaller than the buffer fills only its top
    // left corner (the image says how much); one that is unmapped or gone gives the reason.
    tl::expected<Image, QString> grab(int index);

    bool usesSharedMemory() const { return m_useShm; }
    // The connection was lost or the window destroyed: no later grab can succeed.
    bool sourceIsGone() const;
    int bufferCount() const { return int(m_buffers.size()); }

private:
    struct Buffer;
    X11FrameGrabber() = default;
    void takeWindowEvents();
    tl::expected<void, QString> nameWindowPixmap();
    void releaseWindowPixmap();

    xcb::ConnectionPtr m_connection;
    xcb_window_t m_root = 0;
    CaptureTarget m_target;
    int m_width = 0;
    int m_height = 0;
    bool m_useShm = false;
    std::vector<std::unique_ptr<Buffer>> m_buffers;
    // Window capture: the named pixmap and the window's size when it was named.
    xcb_pixmap_t m_pixmap = 0;
    int m_windowWidth = 0;
    int m_windowHeight = 0;
    bool m_windowMapped = true;
    bool m_windowGone = false;
};

} // namespace orvane
