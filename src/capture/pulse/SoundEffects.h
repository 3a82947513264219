#pragma once

#include "support/SerialExecutor.h"

#include <QByteArray>
#include <QFuture>

#include <vector>

namespace orvane {

// The interface's short sounds: the sweep up when a recording starts and down when it stops. Played on a
// thread of their own ("tech.velvetcomet.orvane.screen.sounds") through the default output, so asking for
// one never waits; a missing sound server only means silence.
class SoundEffects {
public:
    static constexpr const char* enabledKey = "orvane.screen.soundEffectsEnabled";
    static constexpr int sampleRate = 48000;
    static constexpr double sweepSeconds = 0.15;

    // `server` as PulseAudio spells it; empty for the default one.
    explicit SoundEffects(QByteArray server = {});

    void setServer(QByteArray server) { m_server = std::move(server); }

    // Resolves to whether the sound reached the server (it has been played out once it resolves).
    QFuture<bool> playSweep(double fromHz, double toHz, double seconds = sweepSeconds);
    QFuture<bool> playStart() { return playSweep(400, 800); }
    QFuture<bool> playStop() { return playSweep(800, 400); }

    // A mono sine whose frequency glides linearly from `fromHz` to `toHz`, with 5 ms fades at both ends so
    // that it starts and ends without a click.
    static std::vector<float> sweep(double fromHz, double toHz, double seconds, int rate = sampleRate);

private:
    QByteArray m_server;
    SerialExecutor m_executor{QStringLiteral("tech.velvetcomet.orvane.screen.sounds")};
};

} // namespace orvane
