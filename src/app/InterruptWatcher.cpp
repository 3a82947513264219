#include "InterruptWatcher.h"

#include <fcntl.h>
#include <unistd.h>

#include <csignal>

namespace orvane {

namespace {

int interruptPipe[2] = {-1, -1};

void onSignal(int) {
    const char byte = 1;
    [[maybe_unused]] const ssize_t n = ::write(interruptPipe[1], &byte, 1);
}

} // namespace

InterruptWatcher::InterruptWatcher(std::function<void()> onInterrupt)
    : m_onInterrupt(std::move(onInterrupt)) {
    if (::pipe2(interruptPipe, O_CLOEXEC | O_NONBLOCK) != 0)
        return;
    m_notifier = std::make_unique<QSocketNotifier>(interruptPipe[0], QSocketNotifier::Read);
    QObject::connect(m_notifier.get(), &QSocketNotifier::activated, [this] {
        char byte;
        while (::read(interruptPipe[0], &byte, 1) > 0) {
        }
        m_heard = true;
        m_onInterrupt();
    });
    for (int signal : {SIGINT, SIGTERM, SIGHUP})
        std::signal(signal, onSignal);
}

InterruptWatcher::~InterruptWatcher() {
    if (!m_notifier)
        return;
    // Once one was heard the process is on its way out and its work is kept; a further signal during
    // the last steps must not turn a clean exit into a killed one.
    for (int signal : {SIGINT, SIGTERM, SIGHUP})
        std::signal(signal, m_heard ? SIG_IGN : SIG_DFL);
    m_notifier.reset();
    ::close(interruptPipe[0]);
    ::close(interruptPipe[1]);
    interruptPipe[0] = interruptPipe[1] = -1;
}

} // namespace orvane
