#include "capture/StreamOutput.h"

#include "PulseTestSupport.h"
#include "common/AllocationCounter.h"
#include "common/LogCapture.h"
#include "media/AudioReader.h"
#include "media/MediaWriter.h"

#include <QDir>
#include <QStringList>
#include <QTemporaryDir>
#include <QThread>

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>

using namespace orvane;

namespace {

constexpr double base = 10.0; // capture clock seconds at the start of each test's samples

MediaTime at(double seconds) {
    return MediaTime::fromSeconds(base + seconds, 1'000'000);
}

std::shared_ptr<MediaWriter> makeWriter(const QString& path, int width, int height, const QString& preset,
                                        int audioTracks) {
    MediaWriterSettings settings;
    VideoEncoderSettings video;
    video.width = width;
    video.height = height;
    video.preset = preset;
    video.realTime = true;
    settings.video = video;
    settings.audio.assign(std::size_t(audioTracks), AudioEncoderSettings{});
    auto writer = MediaWriter::create(path, settings);
    EXPECT_TRUE(writer) << writer.error().description.toStdString();
    return writer ? std::shared_ptr<MediaWriter>(std::move(*writer)) : nullptr;
}

// 10 ms of a 1 kHz sine: ten whole periods, so every chunk starts at phase 0.
std::vector<float> chunk(double amplitude) {
    std::vector<float> samples(480 * 2);
    for (int i = 0; i < 480; ++i)
        samples[std::size_t(i) * 2] = samples[std::size_t(i) * 2 + 1] =
            float(amplitude * std::sin(2 * std::numbers::pi * 1000 * i / 48000.0));
    return samples;
}

double amplitudeOf(int chunkIndex) {
    return 0.005 * (chunkIndex + 1);
}

TEST(StreamOutputTest, SoundBeforeTheFirstFrameWaitsUpToSixtyBuffersAndGoesFirst) {
    QTemporaryDir dir;
    const QString path = QDir(dir.path()).filePath(QStringLiteral("early.mov"));
    auto writer = makeWriter(path, 64, 64, QStringLiteral("ultrafast"), 1);
    ASSERT_TRUE(writer);
    StreamOutput output(writer, 0, std::nullopt);
    std::vector<std::uint8_t> pixels(64 * 64 * 4, 0x80);
    const VideoSample blank{pixels.data(), 64, 64, 64 * 4, {}};

    // 0.7 s of sound before any frame: 70 buffers, of which 60 wait.
    for (int i = 0; i < 70; ++i)
        output.handleAudio(StreamOutput::OutputType::audio, chunk(amplitudeOf(i)), at(i * 0.01));
    EXPECT_EQ(output.statistics().pendingAudioDropped, 10);
    EXPECT_EQ(output.statistics().audioBuffersAppended[0], 0);

    // The first frame comes at 0.3 s, then frames and sound go on side by side to 1 s, no faster than the
    // encoder takes them, as a stream in real time would deliver them.
    auto paced = [&] {
        while (!writer->isReadyForVideo() || !writer->isReadyForAudio(0))
            QThread::msleep(1);
    };
    int nextChunk = 70;
    for (int f = 0; f < 42; ++f) {
        const double t = 0.3 + f / 60.0;
        for (; nextChunk * 0.01 <= t && nextChunk < 100; ++nextChunk) {
            paced();
            output.handleAudio(StreamOutput::OutputType::audio, chunk(amplitudeOf(nextChunk)),
                               at(nextChunk * 0.01));
        }
        paced();
        VideoSample frame = blank;
        frame.time = at(t);
        output.handleVideo(frame);
    }
    const auto counts = output.statistics();
    EXPECT_EQ(counts.sessionStart, at(0.3));
    EXPECT_EQ(counts.framesAppended, 42);
    EXPECT_EQ(counts.audioBuffersAppended[0], 60 + (nextChunk - 70));
    output.finishWriting();
    ASSERT_TRUE(writer->finish());

    // The movie starts at the first frame: what came before it was handed over but trimmed, the waiting
    // buffers follow in their order, then the gap of the ten that did not fit, then the sound after it.
    auto reader = AudioReader::open(path);
    ASSERT_TRUE(reader);
    std::vector<float> samples;
    while (auto next = (*reader)->next()) {
        if (!*next)
            break;
        samples.insert(samples.end(), (*next)->samples.begin(), (*next)->samples.end());
    }
    auto levelOfChunkAt = [&](double fileSeconds) {
        const auto start = std::size_t(fileSeconds * 48000);
        if ((start + 480) * 2 > samples.size())
            return -1.0;
        return test::toneLevel(samples.data() + start * 2, 480, 1000) * std::numbers::sqrt2;
    };
    for (int i : {31, 45, 58})
        EXPECT_NEAR(levelOfChunkAt((i - 30) * 0.01), amplitudeOf(i), 0.015) << "buffer " << i;
    for (double t : {0.32, 0.35, 0.38})
        EXPECT_LT(levelOfChunkAt(t), 0.01) << "at " << t;
    for (int i : {72, 85, 98})
        EXPECT_NEAR(levelOfChunkAt((i - 30) * 0.01), amplitudeOf(i), 0.015) << "buffer " << i;
}

TEST(StreamOutputTest, ASlowEncoderLosesFramesButNeverHoldsTheStreamUp) {
    QTemporaryDir dir;
    auto writer = makeWriter(QDir(dir.path()).filePath(QStringLiteral("slow.mov")), 1920, 1080,
                             QStringLiteral("medium"), 0);
    ASSERT_TRUE(writer);
    StreamOutput output(writer, std::nullopt, std::nullopt);
    std::vector<std::uint8_t> pixels(std::size_t(1920) * 1080 * 4);
    // A second and a half of busy frames as fast as they can be handed over: were the output to wait for
    // the encoder, none would be lost.
    for (std::size_t i = 0; i < pixels.size(); ++i)
        pixels[i] = std::uint8_t(i * 2654435761u >> 13);
    for (int f = 0; f < 90; ++f) {
        pixels[std::size_t(f) * 4] ^= 0xff;
        output.handleVideo({pixels.data(), 1920, 1080, 1920 * 4, at(f / 60.0)});
    }
    const auto counts = output.statistics();
    EXPECT_GT(counts.framesDropped, 0);
    EXPECT_GT(counts.framesAppended, 0);
    EXPECT_EQ(counts.framesAppended + counts.framesDropped, 90);
    writer->cancel();
}

TEST(StreamOutputTest, SteadyFramesAndSoundAllocateNothing) {
    QTemporaryDir dir;
    auto writer = makeWriter(QDir(dir.path()).filePath(QStringLiteral("steady.mov")), 320, 240,
                             QStringLiteral("ultrafast"), 2);
    ASSERT_TRUE(writer);
    StreamOutput output(writer, 0, 1);
    std::vector<std::uint8_t> pixels(320 * 240 * 4, 0x40);
    const std::vector<float> sound = chunk(0.3);
    auto feed = [&](int from, int to) {
        for (int f = from; f < to; ++f) {
            while (!writer->isReadyForVideo() || !writer->isReadyForAudio(0) || !writer->isReadyForAudio(1))
                QThread::msleep(1);
            output.handleVideo({pixels.data(), 320, 240, 320 * 4, at(f / 60.0)});
            output.handleAudio(StreamOutput::OutputType::audio, sound, at(f / 60.0));
            output.handleAudio(StreamOutput::OutputType::microphone, sound, at(f / 60.0));
        }
    };
    // The first frames fill the writer's pool and log; after them a frame and its sound cost no allocation.
    feed(0, 20);
    const test::AllocationScope scope;
    feed(20, 60);
    EXPECT_EQ(scope.allocations(), 0u);
    EXPECT_EQ(output.statistics().framesAppended, 60);
    writer->cancel();
}

TEST(StreamOutputTest, AWriterThatStoppedTakesNothingMore) {
    test::LogCapture log;
    QTemporaryDir dir;
    auto writer = makeWriter(QDir(dir.path()).filePath(QStringLiteral("gone.mov")), 64, 64,
                             QStringLiteral("ultrafast"), 1);
    ASSERT_TRUE(writer);
    writer->cancel();
    StreamOutput output(writer, 0, std::nullopt);
    std::vector<std::uint8_t> pixels(64 * 64 * 4);
    output.handleVideo({pixels.data(), 64, 64, 64 * 4, at(0)});
    output.handleAudio(StreamOutput::OutputType::audio, chunk(0.5), at(0));
    const QStringList lines = log.finish();
    EXPECT_EQ(output.writerStatus(), StreamOutput::WriterStatus::cancelled);
    EXPECT_EQ(output.statistics().framesAppended, 0);
    EXPECT_EQ(output.statistics().audioBuffersAppended[0], 0);
    EXPECT_TRUE(lines.contains(
        QStringLiteral("[CaptureEngine] Frame #1 type=0 valid=true pb=64x64 fmt=BGRA(1111970369)")));
    EXPECT_TRUE(lines.contains(
        QStringLiteral("[CaptureEngine] Writer not in writing state: 4 error: Writing was cancelled.")));
    EXPECT_TRUE(lines.contains(QStringLiteral("[CaptureEngine] Frame #2 type=1 valid=true")));
}

} // namespace
