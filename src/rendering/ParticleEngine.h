#pragma once

#include "project/CursorTrailConfig.h"

#include <optional>
#include <random>
#include <vector>

namespace orvane {

struct Particle {
    double x = 0;
    double y = 0;
    double vx = 0;
    double vy = 0;
    double life = 0; // 1 at birth, gone at 0
    double size = 0;
    double opacity = 0;
    bool operator==(const Particle&) const = default;
};

// Sparks left behind a moving cursor: born where the cursor goes, drifting against its motion, slowing,
// shrinking and fading. Holds state between updates; not thread-safe.
class ParticleEngine {
public:
    explicit ParticleEngine(int maxParticles);

    // Advances the simulation by dt seconds with the cursor now at (x, y); returns the live particles.
    // With the trail off nothing changes and the result is empty.
    const std::vector<Particle>& update(double cursorX, double cursorY, double dt,
                                        const CursorTrailConfig& config);
    // Back to the state after construction.
    void reset();

    const std::vector<Particle>& particles() const { return m_particles; }
    int maxParticles() const { return m_maxParticles; }
    std::optional<double> previousCursorX() const { return m_previousX; }
    std::optional<double> previousCursorY() const { return m_previousY; }

private:
    double uniform(double lo, double hi);

    std::vector<Particle> m_particles;
    int m_maxParticles;
    std::optional<double> m_previousX;
    std::optional<double> m_previousY;
    std::vector<Particle> m_empty;
    std::minstd_rand m_random;
};

} // namespace orvane
