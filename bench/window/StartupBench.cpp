// orvane-startup-bench [--runs N] [--idle-seconds S]
//
// The desktop application's start and rest, against the least a Qt Quick program does (bench/window/
// MinimalWindow.cpp) started the same way in the same run on the same private X server:
//   - start to first painted frame of the welcome screen, median of N runs each, and the ratio;
//   - an idle window on the welcome screen for S seconds: CPU (share of one core) and resident memory.

#include "capture/X11TestSupport.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QTcpServer>
#include <QTemporaryDir>
#include <QThread>

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <vector>

namespace {

struct Usage {
    double cpuSeconds = 0;
    double rssMB = 0;
};

Usage readUsage(qint64 pid) {
    Usage usage;
    QFile stat(QStringLiteral("/proc/%1/stat").arg(pid));
    if (stat.open(QIODevice::ReadOnly)) {
        const QByteArray line = stat.readAll();
        // Fields after the command's closing parenthesis: state is field 3, utime 14, stime 15.
        const QList<QByteArray> fields = line.mid(line.lastIndexOf(')') + 2).split(' ');
        if (fields.size() > 13)
            usage.cpuSeconds =
                double(fields[11].toLongLong() + fields[12].toLongLong()) / double(sysconf(_SC_CLK_TCK));
    }
    QFile status(QStringLiteral("/proc/%1/status").arg(pid));
    if (status.open(QIODevice::ReadOnly)) {
        for (const QByteArray& line : status.readAll().split('\n'))
            if (line.startsWith("VmRSS:"))
                usage.rssMB = line.mid(6).trimmed().split(' ').first().toDouble() / 1024.0;
    }
    return usage;
}

class Launch {
public:
    Launch(const QString& program, const QProcessEnvironment& env, const QStringList& arguments = {}) {
        m_process.setProcessEnvironment(env);
        m_process.setProcessChannelMode(QProcess::SeparateChannels);
        m_clock.start();
        m_process.start(program, arguments);
    }
    ~Launch() {
        m_process.terminate();
        if (!m_process.waitForFinished(10000))
            m_process.kill();
        m_process.waitForFinished(2000);
    }
    // Milliseconds from the start to the program's "first frame" line; negative when it never came.
    double waitForFirstFrame() {
        QByteArray out;
        while (m_clock.elapsed() < 30000) {
            m_process.waitForReadyRead(10);
            out += m_process.readAllStandardOutput();
            if (out.contains("first frame"))
                return double(m_clock.nsecsElapsed()) / 1e6;
            if (m_process.state() == QProcess::NotRunning)
                break;
        }
        std::fprintf(stderr, "no first frame: %s\n", m_process.readAllStandardError().constData());
        return -1;
    }
    qint64 pid() const { return m_process.processId(); }

private:
    QProcess m_process;
    QElapsedTimer m_clock;
};

double median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values.empty() ? 0 : values[values.size() / 2];
}

QProcessEnvironment environmentFor(const QByteArray& display, const QTemporaryDir& home) {
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert(QStringLiteral("DISPLAY"), QString::fromLatin1(display));
    env.insert(QStringLiteral("HOME"), home.path());
    env.insert(QStringLiteral("XDG_CONFIG_HOME"), home.filePath(QStringLiteral(".config")));
    env.insert(QStringLiteral("XDG_RUNTIME_DIR"), home.filePath(QStringLiteral("runtime")));
    env.insert(QStringLiteral("LIBGL_ALWAYS_SOFTWARE"), QStringLiteral("1"));
    env.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("xcb"));
    env.insert(QStringLiteral("PULSE_SERVER"), QStringLiteral("unix:/nonexistent"));
    env.insert(QStringLiteral("ORVANE_SCREEN_REPORT_FIRST_FRAME"), QStringLiteral("1"));
    QTcpServer probe;
    probe.listen(QHostAddress::LocalHost, 0);
    env.insert(QStringLiteral("ORVANE_SCREEN_API_PORT"), QString::number(probe.serverPort()));
    return env;
}

} // namespace

