// A real browser against the loopback API: a page served from another local port tries what a hostile
// page would (fetches that create a project and start a recording, a form post) and must change nothing,
// while the same page, once its origin is listed, can read what it asks for. The listed case is the proof
// that the browser reaches the server at all.
#include "ServerTestSupport.h"
#include "capture/X11TestSupport.h"
#include "common/LogCapture.h"
#include "localapi/ApiAccess.h"

#include <QDir>
#include <QProcess>
#include <QProcessEnvironment>
#include <QStandardPaths>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace orvane;
using namespace orvane::test;
using namespace std::chrono_literals;

namespace {

// What the page does, by its query: "?attack" tries to act, "?read" only reads /status. It writes what it
// saw into #out as JSON and then sets the title.
constexpr char pageTemplate[] = R"html(<!doctype html>
<html><body>
<form id="form" method="POST" enctype="text/plain" action="API/project/create" target="sink">
<input name='{"name": "Form post", "x": "' value='"}'></form>
<iframe name="sink" id="sink"></iframe>
<pre id="out">pending</pre>
<script>
const api = 'API';
const results = {};
async function attempt(name, path, init) {
  try {
    const answer = await fetch(api + path, init);
    results[name] = answer.type === 'opaque' ? 'opaque' : 'read ' + answer.status + ' ' + await answer.text();
  } catch (e) {
    results[name] = 'blocked';
  }
}
function postForm() {
  return new Promise(resolve => {
    document.getElementById('sink').onload = () => resolve('loaded');
    setTimeout(() => resolve('timed out'), 5000);
    document.getElementById('form').submit();
  });
}
(async () => {
  if (location.search === '?attack') {
    const plain = {'Content-Type': 'text/plain'};
    await attempt('create', '/project/create', {method: 'POST', headers: plain, body: '{"name": "From a page"}'});
    await attempt('createNoCors', '/project/create',
                  {method: 'POST', mode: 'no-cors', headers: plain, body: '{"name": "From a page"}'});
    await attempt('start', '/recording/start',
                  {method: 'POST', mode: 'no-cors', headers: plain, body: '{"systemAudio": false}'});
    await attempt('status', '/status', {});
    results.form = await postForm();
  } else {
    await attempt('status', '/status', {});
  }
  document.getElementById('out').textContent = JSON.stringify(results);
  document.title = 'done';
})();
</script></body></html>
)html";

// The page's own server: answers every request with the page, as a small development server would.
class PageServer {
public:
    explicit PageServer(QByteArray page)
        : m_page(std::move(page)) {
        QObject::connect(&m_listener, &QTcpServer::newConnection, [this] {
            while (QTcpSocket* socket = m_listener.nextPendingConnection()) {
                socket->setParent(&m_listener);
                QObject::connect(socket, &QTcpSocket::readyRead, socket, [this, socket] {
                    socket->setProperty("request",
                                        socket->property("request").toByteArray() + socket->readAll());
                    if (!socket->property("request").toByteArray().contains("\r\n\r\n"))
                        return;
                    socket->write(
                        "HTTP/1.1 200 OK\r\nContent-Type: text/html; charset=utf-8\r\nContent-Length: " +
                        QByteArray::number(m_page.size()) + "\r\nConnection: close\r\n\r\n" + m_page);
                    socket->disconnectFromHost();
                });
                QObject::connect(socket, &QTcpSocket::disconnected, socket, &QObject::deleteLater);
            }
        });
        m_listener.listen(QHostAddress::LocalHost, 0);
    }

    quint16 port() const { return m_listener.serverPort(); }
    QByteArray origin() const { return "http://127.0.0.1:" + QByteArray::number(port()); }

private:
    QByteArray m_page;
    QTcpServer m_listener;
};

class BrowserAccessTest : public ::testing::Test {
protected:
    void SetUp() override {
        for (const char* name : {"chromium", "chromium-browser"})
            if (m_chromium.isEmpty())
                m_chromium = QStandardPaths::findExecutable(QString::fromLatin1(name));
        if (m_chromium.isEmpty())
            GTEST_SKIP() << "chromium is not installed (scripts/setup-deps installs it)";
        ASSERT_TRUE(m_api.started);
        // With a display to record, a start that got through would really record: the check below that
        // nothing is recording then means something.
        m_xserver = XvfbServer::start(320, 240);
        if (m_xserver) {
            CaptureEnvironment env;
            env.displayName = m_xserver->displayName();
            env.pulseServer =
                "unix:" + QFile::encodeName(m_api.dir.filePath(QStringLiteral("no-sound-server")));
            m_api.app.setCaptureEnvironment(env);
            QCoro::waitFor(m_api.app.refreshPermissions());
        }
    }

