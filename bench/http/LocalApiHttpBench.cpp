// What the loopback API sustains: requests per second and tail latency from wrk for GET /health (answered
// on the server's own thread) and GET /project/clips with a 200-clip project (a hop to the main thread and
// 200 clip summaries), against Python's http.server handing out a small static file from the same machine
// as the baseline. Both close the connection after every answer, so wrk opens one per request for each.
// The server is the real one, embedded here with an application state of its own. Prints its figures;
// takes the seconds per run as an optional argument (10 by default).
#include "common/RandomProject.h"
#include "localapi/AppStateAPIDelegate.h"
#include "localapi/LocalAPIServer.h"
#include "support/UserDefaults.h"

#include <QCoreApplication>
#include <QDir>
#include <QEventLoop>
#include <QFile>
#include <QProcess>
#include <QRegularExpression>
#include <QStandardPaths>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTemporaryDir>
#include <QTimer>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <optional>

using namespace orvane;

namespace {

constexpr int threads = 2;
constexpr int connections = 8;
constexpr int projectClips = 200;

struct WrkFigures {
    double requestsPerSecond = 0;
    double p50Ms = 0;
    double p99Ms = 0;
    qint64 requests = 0;
    qint64 errors = 0; // socket errors of any kind and non-2xx answers
};

// wrk prints latencies as "812.00us", "1.25ms" or "2.01s".
double milliseconds(const QString& text) {
    static const QRegularExpression pattern(QStringLiteral("^([0-9.]+)(us|ms|s|m)$"));
    const auto m = pattern.match(text);
    if (!m.hasMatch())
        return -1;
    const double value = m.captured(1).toDouble();
    const QString unit = m.captured(2);
    if (unit == QLatin1StringView("us"))
        return value / 1000;
    if (unit == QLatin1StringView("ms"))
        return value;
    if (unit == QLatin1StringView("s"))
        return value * 1000;
    return value * 60000;
}

std::optional<WrkFigures> parseWrk(const QString& out) {
    WrkFigures f;
    const auto rps = QRegularExpression(QStringLiteral("Requests/sec:\\s+([0-9.]+)")).match(out);
    const auto p50 = QRegularExpression(QStringLiteral("\\n\\s+50%\\s+(\\S+)")).match(out);
    const auto p99 = QRegularExpression(QStringLiteral("\\n\\s+99%\\s+(\\S+)")).match(out);
    const auto total = QRegularExpression(QStringLiteral("\\n\\s+(\\d+) requests in")).match(out);
    if (!rps.hasMatch() || !p99.hasMatch() || !total.hasMatch())
        return std::nullopt;
    f.requestsPerSecond = rps.captured(1).toDouble();
    f.p50Ms = p50.hasMatch() ? milliseconds(p50.captured(1)) : -1;
    f.p99Ms = milliseconds(p99.captured(1));
    f.requests = total.captured(1).toLongLong();
    const auto socket =
        QRegularExpression(
            QStringLiteral("Socket errors: connect (\\d+), read (\\d+), write (\\d+), timeout (\\d+)"))
            .match(out);
    if (socket.hasMatch())
        for (int i = 1; i <= 4; ++i)
            f.errors += socket.captured(i).toLongLong();
    const auto non2xx = QRegularExpression(QStringLiteral("Non-2xx or 3xx responses: (\\d+)")).match(out);
    if (non2xx.hasMatch())
        f.errors += non2xx.captured(1).toLongLong();
    return f;
}

// Runs wrk while this thread's event loop keeps going: the routes that need the application are answered
// here, on the main thread.
std::optional<WrkFigures> runWrk(const QString& url, int seconds) {
    QProcess wrk;
    wrk.setProcessChannelMode(QProcess::MergedChannels);
    QEventLoop loop;
    QObject::connect(&wrk, &QProcess::finished, &loop, &QEventLoop::quit);
    QObject::connect(&wrk, &QProcess::errorOccurred, &loop, &QEventLoop::quit);
    wrk.start(QStringLiteral("wrk"),
              {QStringLiteral("--latency"), QStringLiteral("-t%1").arg(threads),
               QStringLiteral("-c%1").arg(connections), QStringLiteral("-d%1s").arg(seconds), url});
    loop.exec();
    const QString out = QString::fromUtf8(wrk.readAll());
    auto figures = parseWrk(out);
    if (!figures)
        std::fprintf(stderr, "wrk gave no figures for %s:\n%s\n", qPrintable(url), qPrintable(out));
    return figures;
}

quint16 freePort() {
    QTcpServer probe;
    probe.listen(QHostAddress::LocalHost, 0);
    return probe.serverPort();
}

bool waitForListener(quint16 port) {
    for (int i = 0; i < 100; ++i) {
        QTcpSocket socket;
        socket.connectToHost(QHostAddress::LocalHost, port);
        if (socket.waitForConnected(100))
            return true;
        QEventLoop loop;
        QTimer::singleShot(50, &loop, &QEventLoop::quit);
        loop.exec();
    }
    return false;
}

void printRow(const char* name, const WrkFigures& f) {
    std::printf("  %-34s %10.0f req/s   p50 %7.2f ms   p99 %7.2f ms   %9lld requests  %lld errors\n", name,
                f.requestsPerSecond, f.p50Ms, f.p99Ms, f.requests, f.errors);
}

} // namespace

