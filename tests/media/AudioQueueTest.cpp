#include "media/AudioQueue.h"

#include "common/AllocationCounter.h"

#include <gtest/gtest.h>

#include <vector>

using namespace orvane;

namespace {

// Stereo chunk whose left sample is its clock position and whose right sample is its negation, so a
// popped frame tells where it came from.
std::vector<float> ramp(std::int64_t start, int frames) {
    std::vector<float> s;
    for (int i = 0; i < frames; ++i) {
        s.push_back(float(start + i));
        s.push_back(-float(start + i));
    }
    return s;
}

struct Popped {
    std::vector<float> left, right;
};

Popped popAll(AudioQueue& q, std::size_t chunk = 7) {
    Popped out;
    std::vector<float> l(chunk), r(chunk);
    float* planes[2] = {l.data(), r.data()};
    while (q.available() > 0) {
        const std::size_t n = q.pop(planes, chunk);
        out.left.insert(out.left.end(), l.begin(), l.begin() + long(n));
        out.right.insert(out.right.end(), r.begin(), r.begin() + long(n));
    }
    return out;
}

} // namespace

TEST(AudioQueue, ContiguousChunksComeOutPlanarInOrderAcrossTheRingsEnd) {
    AudioQueue q(2, 16, 2);
    Popped all;
    std::int64_t at = 0;
    // Push and pop in unequal steps so the ring wraps many times.
    for (int round = 0; round < 20; ++round) {
        const int n = 3 + round % 9;
        ASSERT_EQ(q.push(ramp(at, n), at), AudioQueue::Push::accepted);
        at += n;
        const Popped p = popAll(q, 5);
        all.left.insert(all.left.end(), p.left.begin(), p.left.end());
        all.right.insert(all.right.end(), p.right.begin(), p.right.end());
    }
    ASSERT_EQ(std::int64_t(all.left.size()), at);
    for (std::size_t i = 0; i < all.left.size(); ++i) {
        EXPECT_EQ(all.left[i], float(i));
        EXPECT_EQ(all.right[i], -float(i));
    }
    EXPECT_EQ(q.endFrame(), at);
}

TEST(AudioQueue, GapsBecomeSilenceAndOverlapsLoseTheirHead) {
    AudioQueue q(2, 64, 2);
    ASSERT_EQ(q.push(ramp(0, 10), 0), AudioQueue::Push::accepted);
    // 1 frame late: within the jitter allowance, joined on as if contiguous.
    ASSERT_EQ(q.push(ramp(10, 5), 11), AudioQueue::Push::accepted);
    EXPECT_EQ(q.endFrame(), 15);
    // 5 frames late: a gap of silence.
    ASSERT_EQ(q.push(ramp(20, 5), 20), AudioQueue::Push::accepted);
    // Starts 3 frames before the end: those 3 are dropped.
    ASSERT_EQ(q.push(ramp(22, 6), 22), AudioQueue::Push::accepted);
    EXPECT_EQ(q.endFrame(), 28);
    EXPECT_EQ(q.available(), 28);

    const Popped p = popAll(q);
    ASSERT_EQ(p.left.size(), 28u);
    for (int i = 0; i < 15; ++i)
        EXPECT_EQ(p.left[std::size_t(i)], float(i)) << i;
    for (int i = 15; i < 20; ++i)
        EXPECT_EQ(p.left[std::size_t(i)], 0.0f) << i;
    for (int i = 20; i < 28; ++i)
        EXPECT_EQ(p.left[std::size_t(i)], float(i)) << i;
}

TEST(AudioQueue, ALateFirstChunkStartsWithSilenceAndAnEarlyOneIsTrimmed) {
    AudioQueue late(2, 64, 2);
    ASSERT_EQ(late.push(ramp(4, 4), 4), AudioQueue::Push::accepted);
    const Popped p = popAll(late);
    EXPECT_EQ(p.left, (std::vector<float>{0, 0, 0, 0, 4, 5, 6, 7}));

    AudioQueue early(2, 64, 2);
    // Before the session's start: only what lies at or after clock zero is kept.
    ASSERT_EQ(early.push(ramp(-3, 5), -3), AudioQueue::Push::accepted);
    EXPECT_EQ(popAll(early).left, (std::vector<float>{0, 1}));
    EXPECT_EQ(early.push(ramp(-10, 4), -10), AudioQueue::Push::dropped);
}

TEST(AudioQueue, AFullRingRefusesWholeChunksAndTakesNothing) {
    AudioQueue q(2, 8, 2);
    ASSERT_EQ(q.push(ramp(0, 6), 0), AudioQueue::Push::accepted);
    EXPECT_EQ(q.push(ramp(6, 3), 6), AudioQueue::Push::full);
    EXPECT_EQ(q.endFrame(), 6);
    EXPECT_EQ(q.freeFrames(), 2u);
    std::vector<float> l(4), r(4);
    float* planes[2] = {l.data(), r.data()};
    EXPECT_EQ(q.pop(planes, 4), 4u);
    EXPECT_EQ(q.push(ramp(6, 3), 6), AudioQueue::Push::accepted);
    const Popped rest = popAll(q);
    EXPECT_EQ(rest.left, (std::vector<float>{4, 5, 6, 7, 8}));
}

TEST(AudioQueue, PushAndPopAllocateNothing) {
    AudioQueue q(2, 4096, 960);
    const auto chunk = ramp(0, 480);
    std::vector<float> l(1024), r(1024);
    float* planes[2] = {l.data(), r.data()};
    test::AllocationScope scope;
    std::int64_t at = 0;
    for (int i = 0; i < 200; ++i) {
        // Every tenth chunk comes 50 ms late, so gaps are in the mix.
        at += i % 10 == 9 ? 2400 : 0;
        ASSERT_EQ(q.push(chunk, at), AudioQueue::Push::accepted);
        at += 480;
        while (q.available() >= 1024)
            q.pop(planes, 1024);
    }
    EXPECT_EQ(scope.allocations(), 0u);
}
