// The XCB handles every X11 file goes through, against a private X server: connecting, replies and the
// errors that come instead of them, checked requests, round trips and atoms.
#include "capture/x11/XcbHandles.h"

#include "X11TestSupport.h"

#include <gtest/gtest.h>

using namespace orvane;

namespace {

using XcbHandlesTest = test::XServerTest<320, 240>;

constexpr xcb_window_t noSuchWindow = 0x3fffff; // an id no client of a fresh server has been given

} // namespace

TEST_F(XcbHandlesTest, ConnectsToTheNamedDisplayOrToDollarDisplayButNotWhereNobodyServes) {
    const xcb_screen_t* screen = nullptr;
    const xcb::ConnectionPtr named = xcb::connect(server->displayName(), &screen);
    ASSERT_NE(named, nullptr);
    ASSERT_NE(screen, nullptr);
    EXPECT_EQ(screen->width_in_pixels, 320);
    EXPECT_EQ(screen->height_in_pixels, 240);

    const QByteArray saved = qgetenv("DISPLAY");
    qputenv("DISPLAY", server->displayName());
    const xcb_screen_t* defaultScreen = nullptr;
    const xcb::ConnectionPtr fromEnvironment = xcb::connect({}, &defaultScreen);
    qputenv("DISPLAY", saved);
    ASSERT_NE(fromEnvironment, nullptr);
    EXPECT_EQ(defaultScreen->root, screen->root);

    EXPECT_EQ(xcb::connect(":65004", nullptr), nullptr);
    // A screen the display does not have is no connection either.
    EXPECT_EQ(xcb::connect(server->displayName() + ".3", nullptr), nullptr);
}

TEST_F(XcbHandlesTest, AReplyOrTheServersErrorInsteadAndTheErrorIsClearedByTheNextAnswer) {
    const xcb_screen_t* screen = nullptr;
    const xcb::ConnectionPtr connection = xcb::connect(server->displayName(), &screen);
    ASSERT_NE(connection, nullptr);
    xcb_connection_t* c = connection.get();

    const auto root = xcb::reply(c, xcb_get_geometry_reply, xcb_get_geometry(c, screen->root));
    ASSERT_NE(root, nullptr);
    EXPECT_EQ(root->width, 320);

    EXPECT_EQ(xcb::reply(c, xcb_get_geometry_reply, xcb_get_geometry(c, noSuchWindow)), nullptr);

    xcb::Error error;
    EXPECT_EQ(xcb::reply(c, xcb_get_geometry_reply, xcb_get_geometry(c, noSuchWindow), error), nullptr);
    ASSERT_NE(error, nullptr);
    EXPECT_EQ(error->error_code, XCB_DRAWABLE);
    EXPECT_EQ(error->resource_id, noSuchWindow);

    EXPECT_NE(xcb::reply(c, xcb_get_geometry_reply, xcb_get_geometry(c, screen->root), error), nullptr);
    EXPECT_EQ(error, nullptr);
    EXPECT_FALSE(xcb_connection_has_error(c));
}

TEST_F(XcbHandlesTest, ACheckedRequestSaysWhetherTheServerCarriedItOut) {
    const xcb_screen_t* screen = nullptr;
    const xcb::ConnectionPtr connection = xcb::connect(server->displayName(), &screen);
    ASSERT_NE(connection, nullptr);
    xcb_connection_t* c = connection.get();
    const std::uint32_t events = XCB_EVENT_MASK_PROPERTY_CHANGE;
    EXPECT_FALSE(
        xcb::failed(c, xcb_change_window_attributes_checked(c, screen->root, XCB_CW_EVENT_MASK, &events)));
    EXPECT_TRUE(
        xcb::failed(c, xcb_change_window_attributes_checked(c, noSuchWindow, XCB_CW_EVENT_MASK, &events)));
}

TEST_F(XcbHandlesTest, AfterARoundTripAnotherClientSeesWhatWasSentBeforeIt) {
    const xcb_screen_t* screen = nullptr;
    const xcb::ConnectionPtr writer = xcb::connect(server->displayName(), &screen);
    const xcb::ConnectionPtr reader = xcb::connect(server->displayName(), nullptr);
    ASSERT_NE(writer, nullptr);
    ASSERT_NE(reader, nullptr);

    // An atom nobody has made yet does not exist until someone asks for it to be made.
    const char* name = "ORVANE_XCB_HANDLES_TEST";
    EXPECT_EQ(xcb::internAtom(reader.get(), name, true), xcb_atom_t(XCB_ATOM_NONE));
    const xcb_atom_t atom = xcb::internAtom(writer.get(), name);
    ASSERT_NE(atom, xcb_atom_t(XCB_ATOM_NONE));
    EXPECT_EQ(xcb::internAtom(reader.get(), name, true), atom);

    const QByteArray value("orvane");
    xcb_change_property(writer.get(), XCB_PROP_MODE_REPLACE, screen->root, atom, XCB_ATOM_STRING, 8,
                        std::uint32_t(value.size()), value.constData());
    xcb::sync(writer.get());
    xcb_connection_t* r = reader.get();
    const auto property = xcb::reply(r, xcb_get_property_reply,
                                     xcb_get_property(r, 0, screen->root, atom, XCB_ATOM_STRING, 0, 16));
    ASSERT_NE(property, nullptr);
    EXPECT_EQ(QByteArray(static_cast<const char*>(xcb_get_property_value(property.get())),
                         xcb_get_property_value_length(property.get())),
              value);
}
