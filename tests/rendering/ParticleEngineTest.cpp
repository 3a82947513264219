#include "rendering/ParticleEngine.h"

#include <gtest/gtest.h>

namespace orvane {
namespace {

CursorTrailConfig trail() {
    CursorTrailConfig c;
    c.isEnabled = true;
    c.trailLength = 30; // half a second
    c.trailWidth = 10;
    c.color.a = 0.8;
    return c;
}

TEST(ParticleEngine, spawnsBehindAMovingCursorUpToItsLimit) {
    ParticleEngine engine(5);
    EXPECT_TRUE(engine.update(100, 100, 1 / 60.0, trail()).empty()); // the first position only is stored
    // A 20 pixel move spawns min(20 / 5 + 1, 3) = 3, near the cursor, drifting back along the move.
    const auto& p = engine.update(120, 100, 1 / 60.0, trail());
    ASSERT_EQ(p.size(), 3u);
    for (const Particle& q : p) {
        EXPECT_NEAR(q.x, 120, 3 + 1);
        EXPECT_LT(q.vx, 10 - 6 + 1e-9);
        EXPECT_NEAR(q.size, 10 * (1 - 0.5 / 60), 1e-9);
        EXPECT_NEAR(q.life, 1 - (1 / 60.0) / 0.5, 1e-9);
        EXPECT_NEAR(q.opacity, q.life * 0.8, 1e-9);
    }
    EXPECT_EQ(engine.update(140, 100, 1 / 60.0, trail()).size(), 5u);
}

TEST(ParticleEngine, particlesDieAfterTheirLifeAndResetForgetsEverything) {
    ParticleEngine engine(100);
    engine.update(0, 0, 0.01, trail());
    engine.update(1, 0, 0.01, trail());
    ASSERT_EQ(engine.particles().size(), 1u);
    // Half a second of standing still: the particle's life runs out, none are born without movement...
    // except one per update, since a still cursor still spawns min(0 / 5 + 1, 3) = 1.
    CursorTrailConfig c = trail();
    for (int i = 0; i < 60; ++i)
        engine.update(1, 0, 0.01, c);
    for (const Particle& p : engine.particles())
        EXPECT_GT(p.life, 0);
    EXPECT_LE(engine.particles().size(), 50u);

    // Off: nothing changes and nothing is returned.
    c.isEnabled = false;
    const std::size_t before = engine.particles().size();
    EXPECT_TRUE(engine.update(50, 50, 0.01, c).empty());
    EXPECT_EQ(engine.particles().size(), before);
    EXPECT_EQ(engine.previousCursorX(), 1.0);

    engine.reset();
    EXPECT_TRUE(engine.particles().empty());
    EXPECT_FALSE(engine.previousCursorX().has_value());
}

} // namespace
} // namespace orvane
