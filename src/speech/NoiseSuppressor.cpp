#include "NoiseSuppressor.h"

#include "media/AudioReader.h"

#include <QFile>
#include <QFileInfo>
#include <QtEndian>

#include <algorithm>

namespace orvane {

QString NoiseSuppressorError::description() const {
    switch (kind) {
    case Kind::unreadableInput:
        return QStringLiteral("Noise suppressor: input file is not readable — ") + text;
    case Kind::engineSetupFailed:
        return QStringLiteral("Noise suppressor: audio engine setup failed — ") + text;
    case Kind::renderFailed:
        return QStringLiteral("Noise suppressor: offline render failed — ") + text;
    case Kind::writeFailed:
        return QStringLiteral("Noise suppressor: failed to write output — ") + text;
    case Kind::missingInput:
        return QStringLiteral("Noise suppressor: input file does not exist.");
    }
    return {};
}

NoiseSuppressor::Chain::Chain(double sampleRate)
    : m_stages{BiquadFilter::highPass(sampleRate, 80), BiquadFilter::lowShelf(sampleRate, 200, -4),
               BiquadFilter::peaking(sampleRate, 3000, 1.0, 2)} {}

void NoiseSuppressor::Chain::process(std::span<float> samples) {
    for (BiquadFilter& stage : m_stages)
        stage.process(samples);
}

namespace {

// A 32-bit float WAV whose header is written last, when the length is known.
class WavWriter {
public:
    explicit WavWriter(const QString& path)
        : m_file(path) {}

    bool open() {
        if (!m_file.open(QIODevice::WriteOnly | QIODevice::Truncate))
            return false;
        return m_file.write(QByteArray(44, '\0')) == 44;
    }
    bool write(std::span<const float> samples) {
        const auto bytes = qint64(samples.size() * sizeof(float));
        m_frames += samples.size() / 2;
        return m_file.write(reinterpret_cast<const char*>(samples.data()), bytes) == bytes;
    }
    bool finish() {
        const quint32 dataBytes = quint32(m_frames * 2 * sizeof(float));
        QByteArray header;
        auto u32 = [&](quint32 v) {
            header.append(reinterpret_cast<const char*>(&(v = qToLittleEndian(v))), 4);
        };
        auto u16 = [&](quint16 v) {
            header.append(reinterpret_cast<const char*>(&(v = qToLittleEndian(v))), 2);
        };
        header.append("RIFF");
        u32(36 + dataBytes);
        header.append("WAVEfmt ");
        u32(16);
        u16(3); // IEEE float
        u16(2);
        u32(48000);
        u32(48000 * 2 * 4);
        u16(2 * 4);
        u16(32);
        header.append("data");
        u32(dataBytes);
        return m_file.seek(0) && m_file.write(header) == 44 && m_file.flush();
    }
    QString errorString() const { return m_file.errorString(); }

private:
    QFile m_file;
    std::size_t m_frames = 0;
};

} // namespace

tl::expected<void, NoiseSuppressorError> NoiseSuppressor::process(const QString& input,
                                                                  const QString& output) {
    using Kind = NoiseSuppressorError::Kind;
    if (!QFileInfo::exists(input))
        return tl::unexpected(NoiseSuppressorError{Kind::missingInput, {}});
    auto reader = AudioReader::open(input);
    if (!reader)
        return tl::unexpected(NoiseSuppressorError{Kind::unreadableInput, reader.error().description});

    if (QFileInfo::exists(output))
        QFile::remove(output);
    WavWriter writer(output);
    if (!writer.open())
        return tl::unexpected(NoiseSuppressorError{Kind::writeFailed, writer.errorString()});

    Chain chain(AudioReader::sampleRate);
    std::vector<float> block(std::size_t(blockFrames) * 2);
    std::size_t filled = 0;
    auto flush = [&]() -> bool {
        chain.process(std::span<float>(block.data(), filled));
        const bool ok = writer.write(std::span<const float>(block.data(), filled));
        filled = 0;
        return ok;
    };
    while (true) {
        auto chunk = (*reader)->next();
        if (!chunk)
            return tl::unexpected(NoiseSuppressorError{Kind::renderFailed, chunk.error().description});
        if (!*chunk)
            break;
        std::span<const float> samples = (*chunk)->samples;
        while (!samples.empty()) {
            const std::size_t take = std::min(samples.size(), block.size() - filled);
            std::copy_n(samples.begin(), take, block.begin() + std::ptrdiff_t(filled));
            filled += take;
            samples = samples.subspan(take);
            if (filled == block.size() && !flush())
                return tl::unexpected(NoiseSuppressorError{Kind::writeFailed, writer.errorString()});
        }
    }
    // The last block is shorter: the output is exactly as long as the input.
    if ((filled > 0 && !flush()) || !writer.finish())
        return tl::unexpected(NoiseSuppressorError{Kind::writeFailed, writer.errorString()});
    return {};
}

} // namespace orvane
