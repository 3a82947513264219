// The real program as a user starts it: its own process on the suite's X server with a private home, driven
// only by XTest keys and clicks, observed from outside through the loopback API and the files it writes.
#include "UiTestSupport.h"
#include "capture/X11TestSupport.h"
#include "project/Json.h"
#include "project/Project.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QProcess>
#include <QTcpServer>

#include <X11/keysym.h>

namespace orvane::test {
namespace {

using namespace std::chrono_literals;

class EndToEndTest : public UiTest {
protected:
    void SetUp() override {
        UiTest::SetUp();
        if (IsSkipped())
            return;
        QTcpServer probe;
        ASSERT_TRUE(probe.listen(QHostAddress::LocalHost, 0));
        m_port = probe.serverPort();
        probe.close();
        QDir().mkpath(m_home.filePath(QStringLiteral("runtime")));
        QFile::setPermissions(m_home.filePath(QStringLiteral("runtime")),
                              QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert(QStringLiteral("DISPLAY"), QString::fromLatin1(uiDisplayName()));
        env.insert(QStringLiteral("HOME"), m_home.path());
        env.insert(QStringLiteral("XDG_CONFIG_HOME"), m_home.filePath(QStringLiteral(".config")));
        env.insert(QStringLiteral("XDG_DATA_HOME"), m_home.filePath(QStringLiteral(".local/share")));
        env.insert(QStringLiteral("XDG_RUNTIME_DIR"), m_home.filePath(QStringLiteral("runtime")));
        env.insert(QStringLiteral("ORVANE_SCREEN_API_PORT"), QString::number(m_port));
        env.remove(QStringLiteral("QT_QPA_PLATFORM"));
        m_program.setProcessEnvironment(env);
        m_program.setProcessChannelMode(QProcess::MergedChannels);
        m_program.start(QStringLiteral(ORVANE_SCREEN_BINARY), {});
        ASSERT_TRUE(m_program.waitForStarted(5000));
        m_driver = std::make_unique<XTestDriver>(uiDisplayName());
        ASSERT_TRUE(m_driver->isOpen());
    }

    void TearDown() override {
        if (m_program.state() != QProcess::NotRunning) {
            m_program.terminate();
            if (!m_program.waitForFinished(15000))
                m_program.kill();
        }
        if (HasFailure())
            std::fprintf(stderr, "%s\n", m_program.readAll().constData());
    }

    QJsonObject status() {
        std::unique_ptr<QNetworkReply> reply(
            m_network.get(QNetworkRequest(QUrl(QStringLiteral("http://127.0.0.1:%1/status").arg(m_port)))));
        waitUntil([&] { return reply->isFinished(); }, 3s);
        return QJsonDocument::fromJson(reply->readAll()).object();
    }

    bool waitForStatus(const std::function<bool(const QJsonObject&)>& done,
                       std::chrono::milliseconds timeout) {
        return waitUntil(
            [&] {
                QTest::qWait(100);
                return done(status());
            },
            timeout);
    }

    // Keys go where the pointer is (no window manager: focus follows the pointer), so point at the window.
    void pointAtMainWindow() { m_driver->warp(640, 400); }

    QTemporaryDir m_home;
    quint16 m_port = 0;
    QProcess m_program;
    QNetworkAccessManager m_network;
    std::unique_ptr<XTestDriver> m_driver;
};

TEST_F(EndToEndTest, ARecordingMadeWithKeysAndAClickOnTheHudLandsAsAClip) {
    ASSERT_TRUE(waitForStatus([](const QJsonObject& s) { return s.contains(QStringLiteral("screen")); }, 20s))
        << "the program never answered on its API port";
    pointAtMainWindow();
    QTest::qWait(300);
    // First run: the onboarding; Esc skips it.
    m_driver->tapKey(XK_Escape);
    QTest::qWait(400);
    // New Recording, then the picker's first display (chosen for the user) and Start Recording.
    m_driver->tapKey(XK_n, {XK_Control_L});
    ASSERT_TRUE(waitForStatus(
        [](const QJsonObject& s) { return s[QStringLiteral("screen")] == QLatin1String("sourcePicker"); },
        5s));
    QTest::qWait(2500); // the picker discovers the sources and chooses the display
    m_driver->tapKey(XK_r, {XK_Control_L, XK_Shift_L});
    ASSERT_TRUE(
        waitForStatus([](const QJsonObject& s) { return s[QStringLiteral("isRecording")].toBool(); }, 5s));
    // Three seconds of countdown, then about three of recording.
    QTest::qWait(3000 + 3000);

    // The floating control sits centred at the top of the 1920-wide screen, 340 by 88 at y = 20; Stop is
    // its right-most button.
    m_driver->warp(1920 / 2 + 170 - 48, 20 + 30);
    QTest::qWait(200);
    m_driver->click(1);
    ASSERT_TRUE(waitForStatus(
        [](const QJsonObject& s) {
            return !s[QStringLiteral("isRecording")].toBool() &&
                   s[QStringLiteral("screen")] == QLatin1String("editor");
        },
        30s));
    EXPECT_TRUE(status()[QStringLiteral("hasProject")].toBool());

    // The project is on disk in the default recordings folder with the recording as its one clip.
    QString projectFile;
    QDirIterator found(m_home.path(), {QStringLiteral("project.json")}, QDir::Files,
                       QDirIterator::Subdirectories);
    while (found.hasNext()) {
        const QString path = found.next();
        if (path.contains(QLatin1String("Orvane Screen/Recording ")))
            projectFile = path;
    }
    ASSERT_FALSE(projectFile.isEmpty());
    // Saving follows the edit by a moment.
    Project project;
    ASSERT_TRUE(waitUntil(
        [&] {
            QFile file(projectFile);
            if (!file.open(QIODevice::ReadOnly))
                return false;
            auto decoded = decodeProject(file.readAll());
            if (!decoded || decoded->timeline.clips.empty())
                return false;
            project = *decoded;
            return true;
        },
        10s));
    ASSERT_EQ(project.timeline.clips.size(), 1u);
    const Clip& clip = project.timeline.clips.front();
    EXPECT_GT(clip.sourceOut.seconds, 1.5);
    EXPECT_GT(QFileInfo(QFileInfo(projectFile).dir().filePath(clip.sourceVideoPath)).size(), 0);

    // Quitting from the keyboard ends the program cleanly.
    pointAtMainWindow();
    m_driver->tapKey(XK_q, {XK_Control_L});
    EXPECT_TRUE(m_program.waitForFinished(15000));
    EXPECT_EQ(m_program.exitCode(), 0);
}

TEST_F(EndToEndTest, ASecondStartHandsItsProjectToTheFirstAndExits) {
    ASSERT_TRUE(
        waitForStatus([](const QJsonObject& s) { return s.contains(QStringLiteral("screen")); }, 20s));
    // A project made by the command line, then opened by a second start.
    const QString folder = m_home.filePath(QStringLiteral("Handed.orvanescreen"));
    QProcess sample;
    sample.setProcessEnvironment(m_program.processEnvironment());
    sample.start(QStringLiteral(ORVANE_SCREEN_BINARY), {QStringLiteral("sample"), folder});
    ASSERT_TRUE(sample.waitForFinished(60000));
    ASSERT_EQ(sample.exitCode(), 0) << sample.readAllStandardError().constData();

    QProcess second;
    second.setProcessEnvironment(m_program.processEnvironment());
    second.start(QStringLiteral(ORVANE_SCREEN_BINARY), {folder});
    ASSERT_TRUE(second.waitForFinished(10000));
    EXPECT_EQ(second.exitCode(), 0);
    EXPECT_TRUE(second.readAllStandardOutput().contains("handed over"));
    EXPECT_TRUE(waitForStatus(
        [](const QJsonObject& s) {
            return s[QStringLiteral("hasProject")].toBool() &&
                   s[QStringLiteral("screen")] == QLatin1String("editor");
        },
        10s));
    EXPECT_EQ(m_program.state(), QProcess::Running);
}

} // namespace
} // namespace orvane::test
