// Records a fragmented movie the way a capture does (H.264 in a QuickTime file, two AAC tracks, real-time
// encoder settings) until it is killed. Prints "seconds N" each time N seconds of media reached the writer,
// so the test knows when to send SIGKILL.
#include "media/MediaWriter.h"

#include <chrono>
#include <cmath>
#include <cstdio>
#include <numbers>
#include <thread>
#include <vector>

using namespace orvane;

int main(int argc, char** argv) {
    if (argc < 2)
        return 2;
    MediaWriterSettings settings;
    settings.container = ContainerFormat::mov;
    VideoEncoderSettings video;
    video.width = 640;
    video.height = 360;
    video.frameRate = 30;
    video.preset = QStringLiteral("ultrafast");
    video.realTime = true;
    video.threads = 1;
    settings.video = video;
    settings.audio = {AudioEncoderSettings{}, AudioEncoderSettings{}};
    settings.fragmentInterval = 0.5;
    auto writer = MediaWriter::create(QString::fromLocal8Bit(argv[1]), settings);
    if (!writer) {
        std::fprintf(stderr, "%s\n", qPrintable(writer.error().description));
        return 1;
    }
    MediaWriter& w = **writer;
    std::vector<float> audio(1600 * 2);
    for (int i = 0;; ++i) {
        const MediaTime t{i * 3000, 90000};
        VideoFrame frame = w.framePool().acquire();
        if (frame) {
            frame.fill(std::uint8_t(i * 5), std::uint8_t(255 - i * 3), 128, 255);
            (void)w.appendVideo(frame, t);
        }
        for (int track = 0; track < 2; ++track) {
            for (int s = 0; s < 1600; ++s)
                audio[2 * std::size_t(s)] = audio[2 * std::size_t(s) + 1] =
                    0.3f *
                    float(std::sin(2 * std::numbers::pi * (440 + 220 * track) * (i * 1600 + s) / 48000.0));
            (void)w.appendAudio(track, audio, MediaTime{i * 1600, 48000});
        }
        if (auto e = w.error()) {
            std::fprintf(stderr, "%s\n", qPrintable(e->description));
            return 1;
        }
        if (i > 0 && i % 30 == 0) {
            std::printf("seconds %d\n", i / 30);
            std::fflush(stdout);
        }
        // Twice real time: fast for the test, slow enough that the encoder keeps up.
        std::this_thread::sleep_for(std::chrono::microseconds(16667));
    }
}
