#include "AudioClockFollower.h"

extern "C" {
#include <libavutil/channel_layout.h>
#include <libavutil/opt.h>
#include <libswresample/swresample.h>
}

#include <algorithm>
#include <cmath>
#include <stdexcept>

namespace orvane {

void AudioClockFollower::SwrDeleter::operator()(SwrContext* p) const {
    swr_free(&p);
}

AudioClockFollower::AudioClockFollower()
    : AudioClockFollower(Options{}) {}

AudioClockFollower::AudioClockFollower(Options options)
    : m_options(options) {
    AVChannelLayout layout;
    av_channel_layout_default(&layout, channels);
    SwrContext* swr = nullptr;
    if (swr_alloc_set_opts2(&swr, &layout, AV_SAMPLE_FMT_FLT, sampleRate, &layout, AV_SAMPLE_FMT_FLT,
                            sampleRate, 0, nullptr) < 0)
        throw std::runtime_error("swresample refused the capture format");
    m_swr.reset(swr);
    // Equal rates would make swresample a plain copy, which cannot be stretched: force the resampler.
    av_opt_set_int(swr, "flags", SWR_FLAG_RESAMPLE, 0);
    if (swr_init(swr) < 0)
        throw std::runtime_error("swresample could not start");
    // Room for the largest piece stretched to the limit, plus what the filter holds back.
    m_output.resize((maxPieceFrames * 2 + 1024) * channels);
}

AudioClockFollower::~AudioClockFollower() = default;

double AudioClockFollower::bufferedFrames() const {
    return double(swr_get_delay(m_swr.get(), sampleRate));
}

double AudioClockFollower::nextInputOutputTime() const {
    return m_origin + (double(m_outputFrames) + bufferedFrames()) / sampleRate;
}

void AudioClockFollower::jump(double by) {
    m_origin += by;
    m_smoothedError = 0;
    m_historyCount = 0;
    ++m_resyncs;
}

void AudioClockFollower::begin(std::size_t frames, double captureTime) {
    if (!m_started) {
        m_started = true;
        m_origin = captureTime;
    }
    const double dt = double(frames) / sampleRate;
    const double at = double(m_inputFrames) / sampleRate;
    const double error = captureTime - nextInputOutputTime();

    // Forget what fell out of the window, then remember this difference (the oldest goes if full).
    while (m_historyCount > 0 && m_history[m_historyHead].at < at - m_options.envelopeWindow) {
        m_historyHead = (m_historyHead + 1) % historySize;
        --m_historyCount;
    }
    if (m_historyCount == historySize) {
        m_historyHead = (m_historyHead + 1) % historySize;
        --m_historyCount;
    }
    m_history[(m_historyHead + m_historyCount) % historySize] = {at, error};
    ++m_historyCount;
    double envelope = error, recent = error;
    for (std::size_t i = 0; i < m_historyCount; ++i) {
        const Difference& d = m_history[(m_historyHead + i) % historySize];
        envelope = std::min(envelope, d.error);
        if (d.at >= at - m_options.resyncWindow)
            recent = std::min(recent, d.error);
    }

    const bool recentWindowFull =
        m_historyCount > 0 && m_history[m_historyHead].at <= at - m_options.resyncWindow;
    if (error < -m_options.resyncThreshold) {
        jump(error);
    } else if (recent > m_options.resyncThreshold && recentWindowFull) {
        jump(recent);
    } else {
        m_smoothedError += (envelope - m_smoothedError) * (1.0 - std::exp(-dt / m_options.errorTimeConstant));
        // The integral is held within the limit, so it never winds up beyond what can be applied.
        m_rate =
            std::clamp(m_rate + m_smoothedError * dt / (m_options.correctionTime * m_options.integralTime),
                       -m_options.maxCorrection, m_options.maxCorrection);
    }
    m_correction = std::clamp(m_smoothedError / m_options.correctionTime + m_rate, -m_options.maxCorrection,
                              m_options.maxCorrection);
    // Set afresh for every chunk over a long distance, so the stretch never runs out between chunks and is
    // fine-grained (one sample in ten seconds is 2 ppm).
    swr_set_compensation(m_swr.get(), int(std::lround(m_correction * compensationDistance)),
                         compensationDistance);
    m_inputFrames += std::int64_t(frames);
}

std::size_t AudioClockFollower::convert(std::span<const float> interleaved) {
    const auto* in = reinterpret_cast<const std::uint8_t*>(interleaved.data());
    auto* out = reinterpret_cast<std::uint8_t*>(m_output.data());
    const int produced = swr_convert(m_swr.get(), &out, int(m_output.size() / channels), &in,
                                     int(interleaved.size() / channels));
    if (produced <= 0)
        return 0;
    m_pieceTime = m_origin + double(m_outputFrames) / sampleRate;
    m_outputFrames += produced;
    return std::size_t(produced);
}

} // namespace orvane
