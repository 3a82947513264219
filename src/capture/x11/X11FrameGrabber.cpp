#include "X11FrameGrabber.h"

#include <sys/ipc.h>
#include <sys/shm.h>
#include <xcb/composite.h>
#include <xcb/shm.h>

#include <algorithm>
#include <cstring>

namespace orvane {

// One buffer: a System V segment the server writes into, or the last GetImage reply.
struct X11FrameGrabber::Buffer {
    xcb_connection_t* connection = nullptr;
    xcb_shm_seg_t segment = 0;
    std::uint8_t* address = nullptr;
    xcb::Reply<xcb_get_image_reply_t> reply;

    ~Buffer() {
        if (segment && connection && !xcb_connection_has_error(connection))
            xcb_shm_detach(connection, segment);
        if (address)
            shmdt(address);
    }
};

namespace {

bool serverSharesMemory(xcb_connection_t* c) {
    const xcb_query_extension_reply_t* shm = xcb_get_extension_data(c, &xcb_shm_id);
    if (!shm || !shm->present)
        return false;
    return xcb::reply(c, xcb_shm_query_version_reply, xcb_shm_query_version(c)) != nullptr;
}

// Bits per pixel of the server's images at `depth`.
int bitsPerPixel(xcb_connection_t* c, std::uint8_t depth) {
    const xcb_setup_t* setup = xcb_get_setup(c);
    for (auto it = xcb_setup_pixmap_formats_iterator(setup); it.rem; xcb_format_next(&it))
        if (it.data->depth == depth)
            return it.data->bits_per_pixel;
    return 0;
}

} // namespace

tl::expected<std::unique_ptr<X11FrameGrabber>, QString> X11FrameGrabber::open(const QByteArray& displayName,
                                                                              const CaptureTarget& target,
                                                                              int width, int height,
                                                                              int bufferCount) {
    const xcb_screen_t* screen = nullptr;
    xcb::ConnectionPtr connection = xcb::connect(displayName, &screen);
    if (!connection)
        return tl::unexpected(QStringLiteral("Cannot open the X display \"%1\".")
                                  .arg(QString::fromLocal8Bit(xcb::shownDisplayName(displayName))));
    if (width <= 0 || height <= 0 || bufferCount <= 0)
        return tl::unexpected(QStringLiteral("Nothing to capture: the size is empty."));
    xcb_connection_t* c = connection.get();
    if (bitsPerPixel(c, screen->root_depth) != 32)
        return tl::unexpected(
            QStringLiteral("The screen's pixels are not 32-bit; capture needs depth 24 or 32."));

    std::unique_ptr<X11FrameGrabber> grabber(new X11FrameGrabber);
    grabber->m_root = screen->root;
    grabber->m_target = target;
    grabber->m_width = width;
    grabber->m_height = height;
    grabber->m_useShm = serverSharesMemory(c);
    const std::size_t bytes = std::size_t(width) * std::size_t(height) * 4;
    for (int i = 0; i < bufferCount; ++i) {
        auto buffer = std::make_unique<Buffer>();
        buffer->connection = c;
        if (grabber->m_useShm) {
            const int id = shmget(IPC_PRIVATE, bytes, IPC_CREAT | 0600);
            if (id >= 0) {
                void* address = shmat(id, nullptr, 0);
                if (address != reinterpret_cast<void*>(-1)) {
                    buffer->address = static_cast<std::uint8_t*>(address);
                    buffer->segment = xcb_generate_id(c);
                    if (xcb::failed(c, xcb_shm_attach_checked(c, buffer->segment, std::uint32_t(id), 0)))
                        buffer->segment = 0;
                }
                // Both sides are attached (or failed to): the segment goes away with the last of them,
                // even if this process is killed.
                shmctl(id, IPC_RMID, nullptr);
            }
            if (!buffer->segment) {
                // A server on another machine, or one that refuses our segments: copy through the socket.
                grabber->m_useShm = false;
                grabber->m_buffers.clear();
                i = -1;
                continue;
            }
        }
        grabber->m_buffers.push_back(std::move(buffer));
    }
    grabber->m_connection = std::move(connection);

    if (target.kind == CaptureTarget::Kind::window) {
        const xcb_query_extension_reply_t* composite = xcb_get_extension_data(c, &xcb_composite_id);
        if (!composite || !composite->present)
            return tl::unexpected(
                QStringLiteral("The X server has no Composite extension; windows cannot be captured."));
        const auto version =
            xcb::reply(c, xcb_composite_query_version_reply, xcb_composite_query_version(c, 0, 4));
        if (!version || (version->major_version == 0 && version->minor_version < 2))
            return tl::unexpected(QStringLiteral("The X server's Composite extension is older than 0.2."));
        const std::uint32_t events = XCB_EVENT_MASK_STRUCTURE_NOTIFY;
        if (xcb::failed(c,
                        xcb_change_window_attributes_checked(c, target.windowID, XCB_CW_EVENT_MASK, &events)))
            return tl::unexpected(QStringLiteral("The window %1 is gone.").arg(target.windowID));
        // Automatic redirection keeps the window on the screen as before while giving it storage of its
        // own, which holds all of it even where other windows cover it.
        if (xcb::failed(c, xcb_composite_redirect_window_checked(c, target.windowID,
                                                                 XCB_COMPOSITE_REDIRECT_AUTOMATIC)))
            return tl::unexpected(QStringLiteral("The window %1 cannot be redirected.").arg(target.windowID));
    }
    return grabber;
}

X11FrameGrabber::~X11FrameGrabber() {
    if (m_connection && m_target.kind == CaptureTarget::Kind::window && !m_windowGone) {
        releaseWindowPixmap();
        xcb_composite_unredirect_window(m_connection.get(), m_target.windowID,
                                        XCB_COMPOSITE_REDIRECT_AUTOMATIC);
        xcb_flush(m_connection.get());
    }
    // The segments detach before the connection closes.
    m_buffers.clear();
}

bool X11FrameGrabber::sourceIsGone() const {
    return m_windowGone || xcb_connection_has_error(m_connection.get()) != 0;
}

void X11FrameGrabber::releaseWindowPixmap() {
    if (m_pixmap) {
        xcb_free_pixmap(m_connection.get(), m_pixmap);
        m_pixmap = 0;
    }
}

void X11FrameGrabber::takeWindowEvents() {
    xcb_connection_t* c = m_connection.get();
    while (xcb::Event event{xcb_poll_for_event(c)}) {
        switch (event->response_type & 0x7f) {
        case XCB_CONFIGURE_NOTIFY: {
            const auto* e = reinterpret_cast<const xcb_configure_notify_event_t*>(event.get());
            if (e->window == m_target.windowID && (e->width != m_windowWidth || e->height != m_windowHeight))
                releaseWindowPixmap(); // the old pixmap keeps the old size
            break;
        }
        case XCB_UNMAP_NOTIFY:
            m_windowMapped = false;
            releaseWindowPixmap();
            break;
        case XCB_MAP_NOTIFY:
            m_windowMapped = true;
            releaseWindowPixmap();
            break;
        case XCB_DESTROY_NOTIFY:
            m_windowGone = true;
            releaseWindowPixmap();
            break;
        default:
            break;
        }
    }
}

tl::expected<void, QString> X11FrameGrabber::nameWindowPixmap() {
    xcb_connection_t* c = m_connection.get();
    const auto attributes =
        xcb::reply(c, xcb_get_window_attributes_reply, xcb_get_window_attributes(c, m_target.windowID));
    if (!attributes) {
        m_windowGone = true;
        return tl::unexpected(QStringLiteral("The window %1 is gone.").arg(m_target.windowID));
    }
    m_windowMapped = attributes->map_state == XCB_MAP_STATE_VIEWABLE;
    if (!m_windowMapped)
        return tl::unexpected(QStringLiteral("The window %1 is not on the screen.").arg(m_target.windowID));
    const auto geometry = xcb::reply(c, xcb_get_geometry_reply, xcb_get_geometry(c, m_target.windowID));
    if (!geometry)
        return tl::unexpected(QStringLiteral("The window %1 is gone.").arg(m_target.windowID));
    const xcb_pixmap_t pixmap = xcb_generate_id(c);
    if (xcb::failed(c, xcb_composite_name_window_pixmap_checked(c, m_target.windowID, pixmap)))
        return tl::unexpected(
            QStringLiteral("The window %1 has no contents to read.").arg(m_target.windowID));
    m_pixmap = pixmap;
    m_windowWidth = geometry->width;
    m_windowHeight = geometry->height;
    return {};
}

tl::expected<X11FrameGrabber::Image, QString> X11FrameGrabber::grab(int index) {
    xcb_connection_t* c = m_connection.get();
    if (xcb_connection_has_error(c))
        return tl::unexpected(QStringLiteral("The X server connection was lost."));
    Buffer& buffer = *m_buffers.at(std::size_t(index));
    xcb_drawable_t drawable = m_root;
    std::int16_t x = std::int16_t(m_target.frameInGlobal.x);
    std::int16_t y = std::int16_t(m_target.frameInGlobal.y);
    int width = m_width;
    int height = m_height;
    if (m_target.kind == CaptureTarget::Kind::window) {
        takeWindowEvents();
        if (m_windowGone)
            return tl::unexpected(QStringLiteral("The window %1 is gone.").arg(m_target.windowID));
        if (!m_pixmap)
            if (auto named = nameWindowPixmap(); !named)
                return tl::unexpected(named.error());
        drawable = m_pixmap;
        x = 0;
        y = 0;
        width = std::min(width, m_windowWidth);
        height = std::min(height, m_windowHeight);
    }
    if (m_useShm) {
        xcb::Error error;
        const auto reply =
            xcb::reply(c, xcb_shm_get_image_reply,
                       xcb_shm_get_image(c, drawable, x, y, std::uint16_t(width), std::uint16_t(height), ~0u,
                                         XCB_IMAGE_FORMAT_Z_PIXMAP, buffer.segment, 0),
                       error);
        if (!reply) {
            releaseWindowPixmap();
            return tl::unexpected(QStringLiteral("The X server refused to hand over the pixels (error %1).")
                                      .arg(error ? int(error->error_code) : 0));
        }
        return Image{buffer.address, width, height, width * 4};
    }
    xcb::Error error;
    buffer.reply = xcb::reply(c, xcb_get_image_reply,
                              xcb_get_image(c, XCB_IMAGE_FORMAT_Z_PIXMAP, drawable, x, y,
                                            std::uint16_t(width), std::uint16_t(height), ~0u),
                              error);
    if (!buffer.reply) {
        releaseWindowPixmap();
        return tl::unexpected(QStringLiteral("The X server refused to hand over the pixels (error %1).")
                                  .arg(error ? int(error->error_code) : 0));
    }
    const int length = xcb_get_image_data_length(buffer.reply.get());
    return Image{xcb_get_image_data(buffer.reply.get()), width, height, height > 0 ? length / height : 0};
}

} // namespace orvane
