#pragma once

// A PipeWire daemon and its session manager for one test, in a runtime folder of their own on a private
// D-Bus bus, and a video source node on it that draws numbered frames: the real peers a PipeWire reader
// is tested against.

#include "common/PrivateSessionBus.h"

#include <QProcess>
#include <QString>
#include <QTemporaryDir>

#include <atomic>
#include <cstdint>
#include <memory>
#include <optional>

struct pw_thread_loop;

namespace orvane::test {

class PipeWireSession {
public:
    // Null with the reason when pipewire or wireplumber is missing or does not come up.
    static std::unique_ptr<PipeWireSession> start(QString* why);
    PipeWireSession() = default;
    ~PipeWireSession();

    // A new connection to the daemon, as the portal's OpenPipeWireRemote gives one; the caller closes it.
    int connect() const;
    // Stops the daemon: every stream on it ends.
    void kill();

private:
    PrivateBus m_bus;
    QTemporaryDir m_runtime;
    QProcess m_pipewire;
    QProcess m_wireplumber;
};

// A video source of `width` x `height` at `fps`, BGRx (or RGBx when `rgbOrder`), whose every pixel's blue
// byte (red for RGBx) is the frame's number modulo 256, green 0x5A and the third byte 0, with a cursor at
// (frame, 2 * frame) in its metadata.
class TestVideoSource {
public:
    static std::unique_ptr<TestVideoSource> start(int remoteFd, int width, int height, int fps, QString* why,
                                                  bool rgbOrder = false);
    TestVideoSource() = default;
    ~TestVideoSource();

    // The node's id once the daemon gave it one (0 until then).
    std::uint32_t nodeId() const;
    int framesSent() const { return m_sent.load(); }
    // Ends the stream: the node goes away.
    void stop();

    struct Impl;

private:
    std::unique_ptr<Impl> m_impl;
    std::atomic<int> m_sent{0};
    friend struct Impl;
};

} // namespace orvane::test
