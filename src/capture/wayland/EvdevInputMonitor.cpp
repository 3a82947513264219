#include "EvdevInputMonitor.h"

#include "EvdevInputInterpreter.h"
#include "capture/CaptureClock.h"
#include "capture/TelemetryJournal.h"
#include "support/Log.h"

#include <QDir>

#include <fcntl.h>
#include <libevdev/libevdev.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <cerrno>
#include <ctime>

namespace orvane {

namespace {
constexpr const char* tag = "CaptureEngine";

struct EvdevDeleter {
    void operator()(libevdev* device) const { libevdev_free(device); }
};

double monotonicSeconds(const timeval& t) {
    return double(t.tv_sec) + double(t.tv_usec) / 1e6;
}
} // namespace

struct EvdevInputMonitor::Device {
    int fd = -1;
    std::unique_ptr<libevdev, EvdevDeleter> evdev;
    ~Device() {
        evdev.reset();
        if (fd >= 0)
            ::close(fd);
    }
};

EvdevInputMonitor::EvdevInputMonitor(QString deviceDirectory, PositionSource position)
    : m_directory(std::move(deviceDirectory))
    , m_position(std::move(position)) {}

EvdevInputMonitor::~EvdevInputMonitor() {
    stop();
}

QString EvdevInputMonitor::permissionHelp(const QString& deviceDirectory) {
    return QStringLiteral("Clicks and keys are not recorded: this user may not read the input devices in %1. "
                          "Add yourself to the \"input\" group (sudo usermod -aG input $USER), then sign out "
                          "and in again.")
        .arg(deviceDirectory);
}

bool EvdevInputMonitor::start() {
    if (m_thread.joinable())
        return true;
    m_devices.clear();
    m_deviceNames.clear();
    m_unavailableReason.clear();
    {
        const std::lock_guard lock(m_lock);
        m_events.clear();
    }
    const QStringList entries =
        QDir(m_directory).entryList({QStringLiteral("event*")}, QDir::System | QDir::Files, QDir::Name);
    int denied = 0;
    for (const QString& entry : entries) {
        const QByteArray path = QDir(m_directory).filePath(entry).toLocal8Bit();
        const int fd = ::open(path.constData(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
        if (fd < 0) {
            if (errno == EACCES || errno == EPERM)
                ++denied;
            continue;
        }
        auto device = std::make_unique<Device>();
        device->fd = fd;
        libevdev* raw = nullptr;
        if (libevdev_new_from_fd(fd, &raw) != 0)
            continue; // not an evdev node after all
        device->evdev.reset(raw);
        const bool pointer = libevdev_has_event_code(raw, EV_KEY, BTN_LEFT);
        const bool keyboard = libevdev_has_event_code(raw, EV_KEY, KEY_A);
        if (!pointer && !keyboard)
            continue;
        // The recording's clock: the kernel stamps each event on it, so a click keeps its own time
        // however late the thread reads it.
        libevdev_set_clock_id(raw, CLOCK_MONOTONIC);
        m_deviceNames.push_back(QString::fromUtf8(libevdev_get_name(raw)));
        m_devices.push_back(std::move(device));
    }
    if (m_devices.empty()) {
        m_unavailableReason =
            denied > 0
                ? permissionHelp(m_directory)
                : QStringLiteral("Clicks and keys are not recorded: no mouse or keyboard was found in %1.")
                      .arg(m_directory);
        return false;
    }
    m_wake = ::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    m_startSeconds = captureClock::nowSeconds();
    log::info(tag, QStringLiteral("Reading input from %1").arg(m_deviceNames.join(QStringLiteral(", "))));
    m_thread = std::thread([this] { run(); });
    return true;
}

void EvdevInputMonitor::run() {
    pthread_setname_np(pthread_self(), "capture.input");
    EvdevInputInterpreter interpreter;
    std::vector<pollfd> fds;
    fds.push_back({m_wake, POLLIN, 0});
    for (const auto& device : m_devices)
        fds.push_back({device->fd, POLLIN, 0});
    for (;;) {
        if (::poll(fds.data(), fds.size(), -1) < 0) {
            if (errno == EINTR)
                continue;
            break;
        }
        if (fds[0].revents)
            break;
        for (std::size_t i = 1; i < fds.size(); ++i) {
            if (fds[i].revents & (POLLERR | POLLHUP | POLLNVAL)) {
                fds[i].fd = -1; // unplugged: the others go on
                continue;
            }
            if (!(fds[i].revents & POLLIN))
                continue;
            libevdev* evdev = m_devices[i - 1]->evdev.get();
            input_event event{};
            unsigned flag = LIBEVDEV_READ_FLAG_NORMAL;
            for (;;) {
                const int status = libevdev_next_event(evdev, flag, &event);
                if (status == LIBEVDEV_READ_STATUS_SYNC) {
                    // The kernel dropped events: catch up on the device's state, then read on.
                    flag = LIBEVDEV_READ_FLAG_SYNC;
                    continue;
                }
                if (status != LIBEVDEV_READ_STATUS_SUCCESS) {
                    if (flag == LIBEVDEV_READ_FLAG_SYNC && status == -EAGAIN) {
                        flag = LIBEVDEV_READ_FLAG_NORMAL;
                        continue;
                    }
                    break;
                }
                const double seconds = std::max(0.0, monotonicSeconds(event.time) - m_startSeconds);
                if (auto interpreted = interpreter.interpret(event.type, event.code, event.value,
                                                             ProjectTime(seconds), m_position())) {
                    const std::lock_guard lock(m_lock);
                    m_events.push_back(std::move(*interpreted));
                }
            }
        }
    }
}

EventTrack EvdevInputMonitor::stop() {
    if (m_thread.joinable()) {
        const std::uint64_t one = 1;
        (void)!::write(m_wake, &one, sizeof one);
        m_thread.join();
    }
    if (m_wake >= 0) {
        ::close(m_wake);
        m_wake = -1;
    }
    m_devices.clear();
    const std::lock_guard lock(m_lock);
    EventTrack track;
    track.events = m_events;
    return track;
}

std::size_t EvdevInputMonitor::eventCount() const {
    const std::lock_guard lock(m_lock);
    return m_events.size();
}

void EvdevInputMonitor::copyToJournal(std::size_t& eventsDone, TelemetryJournal& journal) const {
    const std::lock_guard lock(m_lock);
    for (; eventsDone < m_events.size(); ++eventsDone)
        journal.append(m_events[eventsDone]);
}

} // namespace orvane
