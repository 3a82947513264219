// `orvane-screen serve` as a user runs it: the real program on the private X and sound servers, driven over
// HTTP from outside, then ended by a signal. Ending it must never lose a recording under way.
#include "ServerTestSupport.h"
#include "capture/CaptureTestSupport.h"
#include "capture/TelemetryFiles.h"
#include "project/Project.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QProcessEnvironment>

#include <gtest/gtest.h>

#include <csignal>

using namespace orvane;
using namespace orvane::test;
using namespace std::chrono_literals;

namespace {

class ServeCommandTest : public CaptureServers {
protected:
    void SetUp() override {
        ORVANE_REQUIRE_CAPTURE_SERVERS();
        ASSERT_TRUE(m_home.isValid());
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert(QStringLiteral("DISPLAY"), QString::fromLatin1(xserver->displayName()));
        env.insert(QStringLiteral("PULSE_SERVER"), QString::fromLatin1(pulse->serverString()));
        env.insert(QStringLiteral("HOME"), m_home.path());
        env.insert(QStringLiteral("XDG_CONFIG_HOME"), m_home.filePath(QStringLiteral(".config")));
        m_serve.setProcessEnvironment(env);
        m_serve.start(QStringLiteral(ORVANE_SCREEN_BINARY),
                      {QStringLiteral("serve"), QStringLiteral("--port"), QString::number(m_port)});
        ASSERT_TRUE(processEventsUntil(
            [&] {
                m_out += m_serve.readAllStandardOutput();
                return m_out.contains("serving the Orvane Screen API") ||
                       m_serve.state() == QProcess::NotRunning;
            },
            20s))
            << m_serve.readAllStandardError().constData();
        ASSERT_EQ(m_serve.state(), QProcess::Running) << m_serve.readAllStandardError().constData();
    }

    void TearDown() override {
        if (m_serve.state() != QProcess::NotRunning) {
            m_serve.kill();
            m_serve.waitForFinished(5000);
        }
    }

    CurlResult call(const char* method, const char* path, const QByteArray& body = {}) const {
        return curl(m_port, QString::fromLatin1(method), QString::fromLatin1(path), body);
    }

    // Starts recording the display into a new project of the folder "Takes"; gives the project's path.
    QString startRecording() {
        const CurlResult started = call("POST", "/recording/start",
                                        R"({"sourceType": "screen", "systemAudio": false, "outputDir": ")" +
                                            takes().toUtf8() + "\"}");
        EXPECT_EQ(started.status, 200) << started.body.constData();
        EXPECT_TRUE(bodyOf(started.body).value("recording").toBool()) << started.body.constData();
        return bodyOf(call("GET", "/status").body).value("projectPath").toString();
    }

    void signal(int number) {
        // Once the program has ended its id reads 0, and a kill of 0 would hit this test's whole group.
        const qint64 pid = m_serve.processId();
        ASSERT_GT(pid, 0) << "the program has already ended";
        ::kill(pid_t(pid), number);
    }

    // Waits for the program to end by itself and expects the clean way out.
    void expectCleanExit() {
        ASSERT_TRUE(processEventsUntil([&] { return m_serve.state() == QProcess::NotRunning; }, 20s));
        m_out += m_serve.readAllStandardOutput();
        EXPECT_EQ(m_serve.exitStatus(), QProcess::NormalExit);
        EXPECT_EQ(m_serve.exitCode(), 0) << m_serve.readAllStandardError().constData();
        EXPECT_TRUE(m_out.endsWith("stopped\n")) << m_out.constData();
    }

    // The project as the program left it on disk.
    static std::optional<Project> savedProject(const QString& path) {
        QFile file(path + QStringLiteral("/project.json"));
        if (!file.open(QIODevice::ReadOnly))
            return std::nullopt;
        auto project = decodeProject(file.readAll());
        return project ? std::optional<Project>(*project) : std::nullopt;
    }

    QString takes() const { return m_home.filePath(QStringLiteral("Takes")); }

    QTemporaryDir m_home;
    quint16 m_port = freeLoopbackPort();
    QProcess m_serve;
    QByteArray m_out;
};

} // namespace

