// `orvane-screen serve` as a user runs it: the real program on the private X and sound servers, driven over
// HTTP from outside, then stopped with Ctrl-C.
#include "ServerTestSupport.h"
#include "capture/CaptureTestSupport.h"

#include <QFileInfo>
#include <QProcess>
#include <QProcessEnvironment>

#include <gtest/gtest.h>

#include <csignal>

using namespace orvane;
using namespace orvane::test;
using namespace std::chrono_literals;

namespace {
class ServeCommandTest : public CaptureServers {};
} // namespace

TEST_F(ServeCommandTest, RecordsOverHttpAndStopsOnInterrupt) {
    ORVANE_REQUIRE_CAPTURE_SERVERS();
    QTemporaryDir home;
    ASSERT_TRUE(home.isValid());
    const quint16 port = freeLoopbackPort();
    QProcess serve;
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert(QStringLiteral("DISPLAY"), QString::fromLatin1(xserver->displayName()));
    env.insert(QStringLiteral("PULSE_SERVER"), QString::fromLatin1(pulse->serverString()));
    env.insert(QStringLiteral("HOME"), home.path());
    env.insert(QStringLiteral("XDG_CONFIG_HOME"), home.filePath(QStringLiteral(".config")));
    serve.setProcessEnvironment(env);
    serve.start(QStringLiteral(ORVANE_SCREEN_BINARY),
                {QStringLiteral("serve"), QStringLiteral("--port"), QString::number(port)});
    QByteArray out;
    ASSERT_TRUE(processEventsUntil(
        [&] {
            out += serve.readAllStandardOutput();
            return out.contains("serving the Orvane Screen API") || serve.state() == QProcess::NotRunning;
        },
        20s))
        << serve.readAllStandardError().constData();
    ASSERT_EQ(serve.state(), QProcess::Running) << serve.readAllStandardError().constData();

    const QString folder = home.filePath(QStringLiteral("Takes"));
    const CurlResult started =
        curl(port, QStringLiteral("POST"), QStringLiteral("/recording/start"),
             QByteArray(R"({"sourceType": "screen", "systemAudio": false, "outputDir": ")") +
                 folder.toUtf8() + "\"}");
    ASSERT_EQ(started.status, 200) << started.body.constData();
    EXPECT_TRUE(bodyOf(started.body).value("recording").toBool()) << started.body.constData();
    processEventsFor(500ms);
    const CurlResult stopped = curl(port, QStringLiteral("POST"), QStringLiteral("/recording/stop"));
    ASSERT_EQ(stopped.status, 200) << stopped.body.constData();
    const JsonObject stop = bodyOf(stopped.body);
    EXPECT_EQ(stop.value("clipCount").toDouble(), 1);
    EXPECT_TRUE(QFileInfo(stop.value("filePath").toString()).size() > 0) << stopped.body.constData();
    EXPECT_TRUE(stop.value("projectPath").toString().startsWith(folder + u'/'));

    ::kill(pid_t(serve.processId()), SIGINT);
    ASSERT_TRUE(processEventsUntil([&] { return serve.state() == QProcess::NotRunning; }, 20s));
    EXPECT_EQ(serve.exitStatus(), QProcess::NormalExit);
    EXPECT_EQ(serve.exitCode(), 0) << serve.readAllStandardError().constData();
    // The project the recording made was saved on the way out.
    EXPECT_TRUE(QFileInfo::exists(stop.value("projectPath").toString() + QStringLiteral("/project.json")));
}
