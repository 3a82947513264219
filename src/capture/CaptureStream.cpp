#include "CaptureStream.h"

#include "capture/StreamOutput.h"

namespace orvane {

CaptureStream::CaptureStream(Configuration configuration, std::shared_ptr<StreamOutput> output)
    : m_configuration(std::move(configuration))
    , m_output(std::move(output)) {
    const Configuration& c = m_configuration;
    StreamOutput* sink = m_output.get();
    auto deliver = [sink](const VideoSample& sample) {
        sink->handleVideo(sample);
    };
    if (c.pipeWire)
        m_pipeWireScreen = std::make_unique<PipeWireScreenCapture>(
            PipeWireScreenCapture::Configuration{c.pipeWire->remoteFd, c.pipeWire->nodeId,
                                                 c.minimumFrameInterval, c.queueDepth, c.pipeWire->onCursor,
                                                 c.pipeWire->onEnded},
            deliver);
    else
        m_screen = std::make_unique<X11ScreenCapture>(
            X11ScreenCapture::Configuration{c.displayName, c.target, c.width, c.height,
                                            c.minimumFrameInterval, c.queueDepth},
            deliver);
    if (c.capturesAudio)
        m_systemAudio = std::make_unique<PulseRecorder>(
            PulseRecorder::Device::systemAudio, c.pulseServer, "capture.audio",
            [sink](std::span<const float> samples, MediaTime time) {
                sink->handleAudio(StreamOutput::OutputType::audio, samples, time);
            });
    if (c.captureMicrophone)
        m_microphone = std::make_unique<PulseRecorder>(
            PulseRecorder::Device::microphone, c.pulseServer, "capture.mic",
            [sink](std::span<const float> samples, MediaTime time) {
                sink->handleAudio(StreamOutput::OutputType::microphone, samples, time);
            });
}

CaptureStream::~CaptureStream() {
    stopCapture();
}

tl::expected<void, QString> CaptureStream::startCapture(std::chrono::milliseconds timeout) {
    for (PulseRecorder* recorder : {m_systemAudio.get(), m_microphone.get()}) {
        if (!recorder)
            continue;
        if (auto started = recorder->start(timeout); !started) {
            stopCapture();
            return started;
        }
    }
    auto started = m_screen ? m_screen->start(timeout) : m_pipeWireScreen->start(timeout);
    if (!started) {
        stopCapture();
        return started;
    }
    return {};
}

void CaptureStream::stopCapture() {
    if (m_screen)
        m_screen->stop();
    if (m_pipeWireScreen)
        m_pipeWireScreen->stop();
    if (m_systemAudio)
        m_systemAudio->stop();
    if (m_microphone)
        m_microphone->stop();
}

CaptureStream::Statistics CaptureStream::statistics() const {
    Statistics s;
    if (m_screen) {
        s.screen = m_screen->statistics();
    } else {
        const PipeWireScreenCapture::Statistics p = m_pipeWireScreen->statistics();
        s.screen.ticks = p.framesReceived;
        s.screen.framesDelivered = p.framesDelivered;
        s.screen.framesDropped = p.framesDropped;
        s.screen.ticksMissed = p.sourceGaps;
        s.pipeWire = p;
    }
    if (m_systemAudio)
        s.systemAudio = m_systemAudio->statistics();
    if (m_microphone)
        s.microphone = m_microphone->statistics();
    return s;
}

} // namespace orvane