int main(int argc, char** argv) {
    QCoreApplication application(argc, argv);
    int runs = 7;
    int idleSeconds = 30;
    const QStringList args = QCoreApplication::arguments();
    for (int i = 1; i + 1 < args.size(); i += 2) {
        if (args[i] == QLatin1String("--runs"))
            runs = args[i + 1].toInt();
        else if (args[i] == QLatin1String("--idle-seconds"))
            idleSeconds = args[i + 1].toInt();
    }
    QByteArray failure;
    auto server = orvane::test::XvfbServer::start(1920, 1080, &failure);
    if (!server) {
        std::fprintf(stderr, "orvane-startup-bench: no X server: %s\n", failure.constData());
        return 1;
    }
    QTemporaryDir home;
    QDir().mkpath(home.filePath(QStringLiteral("runtime")));
    QFile::setPermissions(home.filePath(QStringLiteral("runtime")),
                          QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    // A user who has been through the onboarding: the program opens on the welcome screen.
    QDir().mkpath(home.filePath(QStringLiteral(".config/Orvane")));
    QFile settings(home.filePath(QStringLiteral(".config/Orvane/Orvane Screen.ini")));
    settings.open(QIODevice::WriteOnly);
    settings.write("[General]\norvane.screen.hasCompletedOnboarding=true\n");
    settings.close();
    const QProcessEnvironment env = environmentFor(server->displayName(), home);
    const QString dir = QCoreApplication::applicationDirPath();
    const QString program = QStringLiteral(ORVANE_SCREEN_BINARY);
    const QString minimal = dir + QStringLiteral("/orvane-minimal-window");

    // One start of each first, so neither pays for a cold disk cache alone.
    { Launch(minimal, env).waitForFirstFrame(); }
    { Launch(program, env).waitForFirstFrame(); }
    const QStringList software{QStringLiteral("--software")};
    std::vector<double> minimalTimes, softwareTimes, programTimes;
    for (int i = 0; i < runs; ++i) {
        {
            Launch launch(minimal, env);
            minimalTimes.push_back(launch.waitForFirstFrame());
        }
        {
            Launch launch(minimal, env, software);
            softwareTimes.push_back(launch.waitForFirstFrame());
        }
        {
            Launch launch(program, env);
            programTimes.push_back(launch.waitForFirstFrame());
        }
    }
    const double minimalMedian = median(minimalTimes);
    const double softwareMedian = median(softwareTimes);
    const double programMedian = median(programTimes);
    std::printf(
        "start to first frame, median of %d runs: welcome %.0f ms; minimal QML window %.0f ms (ratio %.2f, "
        "goal at most 1.5); the same window drawn in software %.0f ms (ratio %.2f)\n",
        runs, programMedian, minimalMedian, programMedian / minimalMedian, softwareMedian,
        programMedian / softwareMedian);

    const auto idle = [&](const QString& path, const QStringList& arguments = {}) {
        Launch launch(path, env, arguments);
        launch.waitForFirstFrame();
        QThread::sleep(3);
        const Usage before = readUsage(launch.pid());
        QThread::sleep(idleSeconds);
        const Usage after = readUsage(launch.pid());
        return Usage{(after.cpuSeconds - before.cpuSeconds) / idleSeconds, after.rssMB};
    };
    const Usage programIdle = idle(program);
    const Usage minimalIdle = idle(minimal);
    const Usage softwareIdle = idle(minimal, software);
    std::printf("idle for %d s: welcome %.2f%% of a core, %.0f MB resident (goals under 0.5%% and 150 MB); "
                "minimal QML window %.2f%% of a core, %.0f MB; drawn in software %.2f%%, %.0f MB\n",
                idleSeconds, programIdle.cpuSeconds * 100, programIdle.rssMB, minimalIdle.cpuSeconds * 100,
                minimalIdle.rssMB, softwareIdle.cpuSeconds * 100, softwareIdle.rssMB);
    return 0;
}
