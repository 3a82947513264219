#include "ParticleEngine.h"

#include <algorithm>
#include <cmath>

namespace orvane {

ParticleEngine::ParticleEngine(int maxParticles)
    : m_maxParticles(std::max(0, maxParticles))
    , m_random(std::random_device{}()) {
    m_particles.reserve(std::size_t(m_maxParticles));
}

double ParticleEngine::uniform(double lo, double hi) {
    return std::uniform_real_distribution<double>(lo, hi)(m_random);
}

const std::vector<Particle>& ParticleEngine::update(double x, double y, double dt,
                                                    const CursorTrailConfig& config) {
    if (!config.isEnabled)
        return m_empty;
    if (m_previousX && m_previousY) {
        const double dx = x - *m_previousX;
        const double dy = y - *m_previousY;
        const int count = std::min(int(std::hypot(dx, dy) / 5) + 1, 3);
        const double r = config.trailWidth * 0.3;
        for (int i = 0; i < count; ++i) {
            if (int(m_particles.size()) >= m_maxParticles)
                break;
            Particle p;
            p.x = x + uniform(-r, r);
            p.y = y + uniform(-r, r);
            p.vx = uniform(-10, 10) - 0.3 * dx;
            p.vy = uniform(-10, 10) - 0.3 * dy;
            p.life = 1;
            p.size = config.trailWidth;
            p.opacity = config.color.a;
            m_particles.push_back(p);
        }
    }
    m_previousX = x;
    m_previousY = y;

    // trailLength counts frames at 60 a second.
    const double decay = dt / (double(config.trailLength) / 60.0);
    for (std::size_t k = m_particles.size(); k-- > 0;) {
        Particle& p = m_particles[k];
        p.x += p.vx * dt;
        p.y += p.vy * dt;
        p.vx *= 0.95;
        p.vy *= 0.95;
        p.life -= decay;
        p.size *= 1 - 0.5 * dt;
        if (config.fadeOut)
            p.opacity = p.life * config.color.a;
        if (p.life <= 0)
            m_particles.erase(m_particles.begin() + std::ptrdiff_t(k));
    }
    return m_particles;
}

void ParticleEngine::reset() {
    m_particles.clear();
    m_previousX.reset();
    m_previousY.reset();
}

} // namespace orvane
