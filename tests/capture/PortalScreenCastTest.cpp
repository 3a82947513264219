// The screen cast's conversation with the desktop portal, against a portal of the test's own on a private
// bus: what each step asks, how the answers come back on the Request objects, the restore token, a
// cancelled dialog and a session without a portal. The real portal and PipeWire are driven by the Wayland
// session tests.
#include "capture/wayland/PortalScreenCast.h"

#include "FakeScreenCastPortal.h"
#include "common/PrivateSessionBus.h"

#include <QCoro/QCoroTask>
#include <QCoro/QCoroTimer>

#include <gtest/gtest.h>

namespace orvane::test {
namespace {

class PortalScreenCastTest : public ::testing::Test {
protected:
    void SetUp() override {
        if (bus.address.isEmpty())
            GTEST_SKIP() << "dbus-daemon did not start";
    }

    // Puts the fake portal on the bus.
    std::unique_ptr<FakeScreenCast> startPortal() {
        return FakeScreenCast::publish(bus.connect(QStringLiteral("portal-side")));
    }

    PrivateBus bus;
};

// A first cast asks for a monitor with the cursor as metadata and a choice kept until revoked; its restore
// token opens the second without the dialog's choice; closing ends the session on the portal.
TEST_F(PortalScreenCastTest, StartsAndRemembersTheSource) {
    const auto portal = startPortal();
    PortalScreenCast cast(bus.connect(QStringLiteral("client-side")));

    const auto caps = QCoro::waitFor(cast.capabilities());
    ASSERT_TRUE(caps.has_value()) << caps.error().detail.toStdString();
    EXPECT_EQ(*caps, (PortalScreenCast::Capabilities{4, 3, 7}));
    EXPECT_EQ(PortalScreenCast::preferredCursorMode(caps->cursorModes),
              uint(PortalScreenCast::cursorMetadata));
    EXPECT_EQ(PortalScreenCast::preferredCursorMode(3), uint(PortalScreenCast::cursorEmbedded))
        << "wlroots portals offer no metadata";
    EXPECT_EQ(PortalScreenCast::preferredCursorMode(0), 0u);

    PortalScreenCast::Options options;
    options.cursorMode = PortalScreenCast::preferredCursorMode(caps->cursorModes);
    options.parentWindow = QStringLiteral("x11:1a");
    const auto first = QCoro::waitFor(cast.start(options));
    ASSERT_TRUE(first.has_value()) << first.error().detail.toStdString();
    ASSERT_EQ(first->streams.size(), 1u);
    EXPECT_EQ(first->streams[0].nodeId, 42u);
    EXPECT_EQ(first->streams[0].size, QSize(1920, 1080));
    EXPECT_EQ(first->streams[0].sourceType, 1u);
    EXPECT_FALSE(first->streams[0].position.has_value());
    EXPECT_EQ(first->restoreToken, QStringLiteral("restore-1"));
    EXPECT_TRUE(first->remote.isValid());
    EXPECT_TRUE(cast.isOpen());
    ASSERT_EQ(portal->selectOptions.size(), 1);
    const QVariantMap& asked = portal->selectOptions[0];
    EXPECT_EQ(asked.value(QStringLiteral("types")).toUInt(), 1u);
    EXPECT_EQ(asked.value(QStringLiteral("cursor_mode")).toUInt(), 4u);
    EXPECT_EQ(asked.value(QStringLiteral("persist_mode")).toUInt(), 2u);
    EXPECT_FALSE(asked.value(QStringLiteral("multiple")).toBool());
    EXPECT_FALSE(asked.contains(QStringLiteral("restore_token")));
    EXPECT_EQ(portal->parentWindows, QStringList{QStringLiteral("x11:1a")});

    // Starting again replaces the open session, and the token goes along.
    portal->nextRestoreToken = QStringLiteral("restore-2");
    options.restoreToken = first->restoreToken;
    const auto second = QCoro::waitFor(cast.start(options));
    ASSERT_TRUE(second.has_value()) << second.error().detail.toStdString();
    EXPECT_EQ(second->restoreToken, QStringLiteral("restore-2"));
    ASSERT_EQ(portal->selectOptions.size(), 2);
    EXPECT_EQ(portal->selectOptions[1].value(QStringLiteral("restore_token")).toString(),
              QStringLiteral("restore-1"));
    ASSERT_TRUE(QCoro::waitFor([&]() -> QCoro::Task<bool> {
        for (int i = 0; i < 100 && portal->session.closed < 1; ++i)
            co_await QCoro::sleepFor(std::chrono::milliseconds(10));
        co_return portal->session.closed >= 1;
    }()));

    const int closedBefore = portal->session.closed;
    cast.close();
    cast.close();
    EXPECT_FALSE(cast.isOpen());
    QCoro::waitFor(QCoro::sleepFor(std::chrono::milliseconds(200)));
    EXPECT_EQ(portal->session.closed, closedBefore + 1) << "one Close however often it is called";
}

// The user closes the desktop's dialog: a cancel, and the half-made session is closed. A dialog that ends
// another way is a failure that says so.
TEST_F(PortalScreenCastTest, ACancelledOrFailedDialogClosesTheSession) {
    const auto portal = startPortal();
    PortalScreenCast cast(bus.connect(QStringLiteral("client-side")));

    portal->startResponse = 1;
    const auto cancelled = QCoro::waitFor(cast.start({}));
    ASSERT_FALSE(cancelled.has_value());
    EXPECT_EQ(cancelled.error().kind, PortalScreenCast::Error::Kind::cancelled);
    EXPECT_FALSE(cast.isOpen());
    QCoro::waitFor(QCoro::sleepFor(std::chrono::milliseconds(200)));
    EXPECT_EQ(portal->session.closed, 1);

    portal->startResponse = 2;
    const auto failed = QCoro::waitFor(cast.start({}));
    ASSERT_FALSE(failed.has_value());
    EXPECT_EQ(failed.error().kind, PortalScreenCast::Error::Kind::failed);
    EXPECT_TRUE(failed.error().detail.contains(QStringLiteral("(2)"))) << failed.error().detail.toStdString();
}

// A session without the portal: unavailable at once, for the capabilities and for a cast, so the
// program can say what is missing rather than wait.
TEST_F(PortalScreenCastTest, WithoutAPortalItIsUnavailable) {
    PortalScreenCast cast(bus.connect(QStringLiteral("client-side")));
    const auto caps = QCoro::waitFor(cast.capabilities());
    ASSERT_FALSE(caps.has_value());
    EXPECT_EQ(caps.error().kind, PortalScreenCast::Error::Kind::unavailable);
    const auto started = QCoro::waitFor(cast.start({}));
    ASSERT_FALSE(started.has_value());
    EXPECT_EQ(started.error().kind, PortalScreenCast::Error::Kind::unavailable);

    PortalScreenCast noBus(QDBusConnection(QStringLiteral("never-connected")));
    const auto none = QCoro::waitFor(noBus.start({}));
    ASSERT_FALSE(none.has_value());
    EXPECT_EQ(none.error().kind, PortalScreenCast::Error::Kind::unavailable);
}

} // namespace
} // namespace orvane::test
