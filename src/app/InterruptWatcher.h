#pragma once

#include <QObject>
#include <QSocketNotifier>

#include <functional>
#include <memory>

namespace orvane {

// Turns Ctrl-C, SIGTERM and SIGHUP (a closed terminal) into a call on the main thread for as long as it
// lives, so that a long command can end its work cleanly instead of dying mid-file. The signal handler only
// writes a byte to a pipe; everything else happens in the event loop. One watcher at a time.
class InterruptWatcher {
public:
    explicit InterruptWatcher(std::function<void()> onInterrupt);
    ~InterruptWatcher();
    InterruptWatcher(const InterruptWatcher&) = delete;
    InterruptWatcher& operator=(const InterruptWatcher&) = delete;

    // False when the pipe could not be made: the command then runs without a clean Ctrl-C.
    bool isWatching() const { return m_notifier != nullptr; }

private:
    std::function<void()> m_onInterrupt;
    std::unique_ptr<QSocketNotifier> m_notifier;
    bool m_heard = false;
};

} // namespace orvane