TEST_F(ServeCommandTest, RecordsOverHttpReportsItsVersionAndStopsOnInterrupt) {
    // /health names the version the program prints.
    QProcess version;
    version.start(QStringLiteral(ORVANE_SCREEN_BINARY), {QStringLiteral("--version")});
    ASSERT_TRUE(version.waitForFinished(10000));
    const QString printed = QString::fromUtf8(version.readAllStandardOutput()).trimmed();
    const QString reported = bodyOf(call("GET", "/health").body).value("version").toString();
    EXPECT_NE(reported, QStringLiteral("0.0.0"));
    EXPECT_EQ(QStringLiteral("orvane-screen ") + reported, printed);

    const QString project = startRecording();
    processEventsFor(500ms);
    const CurlResult stopped = call("POST", "/recording/stop");
    ASSERT_EQ(stopped.status, 200) << stopped.body.constData();
    const JsonObject stop = bodyOf(stopped.body);
    EXPECT_EQ(stop.value("clipCount").toDouble(), 1);
    EXPECT_TRUE(QFileInfo(stop.value("filePath").toString()).size() > 0) << stopped.body.constData();
    EXPECT_EQ(stop.value("projectPath").toString(), project);
    EXPECT_TRUE(project.startsWith(takes() + u'/')) << project.toStdString();

    signal(SIGINT);
    expectCleanExit();
    const auto saved = savedProject(project);
    ASSERT_TRUE(saved);
    EXPECT_EQ(saved->timeline.clips.size(), 1u);
}

TEST_F(ServeCommandTest, TerminatingDuringARecordingKeepsTheClipWithItsTelemetry) {
    const QString project = startRecording();
    ASSERT_FALSE(project.isEmpty());
    // Something for the cursor and event files to hold.
    XTestDriver input(xserver->displayName());
    ASSERT_TRUE(input.isOpen());
    for (int i = 0; i < 10; ++i) {
        input.moveBy(12, 7);
        processEventsFor(50ms);
    }
    input.click(1);
    processEventsFor(500ms);

    signal(SIGTERM);
    expectCleanExit();
    const auto saved = savedProject(project);
    ASSERT_TRUE(saved) << project.toStdString();
    ASSERT_EQ(saved->timeline.clips.size(), 1u);
    const Clip& clip = saved->timeline.clips.front();
    const QDir bundle(project);
    EXPECT_GT(QFileInfo(bundle.filePath(clip.sourceVideoPath)).size(), 0);
    EXPECT_GT(clip.sourceOut.seconds, 0.5);
    ASSERT_TRUE(clip.sourceCursorPath && clip.sourceEventsPath);
    const auto cursor = TelemetryFiles::readCursorTrack(bundle.filePath(*clip.sourceCursorPath));
    ASSERT_TRUE(cursor) << cursor.error().toStdString();
    EXPECT_FALSE(cursor->samples.empty());
    const auto events = TelemetryFiles::readEventTrack(bundle.filePath(*clip.sourceEventsPath));
    ASSERT_TRUE(events) << events.error().toStdString();
    EXPECT_FALSE(events->events.empty());
}

TEST_F(ServeCommandTest, AHangUpKeepsTheClipEvenWhenASecondSignalFollows) {
    const QString project = startRecording();
    processEventsFor(500ms);
    signal(SIGHUP);
    QByteArray err;
    ASSERT_TRUE(processEventsUntil(
        [&] {
            err += m_serve.readAllStandardError();
            return err.contains("stopping the recording") || m_serve.state() == QProcess::NotRunning;
        },
        10s));
    // An impatient second Ctrl-C while the movie is finished must not cut it short.
    signal(SIGINT);
    expectCleanExit();
    const auto saved = savedProject(project);
    ASSERT_TRUE(saved) << project.toStdString();
    ASSERT_EQ(saved->timeline.clips.size(), 1u);
    EXPECT_GT(QFileInfo(QDir(project).filePath(saved->timeline.clips.front().sourceVideoPath)).size(), 0);
}
