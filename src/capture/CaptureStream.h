#pragma once

#include "capture/SourceCatalog.h"
#include "capture/pulse/PulseRecorder.h"
#include "capture/wayland/PipeWireScreenCapture.h"
#include "capture/x11/X11ScreenCapture.h"

#include <QByteArray>
#include <QString>

#include <tl/expected.hpp>

#include <chrono>
#include <memory>
#include <optional>

namespace orvane {

class StreamOutput;

// One recording's stream: the screen (from the X server, or on Wayland from the portal's PipeWire node), and
// on request the system's sound and the microphone, each on a thread of its own ("capture.video",
// "capture.audio", "capture.mic"), all delivering to one StreamOutput.
//
// startCapture and stopCapture are blocking; the engine runs them off the main thread.
class CaptureStream {
public:
    struct Configuration {
        QByteArray displayName;
        QByteArray pulseServer;
        CaptureTarget target;
        int width = 0;
        int height = 0;
        std::chrono::nanoseconds minimumFrameInterval{1'000'000'000 / 60};
        int queueDepth = 8;
        // The server never puts its cursor into images, so the pointer is left out whatever this says;
        // the cursor is drawn afterwards from the telemetry.
        bool showsCursor = false;
        bool capturesAudio = false;
        int sampleRate = 48000;
        int channelCount = 2;
        // A PulseAudio monitor hears every client alike; this process's own sounds cannot be left out.
        bool excludesCurrentProcessAudio = true;
        bool captureMicrophone = false;
        // Wayland: the screen comes from this PipeWire node, and `displayName` and `target` are unused.
        struct PipeWireSource {
            int remoteFd = -1; // owned by the caller until the stream is gone
            std::uint32_t nodeId = 0;
            std::function<void(const PipeWireStream::Cursor&, MediaTime)> onCursor;
            std::function<void(const QString&)> onEnded;
        };
        std::optional<PipeWireSource> pipeWire;
    };

    struct Statistics {
        // On Wayland: ticks are the frames PipeWire handed over, missed ticks the frames the compositor
        // numbered but never sent.
        X11ScreenCapture::Statistics screen;
        std::optional<PipeWireScreenCapture::Statistics> pipeWire;
        std::optional<PulseRecorder::Statistics> systemAudio;
        std::optional<PulseRecorder::Statistics> microphone;
    };

    CaptureStream(Configuration configuration, std::shared_ptr<StreamOutput> output);
    ~CaptureStream();
    CaptureStream(const CaptureStream&) = delete;
    CaptureStream& operator=(const CaptureStream&) = delete;

    const Configuration& configuration() const { return m_configuration; }

    // The sound first, so nothing said as the first frame is taken is lost; then the screen, which has
    // started when its first image is in. Fails with the first reason; what had started is stopped.
    tl::expected<void, QString> startCapture(std::chrono::milliseconds timeout);
    void stopCapture();

    Statistics statistics() const;

private:
    Configuration m_configuration;
    std::shared_ptr<StreamOutput> m_output;
    std::unique_ptr<PulseRecorder> m_systemAudio;
    std::unique_ptr<PulseRecorder> m_microphone;
    std::unique_ptr<X11ScreenCapture> m_screen;
    std::unique_ptr<PipeWireScreenCapture> m_pipeWireScreen;
};

} // namespace orvane
