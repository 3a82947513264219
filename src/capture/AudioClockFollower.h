#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

struct SwrContext;

namespace orvane {

// Puts an audio device's samples on the capture clock. A device runs on its own crystal: 48,000 samples
// of "48 kHz" may take 47.99 or 48.01 seconds of the monotonic clock, which over an hour is seconds of
// drift against the video. Each chunk comes with the clock time its first sample was captured, as far as
// the reader can tell; the follower keeps its output contiguous at exactly 48,000 samples per clock second
// and stretches or squeezes the stream, through swresample's compensation, by the difference between
// where the reader says a sample is and where the output has put it.
//
// A reader that was not scheduled in time stamps its chunks late, never early, so the error that counts
// is the lower envelope: the smallest difference seen over the last second. That is smoothed with a time
// constant of 0.5 s and corrected over 2 s, which damps the loop critically, and its integral (over 20 s)
// learns the device's steady rate, so a crystal off by a constant amount leaves no standing error. The
// correction is limited to 0.5 %, far beyond any crystal and inaudible. Samples that were lost (every
// difference of the last 0.2 s later than 100 ms) or a clock that jumped back (one earlier than 100 ms)
// are not bent out but jumped: the output's clock moves, and the writer fills the gap with silence or
// trims the overlap.
//
// Interleaved stereo float at 48 kHz in and out. Not thread-safe: one capture thread feeds it. Nothing is
// allocated after construction.
class AudioClockFollower {
public:
    static constexpr int sampleRate = 48000;
    static constexpr int channels = 2;

    struct Options {
        double envelopeWindow = 1.0;    // seconds of differences whose smallest counts
        double errorTimeConstant = 0.5; // seconds
        double correctionTime = 2.0;    // seconds over which a smoothed error is made good
        double integralTime = 20.0;     // seconds over which a lasting error becomes a rate
        double maxCorrection = 0.005;   // fraction of the rate
        double resyncThreshold = 0.1;   // seconds
        double resyncWindow = 0.2;      // seconds that must all be late before a jump forward
    };

    AudioClockFollower();
    explicit AudioClockFollower(Options options);
    ~AudioClockFollower();
    AudioClockFollower(const AudioClockFollower&) = delete;
    AudioClockFollower& operator=(const AudioClockFollower&) = delete;

    // Feeds one chunk whose first frame was captured at `captureTime` (clock seconds) and hands the
    // resampled output to `emit(std::span<const float> samples, double time)`, possibly in several pieces,
    // each stamped with the clock time of its first frame. Pieces follow each other without gaps except
    // after a jump.
    template <class Emit>
    void push(std::span<const float> interleaved, double captureTime, Emit&& emit) {
        begin(interleaved.size() / channels, captureTime);
        while (!interleaved.empty()) {
            const std::size_t take = std::min(interleaved.size(), maxPieceFrames * channels);
            const std::size_t produced = convert(interleaved.first(take));
            if (produced > 0)
                emit(std::span<const float>(m_output.data(), produced * channels), m_pieceTime);
            interleaved = interleaved.subspan(take);
        }
    }

    // Where the output will put the next input frame, in clock seconds; meaningful after the first chunk.
    double nextInputOutputTime() const;
    double smoothedError() const { return m_smoothedError; }
    // The current stretch: positive adds samples.
    double correction() const { return m_correction; }
    int resyncCount() const { return m_resyncs; }
    std::int64_t inputFrames() const { return m_inputFrames; }
    std::int64_t outputFrames() const { return m_outputFrames; }

private:
    static constexpr std::size_t maxPieceFrames = 4096;
    static constexpr int compensationDistance = sampleRate * 10;
    // Differences kept for the envelope: a second of chunks as short as 2 ms.
    static constexpr std::size_t historySize = 512;

    struct Difference {
        double at = 0; // input position in seconds
        double error = 0;
    };

    void begin(std::size_t frames, double captureTime);
    std::size_t convert(std::span<const float> interleaved);
    double bufferedFrames() const;
    void jump(double by);

    struct SwrDeleter {
        void operator()(SwrContext* p) const;
    };

    Options m_options;
    std::unique_ptr<SwrContext, SwrDeleter> m_swr;
    std::vector<float> m_output;
    std::array<Difference, historySize> m_history{};
    std::size_t m_historyHead = 0; // oldest entry
    std::size_t m_historyCount = 0;
    bool m_started = false;
    double m_origin = 0; // clock time of output frame 0
    double m_smoothedError = 0;
    double m_rate = 0; // the integral term: the device's learned rate error
    double m_correction = 0;
    double m_pieceTime = 0;
    int m_resyncs = 0;
    std::int64_t m_inputFrames = 0;
    std::int64_t m_outputFrames = 0;
};

} // namespace orvane
