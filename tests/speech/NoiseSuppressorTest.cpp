// The clean-up chain on its own and over files: what it does to rumble, the low end and presence, that
// a stream filtered in pieces is the stream filtered at once, and the file route's output and errors.
#include "speech/NoiseSuppressor.h"

#include "AudioTestSupport.h"

#include <QFile>
#include <QTemporaryDir>
#include <QtEndian>

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>
#include <random>

namespace orvane {
namespace {

double dB(double gain) {
    return 20 * std::log10(gain);
}

// Interleaved stereo with the same tones on both sides.
std::vector<float> tones(std::initializer_list<std::pair<double, double>> hzAndAmplitude, int frames,
                         double rate = 48000) {
    std::vector<float> s(std::size_t(frames) * 2);
    for (int i = 0; i < frames; ++i) {
        double v = 0;
        for (auto [hz, amplitude] : hzAndAmplitude)
            v += amplitude * std::sin(2 * std::numbers::pi * hz * i / rate);
        s[2 * std::size_t(i)] = s[2 * std::size_t(i) + 1] = float(v);
    }
    return s;
}

std::vector<float> leftOf(const std::vector<float>& interleaved) {
    std::vector<float> left(interleaved.size() / 2);
    for (std::size_t i = 0; i < left.size(); ++i)
        left[i] = interleaved[2 * i];
    return left;
}

struct WavHeader {
    quint16 format = 0, channels = 0, bits = 0;
    quint32 rate = 0, dataBytes = 0;
    qint64 fileSize = 0;
};
WavHeader readHeader(const QString& path) {
    QFile f(path);
    WavHeader h;
    if (!f.open(QIODevice::ReadOnly))
        return h;
    const QByteArray b = f.read(44);
    h.fileSize = f.size();
    if (b.size() < 44 || !b.startsWith("RIFF") || b.mid(8, 8) != "WAVEfmt ")
        return h;
    auto u16 = [&](int at) {
        return qFromLittleEndian<quint16>(b.constData() + at);
    };
    auto u32 = [&](int at) {
        return qFromLittleEndian<quint32>(b.constData() + at);
    };
    h.format = u16(20);
    h.channels = u16(22);
    h.rate = u32(24);
    h.bits = u16(34);
    h.dataBytes = b.mid(36, 4) == "data" ? u32(40) : 0;
    return h;
}

TEST(BiquadFilter, filtersSinesByItsDesignedResponse) {
    const std::vector<BiquadFilter> stages{BiquadFilter::highPass(48000, 80),
                                           BiquadFilter::lowShelf(48000, 200, -4),
                                           BiquadFilter::peaking(48000, 3000, 1.0, 2)};
    for (const BiquadFilter& designed : stages) {
        for (double hz : {30.0, 80.0, 150.0, 1000.0, 3000.0, 9000.0}) {
            BiquadFilter filter = designed;
            std::vector<float> signal = tones({{hz, 0.5}}, 48000);
            filter.process(signal);
            // The second half, after the filter has settled.
            const auto left = leftOf(signal);
            const double measured =
                test::toneAmplitude(std::span<const float>(left).subspan(24000), hz) / 0.5;
            EXPECT_NEAR(measured, designed.magnitudeAt(hz), 0.01 * designed.magnitudeAt(hz) + 0.002)
                << hz << " Hz";
        }
    }
}

TEST(BiquadFilter, aStreamFilteredInPiecesIsTheStreamFilteredAtOnceAndChannelsStayApart) {
    std::mt19937 random(7);
    std::uniform_real_distribution<float> noise(-0.5f, 0.5f);
    std::vector<float> signal(2 * 10007);
    for (std::size_t i = 0; i < signal.size(); i += 2)
        signal[i] = noise(random); // right stays silent
    std::vector<float> whole = signal;
    NoiseSuppressor::Chain once(48000);
    once.process(whole);

    NoiseSuppressor::Chain pieces(48000);
    std::size_t at = 0;
    for (std::size_t block : {1u, 7u, 4096u, 333u, 4096u, 100000u}) {
        const std::size_t frames = std::min(block, (signal.size() - at) / 2);
        pieces.process(std::span<float>(signal).subspan(at, frames * 2));
        at += frames * 2;
    }
    ASSERT_EQ(at, signal.size());
    EXPECT_EQ(signal, whole);
    for (std::size_t i = 1; i < signal.size(); i += 2)
        ASSERT_EQ(signal[i], 0.0f) << "right channel, frame " << i / 2;
}

TEST(NoiseSuppressorChain, cutsRumbleLowersTheLowEndAndLiftsPresenceWithoutBoostingAnythingElse) {
    const NoiseSuppressor::Chain chain(48000);
    auto gain = [&](double hz) {
        double g = 1;
        for (const BiquadFilter& stage : chain.stages())
            g *= stage.magnitudeAt(hz);
        return dB(g);
    };
    EXPECT_LT(gain(40), -12.0);           // rumble
    EXPECT_NEAR(gain(80), -3 - 3.5, 1.0); // the high pass's corner, under the shelf
    EXPECT_NEAR(gain(200), -2.0, 0.4);    // half the shelf at its corner
    EXPECT_NEAR(gain(3000), 2.0, 0.15);   // presence
    EXPECT_NEAR(gain(1000), 0.0, 0.8);    // the voice's body is left alone
    EXPECT_NEAR(gain(15000), 0.0, 0.3);
    // A resonant high pass would lift the band just above its corner: nothing below the shelf may
    // come out louder than it went in.
    for (double hz = 20; hz <= 400; hz *= 1.05)
        EXPECT_LT(gain(hz), 0.0) << hz << " Hz";
    for (double hz = 20; hz <= 20000; hz *= 1.05)
        EXPECT_LT(gain(hz), 2.1) << hz << " Hz";
}

class NoiseSuppressorFile : public ::testing::Test {
protected:
    QTemporaryDir dir;
    QString path(const char* name) const { return dir.filePath(QString::fromLatin1(name)); }
};

TEST_F(NoiseSuppressorFile, writesAFloatWavAsLongAsTheInputWithRumbleCutAndPresenceKept) {
    // Not a multiple of the 4096-frame block, so the last block is short.
    constexpr int frames = 48000 + 1234;
    ASSERT_TRUE(test::writeWav16(path("in.wav"), tones({{40, 0.3}, {3000, 0.3}}, frames), 2, 48000));
    // A file already at the output is replaced, whatever it held.
    {
        QFile junk(path("out.wav"));
        ASSERT_TRUE(junk.open(QIODevice::WriteOnly));
        junk.write(QByteArray(2'000'000, 'x'));
    }

    const auto done = NoiseSuppressor::process(path("in.wav"), path("out.wav"));
    ASSERT_TRUE(done) << done.error().description().toStdString();

    const WavHeader h = readHeader(path("out.wav"));
    EXPECT_EQ(h.format, 3); // IEEE float
    EXPECT_EQ(h.channels, 2);
    EXPECT_EQ(h.rate, 48000u);
    EXPECT_EQ(h.bits, 32);
    EXPECT_EQ(h.dataBytes, quint32(frames * 2 * 4));
    EXPECT_EQ(h.fileSize, 44 + qint64(frames) * 2 * 4);

    const auto in = test::readLeftChannel(path("in.wav"));
    const auto out = test::readLeftChannel(path("out.wav"));
    ASSERT_EQ(out.size(), std::size_t(frames));
    const auto settledIn = test::slice(in, 0.3, 1.0);
    const auto settledOut = test::slice(out, 0.3, 1.0);
    EXPECT_LT(test::toneAmplitude(settledOut, 40), 0.25 * test::toneAmplitude(settledIn, 40));
    const double presence = test::toneAmplitude(settledOut, 3000) / test::toneAmplitude(settledIn, 3000);
    EXPECT_NEAR(dB(presence), 2.0, 0.3);
}

TEST_F(NoiseSuppressorFile, turnsOtherRatesAndLayoutsIntoStereoAt48kHz) {
    // One second of mono at 44.1 kHz.
    ASSERT_TRUE(test::writeWav16(path("mono.wav"), leftOf(tones({{1000, 0.4}}, 44100, 44100)), 1, 44100));
    ASSERT_TRUE(NoiseSuppressor::process(path("mono.wav"), path("out.wav")));
    const WavHeader h = readHeader(path("out.wav"));
    EXPECT_EQ(h.channels, 2);
    EXPECT_EQ(h.rate, 48000u);
    EXPECT_NEAR(double(h.dataBytes) / 8, 48000, 48);
    const auto out = test::readLeftChannel(path("out.wav"));
    EXPECT_NEAR(test::toneAmplitude(test::slice(out, 0.2, 0.8), 1000), 0.4, 0.05);
}

TEST_F(NoiseSuppressorFile, anInputWithoutSamplesGivesAValidEmptyFile) {
    ASSERT_TRUE(test::writeWav16(path("empty.wav"), {}, 2, 48000));
    const auto done = NoiseSuppressor::process(path("empty.wav"), path("out.wav"));
    ASSERT_TRUE(done) << done.error().description().toStdString();
    const WavHeader h = readHeader(path("out.wav"));
    EXPECT_EQ(h.format, 3);
    EXPECT_EQ(h.dataBytes, 0u);
    EXPECT_EQ(h.fileSize, 44);
}

TEST_F(NoiseSuppressorFile, failuresCarryTheirFixedTexts) {
    const auto missing = NoiseSuppressor::process(path("nothing.wav"), path("out.wav"));
    ASSERT_FALSE(missing);
    EXPECT_EQ(missing.error().kind, NoiseSuppressorError::Kind::missingInput);
    EXPECT_EQ(missing.error().description(), QStringLiteral("Noise suppressor: input file does not exist."));
    EXPECT_FALSE(QFile::exists(path("out.wav")));

    {
        QFile text(path("notes.txt"));
        ASSERT_TRUE(text.open(QIODevice::WriteOnly));
        text.write("these are not samples\n");
    }
    const auto unreadable = NoiseSuppressor::process(path("notes.txt"), path("out.wav"));
    ASSERT_FALSE(unreadable);
    EXPECT_EQ(unreadable.error().kind, NoiseSuppressorError::Kind::unreadableInput);
    const QString prefix = QStringLiteral("Noise suppressor: input file is not readable — ");
    EXPECT_TRUE(unreadable.error().description().startsWith(prefix));
    EXPECT_GT(unreadable.error().description().size(), prefix.size()) << "the reader's own text follows";

    ASSERT_TRUE(test::writeWav16(path("in.wav"), tones({{440, 0.3}}, 4800), 2, 48000));
    const auto unwritable = NoiseSuppressor::process(path("in.wav"), path("no/such/folder/out.wav"));
    ASSERT_FALSE(unwritable);
    EXPECT_EQ(unwritable.error().kind, NoiseSuppressorError::Kind::writeFailed);
    EXPECT_TRUE(unwritable.error().description().startsWith(
        QStringLiteral("Noise suppressor: failed to write output — ")));

    EXPECT_EQ((NoiseSuppressorError{NoiseSuppressorError::Kind::engineSetupFailed, QStringLiteral("x")}
                   .description()),
              QStringLiteral("Noise suppressor: audio engine setup failed — x"));
    EXPECT_EQ(
        (NoiseSuppressorError{NoiseSuppressorError::Kind::renderFailed, QStringLiteral("y")}.description()),
        QStringLiteral("Noise suppressor: offline render failed — y"));
}

} // namespace
} // namespace orvane
