#include "DemoWindow.h"

#include <pthread.h>

#include <array>

namespace orvane {

namespace {

void setStringProperty(xcb_connection_t* c, xcb_window_t w, xcb_atom_t property, xcb_atom_t type,
                       const QByteArray& value) {
    xcb_change_property(c, XCB_PROP_MODE_REPLACE, w, property, type, 8, std::uint32_t(value.size()),
                        value.constData());
}

void setAtomProperty(xcb_connection_t* c, xcb_window_t w, const char* property, const char* value) {
    const xcb_atom_t atom = xcb::internAtom(c, value);
    xcb_change_property(c, XCB_PROP_MODE_REPLACE, w, xcb::internAtom(c, property), XCB_ATOM_ATOM, 32, 1,
                        &atom);
}

} // namespace

tl::expected<std::unique_ptr<DemoWindow>, QString> DemoWindow::open(Options options) {
    const xcb_screen_t* screen = nullptr;
    xcb::ConnectionPtr connection = xcb::connect(options.displayName, &screen);
    if (!connection)
        return tl::unexpected(QStringLiteral("Cannot open the X display \"%1\".")
                                  .arg(QString::fromLocal8Bit(xcb::shownDisplayName(options.displayName))));
    std::unique_ptr<DemoWindow> window(new DemoWindow);
    window->m_options = options;
    xcb_connection_t* c = connection.get();
    const auto width = std::uint16_t(options.width);
    const auto height = std::uint16_t(options.height);
    window->m_window = xcb_generate_id(c);
    const std::uint32_t values[] = {options.background, XCB_EVENT_MASK_EXPOSURE};
    xcb_create_window(c, XCB_COPY_FROM_PARENT, window->m_window, screen->root, std::int16_t(options.x),
                      std::int16_t(options.y), width, height, 0, XCB_WINDOW_CLASS_INPUT_OUTPUT,
                      screen->root_visual, XCB_CW_BACK_PIXEL | XCB_CW_EVENT_MASK, values);
    const QByteArray title = options.title.toUtf8();
    setStringProperty(c, window->m_window, XCB_ATOM_WM_NAME, XCB_ATOM_STRING, title);
    setStringProperty(c, window->m_window, xcb::internAtom(c, "_NET_WM_NAME"),
                      xcb::internAtom(c, "UTF8_STRING"), title);
    if (!options.wmClass.isEmpty())
        setStringProperty(c, window->m_window, XCB_ATOM_WM_CLASS, XCB_ATOM_STRING,
                          options.wmClass + '\0' + options.wmClass + '\0');
    if (options.processID)
        xcb_change_property(c, XCB_PROP_MODE_REPLACE, window->m_window, xcb::internAtom(c, "_NET_WM_PID"),
                            XCB_ATOM_CARDINAL, 32, 1, &*options.processID);
    if (!options.windowType.isEmpty())
        setAtomProperty(c, window->m_window, "_NET_WM_WINDOW_TYPE", options.windowType.constData());
    if (options.skipTaskbar)
        setAtomProperty(c, window->m_window, "_NET_WM_STATE", "_NET_WM_STATE_SKIP_TASKBAR");
    window->m_pixmap = xcb_generate_id(c);
    xcb_create_pixmap(c, screen->root_depth, window->m_pixmap, window->m_window, width, height);
    window->m_gc = xcb_generate_id(c);
    const std::uint32_t gcValues[] = {options.background, 0};
    xcb_create_gc(c, window->m_gc, window->m_pixmap, XCB_GC_FOREGROUND | XCB_GC_GRAPHICS_EXPOSURES, gcValues);
    xcb_map_window(c, window->m_window);
    window->m_connection = std::move(connection);
    window->drawFrame(0);
    window->sync();
    if (options.framesPerSecond > 0)
        window->m_thread = std::thread([w = window.get()] { w->animate(); });
    return window;
}

DemoWindow::~DemoWindow() {
    m_stop = true;
    if (m_thread.joinable())
        m_thread.join();
    if (m_connection) {
        xcb_connection_t* c = m_connection.get();
        xcb_free_gc(c, m_gc);
        xcb_free_pixmap(c, m_pixmap);
        xcb_destroy_window(c, m_window);
        xcb_flush(c);
    }
}

void DemoWindow::sync() {
    xcb::sync(m_connection.get());
}

void DemoWindow::drawFrame(std::uint64_t frame) {
    xcb_connection_t* c = m_connection.get();
    const int w = m_options.width;
    const int h = m_options.height;
    auto fillRect = [&](std::uint32_t rgb, int x, int y, int rw, int rh) {
        xcb_change_gc(c, m_gc, XCB_GC_FOREGROUND, &rgb);
        const xcb_rectangle_t r{std::int16_t(x), std::int16_t(y), std::uint16_t(rw), std::uint16_t(rh)};
        xcb_poly_fill_rectangle(c, m_pixmap, m_gc, 1, &r);
    };
    fillRect(m_options.background, 0, 0, w, h);
    const int barWidth = std::max(8, w / 12);
    const int travel = std::max(1, w - barWidth);
    const int step = int(frame * 6 % std::uint64_t(2 * travel));
    fillRect(0xf5b700, step < travel ? step : 2 * travel - step, h / 4, barWidth, h / 2);
    constexpr std::array<std::uint32_t, 6> palette{0xe4572e, 0x29335c, 0x669bbc,
                                                   0xa8c686, 0xf3a712, 0xffffff};
    const int tile = std::max(4, w / 16);
    for (int i = 0; i < 8 && (i + 1) * tile * 2 <= w; ++i)
        fillRect(palette[(frame / 4 + std::uint64_t(i)) % palette.size()], tile / 2 + i * tile * 2,
                 h - tile * 2, tile, tile);
    xcb_copy_area(c, m_pixmap, m_window, m_gc, 0, 0, 0, 0, std::uint16_t(w), std::uint16_t(h));
    xcb_flush(c);
}

void DemoWindow::animate() {
    pthread_setname_np(pthread_self(), "demo-window");
    const auto period = std::chrono::nanoseconds(1'000'000'000 / std::max(1, m_options.framesPerSecond));
    auto next = std::chrono::steady_clock::now();
    for (std::uint64_t frame = 1; !m_stop; ++frame) {
        next += period;
        std::this_thread::sleep_until(next);
        std::lock_guard lock(m_drawLock);
        // Checked under the lock: a fill that came in while this tick waited for it must stay on the screen.
        if (!m_paused)
            drawFrame(frame);
    }
}

std::chrono::steady_clock::time_point DemoWindow::fill(std::uint32_t rgb) {
    m_paused = true;
    std::lock_guard lock(m_drawLock);
    xcb_connection_t* c = m_connection.get();
    xcb_change_gc(c, m_gc, XCB_GC_FOREGROUND, &rgb);
    const xcb_rectangle_t r{0, 0, std::uint16_t(m_options.width), std::uint16_t(m_options.height)};
    xcb_poly_fill_rectangle(c, m_window, m_gc, 1, &r);
    sync();
    return std::chrono::steady_clock::now();
}

void DemoWindow::resume() {
    m_paused = false;
}

void DemoWindow::raise() {
    std::lock_guard lock(m_drawLock);
    const std::uint32_t above = XCB_STACK_MODE_ABOVE;
    xcb_configure_window(m_connection.get(), m_window, XCB_CONFIG_WINDOW_STACK_MODE, &above);
    sync();
}

} // namespace orvane