int main(int argc, char** argv) {
    QCoreApplication application(argc, argv);
    const int seconds = argc > 1 ? std::max(1, std::atoi(argv[1])) : 10;
    if (QStandardPaths::findExecutable(QStringLiteral("wrk")).isEmpty() ||
        QStandardPaths::findExecutable(QStringLiteral("python3")).isEmpty()) {
        std::fprintf(stderr, "needs wrk and python3 on the PATH (scripts/setup-deps installs wrk)\n");
        return 1;
    }

    QTemporaryDir dir;
    UserDefaults defaults(dir.filePath(QStringLiteral("defaults.ini")));
    defaults.setValue(QString::fromLatin1(AppState::recordingSaveDirectoryKey),
                      dir.filePath(QStringLiteral("Projects")));
    RecentProjectsStore recents(defaults);
    AppState app({defaults, recents, Clock::system()});
    auto bundle = app.createProject(QStringLiteral("Bench"), 1920, 1080, 60);
    if (!bundle) {
        std::fprintf(stderr, "cannot make the project: %s\n", qPrintable(bundle.error().description));
        return 1;
    }
    test::RandomProjectOptions options;
    options.clips = projectClips;
    const Project random = test::randomProject(2024, options);
    (*bundle)->update([&](Project& p) { p.timeline.clips = random.timeline.clips; });
    (void)(*bundle)->flushPendingSave();

    AppStateAPIDelegate delegate(app);
    const quint16 apiPort = freePort();
    LocalAPIServer server(&delegate, &app, defaults, apiPort);
    server.start();
    if (!waitForListener(apiPort)) {
        std::fprintf(stderr, "the API server did not start\n");
        return 1;
    }

    // The baseline serves a file the size of a /health answer.
    const QString staticDir = dir.filePath(QStringLiteral("static"));
    QDir().mkpath(staticDir);
    QFile health(staticDir + QStringLiteral("/health.json"));
    if (!health.open(QIODevice::WriteOnly))
        return 1;
    health.write(
        R"({"port":19878,"service":"orvane-screen","uptime":"00:00:03","uptimeSeconds":3,"version":"0.0.0"})");
    health.close();
    const quint16 basePort = freePort();
    QProcess python;
    // It logs every request to stderr; that is part of what it costs, as the API's debug log would be, so
    // it stays on but goes nowhere.
    python.setStandardOutputFile(QProcess::nullDevice());
    python.setStandardErrorFile(QProcess::nullDevice());
    python.start(QStringLiteral("python3"),
                 {QStringLiteral("-m"), QStringLiteral("http.server"), QString::number(basePort),
                  QStringLiteral("--bind"), QStringLiteral("127.0.0.1"), QStringLiteral("--directory"),
                  staticDir});
    if (!waitForListener(basePort)) {
        std::fprintf(stderr, "python3 -m http.server did not start\n");
        return 1;
    }

    const QString api = QStringLiteral("http://127.0.0.1:%1").arg(apiPort);
    const QString base = QStringLiteral("http://127.0.0.1:%1/health.json").arg(basePort);
    std::printf(
        "loopback API under wrk: %d threads, %d connections, %d s per run, a new connection per request\n",
        threads, connections, seconds);
    const auto baseline = runWrk(base, seconds);
    const auto healthFigures = runWrk(api + QStringLiteral("/health"), seconds);
    const auto clips = runWrk(api + QStringLiteral("/project/clips"), seconds);
    python.terminate();
    python.waitForFinished(5000);
    if (!baseline || !healthFigures || !clips)
        return 1;

    printRow("python3 -m http.server (static)", *baseline);
    printRow("GET /health", *healthFigures);
    printRow("GET /project/clips (200 clips)", *clips);
    std::printf(
        "  ratios to the baseline: /health %.2fx req/s, p99 %.2fx; /project/clips %.2fx req/s, p99 %.2fx\n",
        healthFigures->requestsPerSecond / baseline->requestsPerSecond,
        healthFigures->p99Ms / baseline->p99Ms, clips->requestsPerSecond / baseline->requestsPerSecond,
        clips->p99Ms / baseline->p99Ms);
    std::printf("  open connections left on the server: %d\n", server.openConnections());
    return 0;
}
