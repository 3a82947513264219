#include "CaptureStream.h"

#include "capture/StreamOutput.h"

namespace orvane {

CaptureStream::CaptureStream(Configuration configuration, std::shared_ptr<StreamOutput> output)
    : m_configuration(std::move(configuration))
    , m_output(std::move(output)) {
    const Configuration& c = m_configuration;
    StreamOutput* sink = m_output.get();
    m_screen = std::make_unique<X11ScreenCapture>(
        X11ScreenCapture::Configuration{c.displayName, c.target, c.width, c.height, c.minimumFrameInterval,
                                        c.queueDepth},
        [sink](const VideoSample& sample) { sink->handleVideo(sample); });
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
    if (auto started = m_screen->start(timeout); !started) {
        stopCapture();
        return started;
    }
    return {};
}

void CaptureStream::stopCapture() {
    m_screen->stop();
    if (m_systemAudio)
        m_systemAudio->stop();
    if (m_microphone)
        m_microphone->stop();
}

CaptureStream::Statistics CaptureStream::statistics() const {
    Statistics s;
    s.screen = m_screen->statistics();
    if (m_systemAudio)
        s.systemAudio = m_systemAudio->statistics();
    if (m_microphone)
        s.microphone = m_microphone->statistics();
    return s;
}

} // namespace orvane
