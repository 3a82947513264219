#include "X11ContentQuery.h"

#include "XcbHandles.h"

#include <QList>

#include <xcb/randr.h>
#include <xcb/xinput.h>

#include <algorithm>
#include <map>
#include <utility>
#include <vector>

namespace orvane {

namespace {

struct Atoms {
    xcb_atom_t clientList, wmName, utf8String, wmPid, windowType, state, skipTaskbar;
    xcb_atom_t typeDock, typeDesktop, typeNotification, typeNormal, typeDialog;
};

Atoms internAtoms(xcb_connection_t* c) {
    const char* names[] = {"_NET_CLIENT_LIST",
                           "_NET_WM_NAME",
                           "UTF8_STRING",
                           "_NET_WM_PID",
                           "_NET_WM_WINDOW_TYPE",
                           "_NET_WM_STATE",
                           "_NET_WM_STATE_SKIP_TASKBAR",
                           "_NET_WM_WINDOW_TYPE_DOCK",
                           "_NET_WM_WINDOW_TYPE_DESKTOP",
                           "_NET_WM_WINDOW_TYPE_NOTIFICATION",
                           "_NET_WM_WINDOW_TYPE_NORMAL",
                           "_NET_WM_WINDOW_TYPE_DIALOG"};
    constexpr std::size_t count = std::size(names);
    xcb_intern_atom_cookie_t cookies[count];
    for (std::size_t i = 0; i < count; ++i)
        cookies[i] = xcb_intern_atom(c, 0, std::uint16_t(std::strlen(names[i])), names[i]);
    xcb_atom_t atoms[count];
    for (std::size_t i = 0; i < count; ++i) {
        const auto reply = xcb::reply(c, xcb_intern_atom_reply, cookies[i]);
        atoms[i] = reply ? reply->atom : xcb_atom_t(XCB_ATOM_NONE);
    }
    return {atoms[0], atoms[1], atoms[2], atoms[3], atoms[4],  atoms[5],
            atoms[6], atoms[7], atoms[8], atoms[9], atoms[10], atoms[11]};
}

xcb_get_property_cookie_t askProperty(xcb_connection_t* c, xcb_window_t w, xcb_atom_t property,
                                      xcb_atom_t type = XCB_GET_PROPERTY_TYPE_ANY) {
    return xcb_get_property(c, 0, w, property, type, 0, 4096);
}

template <class T>
std::vector<T> propertyValues(xcb_connection_t* c, xcb_get_property_cookie_t cookie) {
    const auto reply = xcb::reply(c, xcb_get_property_reply, cookie);
    if (!reply || reply->format != sizeof(T) * 8)
        return {};
    const auto* values = static_cast<const T*>(xcb_get_property_value(reply.get()));
    return std::vector<T>(values, values + xcb_get_property_value_length(reply.get()) / int(sizeof(T)));
}

std::optional<QByteArray> propertyBytes(xcb_connection_t* c, xcb_get_property_cookie_t cookie) {
    const auto reply = xcb::reply(c, xcb_get_property_reply, cookie);
    if (!reply || reply->type == XCB_ATOM_NONE || reply->format != 8)
        return std::nullopt;
    return QByteArray(static_cast<const char*>(xcb_get_property_value(reply.get())),
                      xcb_get_property_value_length(reply.get()));
}

std::vector<ShareableContent::Display> queryDisplays(xcb_connection_t* c, const xcb_screen_t& screen) {
    std::vector<ShareableContent::Display> displays;
    const xcb_query_extension_reply_t* randr = xcb_get_extension_data(c, &xcb_randr_id);
    if (randr && randr->present) {
        const auto version = xcb::reply(c, xcb_randr_query_version_reply, xcb_randr_query_version(c, 1, 5));
        if (version && (version->major_version > 1 || version->minor_version >= 5)) {
            const auto monitors =
                xcb::reply(c, xcb_randr_get_monitors_reply, xcb_randr_get_monitors(c, screen.root, 1));
            if (monitors) {
                for (auto it = xcb_randr_get_monitors_monitors_iterator(monitors.get()); it.rem;
                     xcb_randr_monitor_info_next(&it)) {
                    const xcb_randr_monitor_info_t* m = it.data;
                    const int outputs = xcb_randr_monitor_info_outputs_length(m);
                    ShareableContent::Display d;
                    d.displayID = outputs > 0 ? xcb_randr_monitor_info_outputs(m)[0] : m->name;
                    d.frame = {double(m->x), double(m->y), double(m->width), double(m->height)};
                    d.width = m->width;
                    d.height = m->height;
                    if (d.width > 0 && d.height > 0)
                        displays.push_back(d);
                }
            }
        }
    }
    if (displays.empty()) {
        // No RandR 1.5: the root window is the one display.
        ShareableContent::Display d;
        d.frame = {0, 0, double(screen.width_in_pixels), double(screen.height_in_pixels)};
        d.width = screen.width_in_pixels;
        d.height = screen.height_in_pixels;
        displays.push_back(d);
    }
    return displays;
}

std::vector<xcb_window_t> managedWindows(xcb_connection_t* c, xcb_window_t root, const Atoms& atoms) {
    if (atoms.clientList != XCB_ATOM_NONE) {
        const auto reply =
            xcb::reply(c, xcb_get_property_reply, askProperty(c, root, atoms.clientList, XCB_ATOM_WINDOW));
        if (reply && reply->type == XCB_ATOM_WINDOW && reply->format == 32) {
            const auto* values = static_cast<const xcb_window_t*>(xcb_get_property_value(reply.get()));
            return {values, values + xcb_get_property_value_length(reply.get()) / 4};
        }
    }
    // No window manager keeps a list: take what is on the screen, bottom to top.
    const auto tree = xcb::reply(c, xcb_query_tree_reply, xcb_query_tree(c, root));
    if (!tree)
        return {};
    const xcb_window_t* children = xcb_query_tree_children(tree.get());
    const int count = xcb_query_tree_children_length(tree.get());
    std::vector<xcb_get_window_attributes_cookie_t> cookies;
    for (int i = 0; i < count; ++i)
        cookies.push_back(xcb_get_window_attributes(c, children[i]));
    std::vector<xcb_window_t> windows;
    for (int i = 0; i < count; ++i) {
        const auto attributes = xcb::reply(c, xcb_get_window_attributes_reply, cookies[std::size_t(i)]);
        if (attributes && attributes->map_state == XCB_MAP_STATE_VIEWABLE && !attributes->override_redirect &&
            attributes->_class == XCB_WINDOW_CLASS_INPUT_OUTPUT)
            windows.push_back(children[i]);
    }
    return windows;
}

struct WindowFacts {
    xcb_window_t id = 0;
    std::optional<QString> title;
    QString wmClass;
    std::uint32_t pid = 0;
    Rect frame;
    bool isSystemSurface = false;
    bool isOrdinary = false; // a normal window or dialog
    bool skipsTaskbar = false;
    bool exists = false;
};

std::vector<WindowFacts> describeWindows(xcb_connection_t* c, xcb_window_t root,
                                         const std::vector<xcb_window_t>& windows, const Atoms& atoms) {
    struct Cookies {
        xcb_get_property_cookie_t netName, name, wmClass, pid, types, state;
        xcb_get_geometry_cookie_t geometry;
        xcb_translate_coordinates_cookie_t origin;
    };
    std::vector<Cookies> cookies;
    cookies.reserve(windows.size());
    for (xcb_window_t w : windows)
        cookies.push_back({askProperty(c, w, atoms.wmName, atoms.utf8String),
                           askProperty(c, w, XCB_ATOM_WM_NAME),
                           askProperty(c, w, XCB_ATOM_WM_CLASS, XCB_ATOM_STRING),
                           askProperty(c, w, atoms.wmPid, XCB_ATOM_CARDINAL),
                           askProperty(c, w, atoms.windowType, XCB_ATOM_ATOM),
                           askProperty(c, w, atoms.state, XCB_ATOM_ATOM), xcb_get_geometry(c, w),
                           xcb_translate_coordinates(c, w, root, 0, 0)});
    std::vector<WindowFacts> facts;
    for (std::size_t i = 0; i < windows.size(); ++i) {
        const Cookies& k = cookies[i];
        WindowFacts f;
        f.id = windows[i];
        if (auto netName = propertyBytes(c, k.netName))
            f.title = QString::fromUtf8(*netName);
        if (auto name = propertyBytes(c, k.name); name && !f.title)
            f.title = QString::fromLatin1(*name);
        if (auto wmClass = propertyBytes(c, k.wmClass)) {
            // "instance\0class\0": the class names the application.
            const QList<QByteArray> parts = wmClass->split('\0');
            if (parts.size() >= 2)
                f.wmClass = QString::fromUtf8(parts[1]);
        }
        if (auto pid = propertyValues<std::uint32_t>(c, k.pid); !pid.empty())
            f.pid = pid.front();
        const auto types = propertyValues<xcb_atom_t>(c, k.types);
        for (xcb_atom_t type : types)
            if (type == atoms.typeDock || type == atoms.typeDesktop || type == atoms.typeNotification)
                f.isSystemSurface = true;
        // The first type a window names is the one it means; without one it is a normal window.
        f.isOrdinary =
            types.empty() || types.front() == atoms.typeNormal || types.front() == atoms.typeDialog;
        for (xcb_atom_t state : propertyValues<xcb_atom_t>(c, k.state))
            if (state == atoms.skipTaskbar)
                f.skipsTaskbar = true;
        const auto geometry = xcb::reply(c, xcb_get_geometry_reply, k.geometry);
        const auto origin = xcb::reply(c, xcb_translate_coordinates_reply, k.origin);
        if (geometry && origin) {
            f.exists = true;
            f.frame = {double(origin->dst_x), double(origin->dst_y), double(geometry->width),
                       double(geometry->height)};
        }
        facts.push_back(std::move(f));
    }
    return facts;
}

} // namespace

tl::expected<ShareableContent, QString> X11ContentQuery::query(const QByteArray& displayName) {
    const xcb_screen_t* screen = nullptr;
    const xcb::ConnectionPtr connection = xcb::connect(displayName, &screen);
    if (!connection)
        return tl::unexpected(QStringLiteral("Cannot open the X display \"%1\".")
                                  .arg(QString::fromLocal8Bit(xcb::shownDisplayName(displayName))));
    xcb_connection_t* c = connection.get();
    ShareableContent content;
    content.displays = queryDisplays(c, *screen);
    const Atoms atoms = internAtoms(c);
    const std::vector<WindowFacts> facts =
        describeWindows(c, screen->root, managedWindows(c, screen->root, atoms), atoms);

    // One application per WM_CLASS and process, in the order their first windows come.
    using Key = std::pair<QString, std::uint32_t>;
    std::map<Key, std::size_t> appIndex;
    for (const WindowFacts& f : facts) {
        if (!f.exists || f.wmClass.isEmpty())
            continue;
        const Key key{f.wmClass, f.pid};
        auto [it, added] = appIndex.try_emplace(key, content.applications.size());
        if (added) {
            ShareableContent::Application app;
            app.bundleIdentifier = f.wmClass;
            app.applicationName = f.wmClass;
            app.processID = f.pid;
            app.activationPolicy = ShareableContent::ActivationPolicy::accessory;
            content.applications.push_back(app);
        }
        auto& app = content.applications[it->second];
        if (f.isSystemSurface)
            app.isSystemChrome = true;
        else if (f.isOrdinary && !f.skipsTaskbar)
            app.activationPolicy = ShareableContent::ActivationPolicy::regular;
    }
    for (const WindowFacts& f : facts) {
        if (!f.exists)
            continue;
        ShareableContent::Window window;
        window.windowID = f.id;
        window.title = f.title;
        window.frame = f.frame;
        window.isSystemSurface = f.isSystemSurface;
        if (!f.wmClass.isEmpty())
            window.owningApplication = content.applications[appIndex.at(Key{f.wmClass, f.pid})];
        content.windows.push_back(std::move(window));
    }
    return content;
}

bool X11ContentQuery::captureAllowed(const QByteArray& displayName) {
    const xcb_screen_t* screen = nullptr;
    const xcb::ConnectionPtr connection = xcb::connect(displayName, &screen);
    if (!connection || screen->width_in_pixels == 0 || screen->height_in_pixels == 0)
        return false;
    xcb_connection_t* c = connection.get();
    const auto pixel = xcb::reply(c, xcb_get_image_reply,
                                  xcb_get_image(c, XCB_IMAGE_FORMAT_Z_PIXMAP, screen->root, 0, 0, 1, 1, ~0u));
    return pixel != nullptr;
}

bool X11ContentQuery::hasXInput2(const QByteArray& displayName) {
    const xcb::ConnectionPtr connection = xcb::connect(displayName, nullptr);
    if (!connection)
        return false;
    xcb_connection_t* c = connection.get();
    const xcb_query_extension_reply_t* xinput = xcb_get_extension_data(c, &xcb_input_id);
    if (!xinput || !xinput->present)
        return false;
    const auto version = xcb::reply(c, xcb_input_xi_query_version_reply, xcb_input_xi_query_version(c, 2, 2));
    return version &&
           (version->major_version > 2 || (version->major_version == 2 && version->minor_version >= 2));
}

} // namespace orvane
