#include "ui/PreviewAudioOutput.h"

#include "PreviewTestMovie.h"
#include "UiTestSupport.h"
#include "capture/PulseTestSupport.h"
#include "capture/pulse/PulseRecorder.h"

#include <QElapsedTimer>

#include <cmath>
#include <mutex>
#include <vector>

namespace orvane::test {
namespace {

using namespace std::chrono_literals;

// The preview's clock: the sound a private PulseAudio daemon plays, or the wall clock without one.
class PreviewAudioOutputTest : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        QByteArray failure;
        pulse = PulseServer::start(&failure);
        if (!pulse)
            skipReason = failure;
        movie = std::make_unique<QTemporaryDir>();
        const QString path = movie->filePath(QStringLiteral("clicks.mov"));
        if (!PreviewTestMovie{.width = 64, .height = 36, .fps = 30, .seconds = 4}.write(path))
            skipReason = "the test movie could not be written";
    }
    static void TearDownTestSuite() {
        pulse.reset();
        movie.reset();
    }
    static QString moviePath() { return movie->filePath(QStringLiteral("clicks.mov")); }

    static inline std::unique_ptr<PulseServer> pulse;
    static inline std::unique_ptr<QTemporaryDir> movie;
    static inline QByteArray skipReason;
};

// Clicks every second of the file are heard one second apart while the clock reads the file's time; after a
// stop the clock stands still and the speakers fall silent.
TEST_F(PreviewAudioOutputTest, SoundIsTheClockAndStopSilencesIt) {
    if (!skipReason.isEmpty())
        GTEST_SKIP() << skipReason.constData();
    std::mutex lock;
    std::vector<double> clicks; // on the recorder's clock, seconds
    double lastLoud = -1;
    PulseRecorder listener(PulseRecorder::Device::systemAudio, pulse->serverString(), "test.listen",
                           [&](std::span<const float> samples, MediaTime time) {
                               std::lock_guard guard(lock);
                               for (std::size_t i = 0; i < samples.size(); i += 2) {
                                   if (std::abs(samples[i]) < 0.2f)
                                       continue;
                                   const double at = time.seconds() + double(i / 2) / 48000.0;
                                   if (at - lastLoud > 0.2)
                                       clicks.push_back(at);
                                   lastLoud = at;
                               }
                           });
    ASSERT_TRUE(listener.start(5s).has_value());

    PreviewAudioOutput output(pulse->serverString());
    output.setSource(moviePath());
    output.start(0.5, 1);
    bool heard = false;
    QElapsedTimer wall;
    wall.start();
    // A null sink that has been idle takes a moment to start taking sound; the clock waits for it, so the
    // pace is measured once it moves.
    std::optional<std::pair<double, double>> moving; // wall, clock
    double end = 0;
    ASSERT_TRUE(waitUntil(
        [&] {
            heard = heard || output.usesSoundServer();
            const double now = double(wall.nsecsElapsed()) / 1e9;
            const double position = output.position();
            if (!moving && position >= 0.8)
                moving = std::pair{now, position};
            end = now;
            return position >= 2.7;
        },
        15s));
    EXPECT_TRUE(heard);
    ASSERT_TRUE(moving.has_value());
    EXPECT_NEAR(end - moving->first, 2.7 - moving->second, 0.1)
        << "the sound's clock runs at the wall's pace";
    output.stop();
    const double stoppedAt = output.position();
    QTest::qWait(400);
    EXPECT_EQ(output.position(), stoppedAt);

    std::lock_guard guard(lock);
    // The file's clicks at 1 s and 2 s; nothing after the stop (the one at 3 s never plays).
    ASSERT_EQ(clicks.size(), 2u);
    EXPECT_NEAR(clicks[1] - clicks[0], 1.0, 0.02);
}

// Without a server, and at any rate but 1x, the clock is the wall clock, reverse included.
TEST_F(PreviewAudioOutputTest, WallClockWithoutAServerOrAtOtherRates) {
    PreviewAudioOutput output(QByteArray("unix:/nonexistent/pulse/native"));
    output.setSource(moviePath());
    output.start(1.0, 1);
    QTest::qWait(300);
    EXPECT_FALSE(output.usesSoundServer());
    EXPECT_NEAR(output.position(), 1.3, 0.1);
    output.start(2.0, -2);
    QTest::qWait(250);
    EXPECT_NEAR(output.position(), 1.5, 0.1);
    output.stop();
    output.setPosition(0.25);
    EXPECT_EQ(output.position(), 0.25);
    EXPECT_FALSE(output.isRunning());
}

} // namespace
} // namespace orvane::test
