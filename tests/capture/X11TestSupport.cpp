#include "X11TestSupport.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QTimer>

#include <X11/Xatom.h>
#include <X11/Xlib.h>
#include <X11/extensions/XTest.h>
#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <optional>
#include <string>

namespace orvane::test {

std::unique_ptr<XvfbServer> XvfbServer::start(int width, int height, QByteArray* failure) {
    auto fail = [&](const char* why) -> std::unique_ptr<XvfbServer> {
        if (failure)
            *failure = why;
        return nullptr;
    };
    int fds[2];
    if (::pipe(fds) != 0)
        return fail("pipe failed");
    const std::string displayFd = std::to_string(fds[1]);
    const std::string screen = std::to_string(width) + "x" + std::to_string(height) + "x24";
    const pid_t pid = ::fork();
    if (pid < 0)
        return fail("fork failed");
    if (pid == 0) {
        ::close(fds[0]);
        const int null = ::open("/dev/null", O_WRONLY);
        ::dup2(null, STDOUT_FILENO);
        ::dup2(null, STDERR_FILENO);
        // -displayfd lets the server pick a free display number and tell it through the pipe.
        ::execlp("Xvfb", "Xvfb", "-displayfd", displayFd.c_str(), "-screen", "0", screen.c_str(), "-nolisten",
                 "tcp", "-noreset", static_cast<char*>(nullptr));
        ::_exit(127);
    }
    ::close(fds[1]);
    std::string number;
    pollfd p{fds[0], POLLIN, 0};
    QElapsedTimer clock;
    clock.start();
    while (clock.elapsed() < 10000) {
        if (::poll(&p, 1, 200) > 0) {
            char c;
            const ssize_t n = ::read(fds[0], &c, 1);
            if (n <= 0 || c == '\n')
                break;
            number += c;
        }
    }
    ::close(fds[0]);
    if (number.empty()) {
        ::kill(pid, SIGKILL);
        ::waitpid(pid, nullptr, 0);
        return fail("Xvfb did not start (is the xvfb package installed?)");
    }
    return std::unique_ptr<XvfbServer>(new XvfbServer(pid, QByteArray(":") + QByteArray(number.c_str())));
}

XvfbServer::~XvfbServer() {
    ::kill(m_pid, SIGTERM);
    ::waitpid(m_pid, nullptr, 0);
}

void XTestDriver::DisplayCloser::operator()(_XDisplay* display) const {
    XCloseDisplay(display);
}

XTestDriver::XTestDriver(const QByteArray& displayName)
    : m_display(XOpenDisplay(displayName.constData())) {}

void XTestDriver::sync() {
    XSync(display(), False);
}

void XTestDriver::warp(int x, int y) {
    XWarpPointer(display(), None, DefaultRootWindow(display()), 0, 0, 0, 0, x, y);
    sync();
}

void XTestDriver::moveBy(int dx, int dy) {
    XTestFakeRelativeMotionEvent(display(), dx, dy, CurrentTime);
    sync();
}

void XTestDriver::press(int button) {
    XTestFakeButtonEvent(display(), unsigned(button), True, CurrentTime);
    sync();
}

void XTestDriver::release(int button) {
    XTestFakeButtonEvent(display(), unsigned(button), False, CurrentTime);
    sync();
}

void XTestDriver::click(int button) {
    press(button);
    release(button);
}

void XTestDriver::key(unsigned long keysym, bool down) {
    XTestFakeKeyEvent(display(), XKeysymToKeycode(display(), keysym), down ? True : False, CurrentTime);
    sync();
}

void XTestDriver::tapKey(unsigned long keysym, const std::vector<unsigned long>& modifierKeysyms) {
    for (unsigned long m : modifierKeysyms)
        key(m, true);
    key(keysym, true);
    key(keysym, false);
    for (auto it = modifierKeysyms.rbegin(); it != modifierKeysyms.rend(); ++it)
        key(*it, false);
}

Point XTestDriver::pointer() {
    Window root, child;
    int rootX = 0, rootY = 0, winX, winY;
    unsigned int mask;
    XQueryPointer(display(), DefaultRootWindow(display()), &root, &child, &rootX, &rootY, &winX, &winY,
                  &mask);
    return {double(rootX), double(rootY)};
}

unsigned long XTestDriver::createWindow(std::optional<unsigned long> pid) {
    const Window window =
        XCreateSimpleWindow(display(), DefaultRootWindow(display()), 10, 10, 100, 100, 0, 0, 0);
    if (pid) {
        const Atom pidAtom = XInternAtom(display(), "_NET_WM_PID", False);
        const long value = long(*pid);
        XChangeProperty(display(), window, pidAtom, XA_CARDINAL, 32, PropModeReplace,
                        reinterpret_cast<const unsigned char*>(&value), 1);
    }
    XMapWindow(display(), window);
    sync();
    return window;
}

void XTestDriver::focus(unsigned long window) {
    XSetInputFocus(display(), window, RevertToParent, CurrentTime);
    sync();
}

void XTestDriver::setActiveWindow(unsigned long window) {
    const Atom active = XInternAtom(display(), "_NET_ACTIVE_WINDOW", False);
    if (window) {
        const long value = long(window);
        XChangeProperty(display(), DefaultRootWindow(display()), active, XA_WINDOW, 32, PropModeReplace,
                        reinterpret_cast<const unsigned char*>(&value), 1);
    } else {
        XDeleteProperty(display(), DefaultRootWindow(display()), active);
    }
    sync();
}

bool processEventsUntil(const std::function<bool()>& done, std::chrono::milliseconds timeout) {
    if (done())
        return true;
    // A waiting loop, woken by the collectors' sockets and by a short poll of the condition.
    QEventLoop loop;
    QTimer poll;
    QObject::connect(&poll, &QTimer::timeout, &loop, [&] {
        if (done())
            loop.quit();
    });
    poll.start(2);
    QTimer::singleShot(timeout, &loop, &QEventLoop::quit);
    loop.exec();
    return done();
}

void processEventsFor(std::chrono::milliseconds duration) {
    QEventLoop loop;
    QTimer::singleShot(duration, &loop, &QEventLoop::quit);
    loop.exec();
}

} // namespace orvane::test
