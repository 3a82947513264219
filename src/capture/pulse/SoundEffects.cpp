#include "capture/pulse/SoundEffects.h"

#include "support/Log.h"

#include <pulse/error.h>
#include <pulse/simple.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <memory>
#include <numbers>

namespace orvane {

namespace {

struct SimpleDeleter {
    void operator()(pa_simple* s) const { pa_simple_free(s); }
};
using SimplePtr = std::unique_ptr<pa_simple, SimpleDeleter>;

constexpr double fadeSeconds = 0.005;
constexpr float level = 0.35f; // a cue, not an alarm

} // namespace

SoundEffects::SoundEffects(QByteArray server)
    : m_server(std::move(server)) {}

std::vector<float> SoundEffects::sweep(double fromHz, double toHz, double seconds, int rate) {
    const auto count = std::size_t(std::max(0.0, seconds) * rate);
    std::vector<float> samples(count);
    const double fade = fadeSeconds * rate;
    double phase = 0;
    for (std::size_t i = 0; i < count; ++i) {
        const double t = double(i) / double(count);
        const double frequency = fromHz + (toHz - fromHz) * t;
        const double edge = std::min({1.0, double(i) / fade, double(count - 1 - i) / fade});
        samples[i] = float(std::sin(phase) * edge) * level;
        // Integrating the frequency keeps the phase continuous as the pitch moves.
        phase += 2 * std::numbers::pi * frequency / rate;
        if (phase > 2 * std::numbers::pi)
            phase -= 2 * std::numbers::pi;
    }
    return samples;
}

QFuture<bool> SoundEffects::playSweep(double fromHz, double toHz, double seconds) {
    return m_executor.submit([server = m_server, fromHz, toHz, seconds] {
        const std::vector<float> samples = sweep(fromHz, toHz, seconds);
        pa_sample_spec spec{};
        spec.format = PA_SAMPLE_FLOAT32LE;
        spec.rate = sampleRate;
        spec.channels = 1;
        // A cue must sound when its moment comes: ask for a short buffer instead of the default two seconds.
        pa_buffer_attr buffer{};
        buffer.maxlength = std::uint32_t(-1);
        buffer.tlength = std::uint32_t(pa_usec_to_bytes(40'000, &spec));
        buffer.prebuf = std::uint32_t(-1);
        buffer.minreq = std::uint32_t(-1);
        buffer.fragsize = std::uint32_t(-1);
        int error = 0;
        SimplePtr output(pa_simple_new(server.isEmpty() ? nullptr : server.constData(), "Orvane Screen",
                                       PA_STREAM_PLAYBACK, nullptr, "sound effect", &spec, nullptr, &buffer,
                                       &error));
        if (!output) {
            log::info("Sounds", QStringLiteral("no sound server for the interface sounds at %1: ")
                                        .arg(server.isEmpty() ? QStringLiteral("the default")
                                                              : QString::fromUtf8(server)) +
                                    QString::fromUtf8(pa_strerror(error)));
            return false;
        }
        if (pa_simple_write(output.get(), samples.data(), samples.size() * sizeof(float), &error) < 0 ||
            pa_simple_drain(output.get(), &error) < 0) {
            log::warning("Sounds", QStringLiteral("a sound could not be played: ") +
                                       QString::fromUtf8(pa_strerror(error)));
            return false;
        }
        return true;
    });
}

} // namespace orvane
