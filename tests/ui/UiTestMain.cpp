#include "UiTestSupport.h"
#include "capture/X11TestSupport.h"

#include <QDir>
#include <QGuiApplication>
#include <QQmlExtensionPlugin>
#include <QQuickStyle>
#include <QTemporaryDir>

#include <gtest/gtest.h>

Q_IMPORT_QML_PLUGIN(Orvane_UiPlugin)

namespace orvane::test {

QByteArray& uiSkipReason() {
    static QByteArray reason;
    return reason;
}

QByteArray& uiDisplayName() {
    static QByteArray name;
    return name;
}

} // namespace orvane::test

// One private X server for the whole process: every window of these tests opens on it, as on a desktop.
int main(int argc, char** argv) {
    ::testing::InitGoogleTest(&argc, argv);
    std::unique_ptr<orvane::test::XvfbServer> server;
    // Listing the tests needs no window.
    const bool listing = ::testing::GTEST_FLAG(list_tests);
    if (!listing) {
        QByteArray failure;
        server = orvane::test::XvfbServer::start(1920, 1080, &failure);
        if (server)
            orvane::test::uiDisplayName() = server->displayName();
        else
            orvane::test::uiSkipReason() = failure.isEmpty() ? QByteArray("Xvfb did not start") : failure;
    }
    QTemporaryDir runtime;
    QFile::setPermissions(runtime.path(), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    qputenv("XDG_RUNTIME_DIR", QFile::encodeName(runtime.path()));
    if (server) {
        qputenv("DISPLAY", server->displayName());
        qputenv("QT_QPA_PLATFORM", "xcb");
        qputenv("LIBGL_ALWAYS_SOFTWARE", "1");
    } else {
        qputenv("QT_QPA_PLATFORM", "offscreen");
    }
    // No sound server unless a test starts one: recordings here are video only.
    qputenv("PULSE_SERVER", "unix:/nonexistent");
    QQuickStyle::setStyle(QStringLiteral("Basic"));
    QGuiApplication app(argc, argv);
    return RUN_ALL_TESTS();
}