    // Loads the page in a fresh headless browser and gives what it wrote into #out.
    JsonObject runPage(const PageServer& page, const char* query) {
        QTemporaryDir profile;
        QProcess browser;
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert(QStringLiteral("HOME"), profile.path());
        browser.setProcessEnvironment(env);
        browser.start(m_chromium,
                      {QStringLiteral("--headless"), QStringLiteral("--no-sandbox"),
                       QStringLiteral("--disable-gpu"), QStringLiteral("--disable-quic"),
                       QStringLiteral("--no-first-run"), QStringLiteral("--disable-background-networking"),
                       QStringLiteral("--disable-component-update"), QStringLiteral("--disable-sync"),
                       QStringLiteral("--user-data-dir=") + profile.filePath(QStringLiteral("profile")),
                       QStringLiteral("--virtual-time-budget=20000"), QStringLiteral("--dump-dom"),
                       QString::fromLatin1(page.origin() + '/' + query)});
        // The page and the API are served by this thread: keep its loop turning while the browser works.
        const bool finished =
            processEventsUntil([&] { return browser.state() == QProcess::NotRunning; }, 60s);
        if (!finished) {
            browser.kill();
            browser.waitForFinished(5000);
            ADD_FAILURE() << "the browser did not finish";
            return {};
        }
        const QByteArray dom = browser.readAllStandardOutput();
        const qsizetype start = dom.indexOf("<pre id=\"out\">");
        const qsizetype end = dom.indexOf("</pre>", start);
        if (start < 0 || end < 0 || !dom.contains("<title>done</title>")) {
            ADD_FAILURE() << "the page did not finish: " << dom.constData()
                          << browser.readAllStandardError().constData();
            return {};
        }
        QByteArray json = dom.mid(start + 14, end - start - 14);
        json.replace("&lt;", "<").replace("&gt;", ">").replace("&amp;", "&");
        return bodyOf(json);
    }

    QString m_chromium;
    TestServer m_api;
    std::unique_ptr<XvfbServer> m_xserver;
};

} // namespace

TEST_F(BrowserAccessTest, PagesCannotDriveTheApiUnlessTheirOriginIsListed) {
    const QByteArray api = "http://127.0.0.1:" + QByteArray::number(m_api.port);
    PageServer page(QByteArray(pageTemplate).replace("API", api));
    ASSERT_NE(page.port(), 0);

    LogCapture log;
    const JsonObject attack = runPage(page, "?attack");
    // The browser keeps every answer from the page: the refusals carry no cross-origin grant.
    EXPECT_EQ(
        writeCompactJson(attack).toStdString(),
        R"({"create":"blocked","createNoCors":"opaque","form":"loaded","start":"opaque","status":"blocked"})");
    // Each attempt reached the server and was refused there, not on the way.
    const QString refusal = QStringLiteral("[LocalAPIServer] refused a request from the web page at ") +
                            QString::fromLatin1(page.origin());
    EXPECT_GE(log.finish().filter(refusal).size(), 5) << refusal.toStdString();
    EXPECT_FALSE(m_api.app.currentBundle());
    EXPECT_FALSE(m_api.app.isRecording());
    EXPECT_FALSE(QDir(m_api.dir.filePath(QStringLiteral("Projects"))).exists());

    // The positive control: listed, the same page reads /status.
    m_api.defaults.setValue(QString::fromLatin1(allowedOriginsKey),
                            QStringList{QString::fromLatin1(page.origin())});
    const QString status = runPage(page, "?read").value("status").toString();
    ASSERT_TRUE(status.startsWith(QStringLiteral("read 200 "))) << status.toStdString();
    const JsonObject read = bodyOf(status.mid(9).toUtf8());
    EXPECT_FALSE(read.value("isRecording").toBool(true)) << status.toStdString();
    EXPECT_FALSE(read.value("hasProject").toBool(true)) << status.toStdString();
}
