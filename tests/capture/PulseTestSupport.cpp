#include "PulseTestSupport.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QProcessEnvironment>
#include <QStandardPaths>
#include <QThread>

#include <pulse/simple.h>
#include <signal.h>

#include <cmath>
#include <numbers>

namespace orvane::test {

namespace {

QProcessEnvironment daemonEnvironment(const QString& runtime) {
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert(QStringLiteral("XDG_RUNTIME_DIR"), runtime);
    env.insert(QStringLiteral("HOME"), runtime);
    // With a display the daemon would try to publish itself on it.
    env.remove(QStringLiteral("DISPLAY"));
    env.remove(QStringLiteral("PULSE_SERVER"));
    return env;
}

} // namespace

std::unique_ptr<PulseServer> PulseServer::start(QByteArray* failure) {
    auto fail = [&](const QByteArray& why) -> std::unique_ptr<PulseServer> {
        if (failure)
            *failure = why;
        return nullptr;
    };
    if (QStandardPaths::findExecutable(QStringLiteral("pulseaudio")).isEmpty() ||
        QStandardPaths::findExecutable(QStringLiteral("pactl")).isEmpty())
        return fail("pulseaudio or pactl is not installed (scripts/setup-deps installs them)");
    std::unique_ptr<PulseServer> server(new PulseServer);
    if (!server->m_runtime.isValid())
        return fail("no temporary folder");
    const QString runtime = server->m_runtime.path();
    QFile::setPermissions(runtime, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    QProcess daemon;
    daemon.setProcessEnvironment(daemonEnvironment(runtime));
    daemon.start(
        QStringLiteral("pulseaudio"),
        {QStringLiteral("-D"), QStringLiteral("--system=false"), QStringLiteral("--exit-idle-time=-1"),
         QStringLiteral("--disallow-exit"), QStringLiteral("-n"),
         QStringLiteral("--log-target=file:") + runtime + QStringLiteral("/pulse.log"),
         QStringLiteral("--load=module-native-protocol-unix"),
         QStringLiteral("--load=module-null-sink sink_name=%1 rate=48000").arg(QLatin1String(speakers)),
         QStringLiteral("--load=module-null-sink sink_name=%1 rate=48000").arg(QLatin1String(microphone))});
    if (!daemon.waitForFinished(15000) || daemon.exitCode() != 0)
        return fail("pulseaudio did not start: " + daemon.readAllStandardError().right(400));
    QFile pidFile(runtime + QStringLiteral("/pulse/pid"));
    if (pidFile.open(QIODevice::ReadOnly))
        server->m_pid = pidFile.readAll().trimmed().toLongLong();
    const QString serverText = QString::fromUtf8(server->serverString());
    for (const QStringList& command :
         {QStringList{QStringLiteral("set-default-sink"), QLatin1String(speakers)},
          QStringList{QStringLiteral("set-default-source"),
                      QLatin1String(microphone) + QStringLiteral(".monitor")}}) {
        QProcess pactl;
        pactl.setProcessEnvironment(daemonEnvironment(runtime));
        pactl.start(QStringLiteral("pactl"), QStringList{QStringLiteral("--server"), serverText} + command);
        if (!pactl.waitForFinished(10000) || pactl.exitCode() != 0)
            return fail("pactl " + command.join(u' ').toUtf8() + " failed: " + pactl.readAllStandardError());
    }
    return server;
}

PulseServer::~PulseServer() {
    if (m_pid > 0) {
        ::kill(pid_t(m_pid), SIGTERM);
        // The daemon is not our child; wait for its socket to go so the folder can be removed.
        for (int i = 0; i < 200 && ::kill(pid_t(m_pid), 0) == 0; ++i)
            QThread::msleep(10);
    }
}

QByteArray PulseServer::serverString() const {
    return "unix:" + QFile::encodeName(m_runtime.path()) + "/pulse/native";
}

std::unique_ptr<QProcess> PulseServer::playTone(const char* sink, double frequency, double seconds,
                                                double amplitude) const {
    // sox writes raw float samples and pacat plays them; the pipe keeps both in step with the sink's clock.
    auto process = std::make_unique<QProcess>();
    process->setProcessEnvironment(daemonEnvironment(m_runtime.path()));
    const QString command =
        QStringLiteral("sox -q -n -t raw -r 48000 -c 2 -e floating-point -b 32 - synth %1 sine %2 vol %3 | "
                       "pacat --server=%4 --device=%5 --rate=48000 --channels=2 --format=float32le "
                       "--latency-msec=20")
            .arg(seconds)
            .arg(frequency)
            .arg(amplitude)
            .arg(QString::fromUtf8(serverString()), QLatin1String(sink));
    process->start(QStringLiteral("sh"), {QStringLiteral("-c"), command});
    process->waitForStarted(5000);
    return process;
}

PulsePlayer::PulsePlayer(const QByteArray& server, const char* sink, double toneFrequency, double amplitude)
    : m_toneFrequency(toneFrequency)
    , m_amplitude(amplitude) {
    const pa_sample_spec spec{PA_SAMPLE_FLOAT32LE, 48000, 2};
    pa_buffer_attr attributes;
    attributes.maxlength = std::uint32_t(-1);
    attributes.tlength = 48000 * 8 * 20 / 1000; // 20 ms ahead of the sink
    attributes.prebuf = std::uint32_t(-1);
    attributes.minreq = std::uint32_t(-1);
    attributes.fragsize = std::uint32_t(-1);
    int error = 0;
    m_stream = pa_simple_new(server.constData(), "orvane tests", PA_STREAM_PLAYBACK, sink, "tone", &spec,
                             nullptr, &attributes, &error);
    if (m_stream)
        m_thread = std::thread([this] { run(); });
}

PulsePlayer::~PulsePlayer() {
    m_stop = true;
    if (m_thread.joinable())
        m_thread.join();
    if (m_stream)
        pa_simple_free(m_stream);
}

void PulsePlayer::run() {
    constexpr int blockFrames = 240;
    float block[blockFrames * 2];
    std::int64_t position = 0;
    std::int64_t beepPosition = 0;
    while (!m_stop) {
        bool beepStarts = false;
        std::int64_t beepLeft = 0;
        double beepFrequency = 0, beepAmplitude = 0;
        {
            std::lock_guard lock(m_beepLock);
            if (m_beepSamples < 0) {
                m_beepSamples = -m_beepSamples;
                beepStarts = true;
            }
            beepLeft = m_beepSamples;
            beepFrequency = m_beepFrequency;
            beepAmplitude = m_beepAmplitude;
        }
        if (beepStarts)
            beepPosition = 0;
        for (int i = 0; i < blockFrames; ++i) {
            double v = 0;
            if (i < beepLeft)
                v = beepAmplitude *
                    std::sin(2 * std::numbers::pi * beepFrequency * double(beepPosition + i) / 48000.0);
            else if (m_toneFrequency > 0)
                v = m_amplitude *
                    std::sin(2 * std::numbers::pi * m_toneFrequency * double(position + i) / 48000.0);
            block[i * 2] = block[i * 2 + 1] = float(v);
        }
        position += blockFrames;
        beepPosition += blockFrames;
        int error = 0;
        if (pa_simple_write(m_stream, block, sizeof(block), &error) < 0)
            return;
        const double writtenAt =
            std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
        if (beepStarts) {
            // The block's first sample plays once everything queued before it has played.
            const pa_usec_t latency = pa_simple_get_latency(m_stream, &error);
            std::lock_guard lock(m_beepLock);
            m_beepStartedAt = writtenAt + double(latency) / 1e6 - double(blockFrames) / 48000.0;
        }
        if (beepLeft > 0) {
            std::lock_guard lock(m_beepLock);
            m_beepSamples = std::max<std::int64_t>(0, m_beepSamples - blockFrames);
        }
    }
}

std::optional<double> PulsePlayer::beep(double frequency, double seconds, double amplitude) {
    {
        std::lock_guard lock(m_beepLock);
        m_beepFrequency = frequency;
        m_beepAmplitude = amplitude;
        m_beepSamples = -std::int64_t(seconds * 48000);
        m_beepStartedAt.reset();
    }
    for (int i = 0; i < 1000 && !m_stop; ++i) {
        {
            std::lock_guard lock(m_beepLock);
            if (m_beepStartedAt)
                return m_beepStartedAt;
        }
        QThread::msleep(1);
    }
    return std::nullopt;
}

double toneLevel(const float* interleaved, std::size_t frames, double frequency) {
    if (frames == 0)
        return 0;
    const double w = 2 * std::numbers::pi * frequency / 48000.0;
    const double coefficient = 2 * std::cos(w);
    double s1 = 0, s2 = 0;
    for (std::size_t i = 0; i < frames; ++i) {
        const double s = double(interleaved[i * 2]) + coefficient * s1 - s2;
        s2 = s1;
        s1 = s;
    }
    const double power = s1 * s1 + s2 * s2 - coefficient * s1 * s2;
    // A full-scale sine of amplitude A gives power (A N / 2)^2; return A / sqrt(2).
    return std::sqrt(std::max(0.0, power)) * 2 / double(frames) / std::numbers::sqrt2;
}

} // namespace orvane::test
