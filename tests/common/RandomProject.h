#pragma once

#include "project/Project.h"

#include <cstdint>
#include <random>

namespace orvane::test {

struct RandomProjectOptions {
    int clips = 4;
    int zoomKeyframesPerClip = 6;
    // When false, every optional is absent and every list empty: the smallest documents.
    bool fillOptionals = true;
};

// Projects with every field set to arbitrary but encodable values (finite numbers, awkward strings,
// every enumeration and union case), reproducible from the seed.
Project randomProject(std::uint64_t seed, const RandomProjectOptions& options = {});

} // namespace orvane::test
