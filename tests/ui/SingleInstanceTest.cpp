#include "ui/SingleInstance.h"

#include "UiTestSupport.h"

#include <QFile>
#include <QLocalSocket>

namespace orvane::test {
namespace {

using namespace std::chrono_literals;

// What a crashed program leaves behind must not keep the next start from becoming the running one, and
// what arrives on the socket must be a well-formed hand-over before anything is opened.
TEST(SingleInstanceTest, TakesOverALeftoverSocketAndHearsOnlyWellFormedHandOvers) {
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("instance.socket"));
    QFile leftover(path);
    ASSERT_TRUE(leftover.open(QIODevice::WriteOnly));
    leftover.close();

    SingleInstance instance(path);
    ASSERT_TRUE(instance.claimOrForward({}));
    ASSERT_TRUE(instance.isListening());
    QStringList heard;
    int handOvers = 0;
    QObject::connect(&instance, &SingleInstance::argumentsReceived, [&](const QStringList& arguments) {
        heard = arguments;
        ++handOvers;
    });

    const auto send = [&](const QByteArray& message) {
        QLocalSocket socket;
        socket.connectToServer(path);
        EXPECT_TRUE(socket.waitForConnected(2000));
        socket.write(message);
        socket.flush();
        QByteArray answer;
        waitUntil(
            [&] {
                answer += socket.readAll();
                return answer.endsWith('\n') || socket.state() != QLocalSocket::ConnectedState;
            },
            2s);
        return answer;
    };
    EXPECT_EQ(send(R"(["/tmp/Demo.orvanescreen","orvane-screen://signin?code=1"])"
                   "\n"),
              QByteArray("ok\n"));
    EXPECT_EQ(heard, (QStringList{QStringLiteral("/tmp/Demo.orvanescreen"),
                                  QStringLiteral("orvane-screen://signin?code=1")}));
    // Not a list of texts: the connection is dropped and nothing is opened.
    EXPECT_EQ(send("{\"open\": 1}\n"), QByteArray());
    EXPECT_EQ(send("not json\n"), QByteArray());
    EXPECT_EQ(handOvers, 1);
}

TEST_F(UiTest, TheWindowKeepsItsFrameForTheNextStart) {
    UiHarness ui;
    ASSERT_TRUE(ui.load());
    ui.window()->setGeometry(QRect(200, 150, 1300, 820));
    ASSERT_TRUE(waitUntil(
        [&] {
            return ui.defaults->value(QString::fromLatin1(DesktopApplication::frameAutosaveKey))
                       .toRect()
                       .size() == QSize(1300, 820);
        },
        3s));
    ui.desktop.reset();
    ui.desktop = std::make_unique<DesktopApplication>(*ui.app, *ui.recents, *ui.defaults,
                                                      DesktopApplication::Options{std::nullopt});
    ASSERT_TRUE(ui.load());
    EXPECT_EQ(ui.window()->geometry().size(), QSize(1300, 820));
    // A frame saved on a screen that is gone is not restored.
    ui.defaults->setValue(QString::fromLatin1(DesktopApplication::frameAutosaveKey),
                          QRect(9000, 9000, 1300, 820));
    ui.desktop.reset();
    ui.desktop = std::make_unique<DesktopApplication>(*ui.app, *ui.recents, *ui.defaults,
                                                      DesktopApplication::Options{std::nullopt});
    ASSERT_TRUE(ui.load());
    EXPECT_LT(ui.window()->geometry().x(), 1920);
}

} // namespace
} // namespace orvane::test
