#include "media/FramePool.h"

#include "common/AllocationCounter.h"
#include "media/PixelConversion.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <thread>
#include <vector>

using namespace orvane;

TEST(VideoFrame, RowsAreAlignedAndStrideCoversTheWidth) {
    for (int width : {1, 15, 16, 17, 1279, 1280, 1920, 4096}) {
        VideoFrame frame = VideoFrame::allocate(width, 3);
        ASSERT_FALSE(frame.isNull());
        EXPECT_EQ(frame.stride() % VideoFrame::rowAlignment, 0) << width;
        EXPECT_GE(frame.stride(), width * 4) << width;
        EXPECT_LT(frame.stride(), width * 4 + VideoFrame::rowAlignment) << width;
        for (int y = 0; y < 3; ++y)
            EXPECT_EQ(reinterpret_cast<std::uintptr_t>(frame.row(y)) % VideoFrame::rowAlignment, 0u);
    }
    EXPECT_TRUE(VideoFrame::allocate(0, 10).isNull());
}

TEST(VideoFrame, CopiesSharePixelsButNotTimes) {
    VideoFrame a = VideoFrame::allocate(4, 4);
    a.fill(1, 2, 3, 255);
    a.setTime({30, 600});
    VideoFrame b = a;
    EXPECT_EQ(b.data(), a.data());
    EXPECT_FALSE(a.isUnique());
    b.setTime({60, 600});
    EXPECT_EQ(a.time(), (MediaTime{30, 600}));
    EXPECT_EQ(b.pixel(3, 3), 0xff030201u);
    b = VideoFrame();
    EXPECT_TRUE(a.isUnique());
    VideoFrame moved = std::move(a);
    EXPECT_TRUE(a.isNull());
    EXPECT_TRUE(moved.isUnique());
}

TEST(FramePool, RecyclesBuffersWithoutAllocatingInSteadyState) {
    FramePool pool(640, 360);
    pool.reserve(2);
    EXPECT_EQ(pool.allocatedCount(), 2u);
    const std::uint8_t* first = nullptr;
    {
        VideoFrame f = pool.acquire();
        first = f.data();
        EXPECT_EQ(pool.outstandingCount(), 1u);
    }
    EXPECT_EQ(pool.outstandingCount(), 0u);

    test::AllocationScope scope;
    for (int i = 0; i < 100; ++i) {
        VideoFrame a = pool.acquire();
        VideoFrame b = pool.acquire();
        VideoFrame c = a; // a copied handle keeps the buffer out until both go
        a = VideoFrame();
        EXPECT_FALSE(c.isNull());
        EXPECT_NE(b.data(), c.data());
    }
    EXPECT_EQ(scope.allocations(), 0u);
    EXPECT_EQ(pool.allocatedCount(), 2u);
    VideoFrame again = pool.acquire();
    VideoFrame other = pool.acquire();
    EXPECT_TRUE(again.data() == first || other.data() == first);
}

TEST(FramePool, RefusesBeyondItsLimitUntilAFrameComesBack) {
    FramePool pool(8, 8, 2);
    VideoFrame a = pool.acquire();
    VideoFrame b = pool.acquire();
    EXPECT_TRUE(pool.acquire().isNull());
    a = VideoFrame();
    EXPECT_FALSE(pool.acquire().isNull());
    EXPECT_EQ(pool.allocatedCount(), 2u);

    // A timed acquire waits for a frame that comes home from another thread, and gives up after its time
    // when none does.
    VideoFrame held = pool.acquire();
    ASSERT_FALSE(held.isNull());
    const auto started = std::chrono::steady_clock::now();
    EXPECT_TRUE(pool.acquire(std::chrono::milliseconds(40)).isNull());
    EXPECT_GE(std::chrono::steady_clock::now() - started, std::chrono::milliseconds(40));
    std::thread giver([&held] {
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        held = VideoFrame();
    });
    const VideoFrame waited = pool.acquire(std::chrono::seconds(10));
    giver.join();
    EXPECT_FALSE(waited.isNull());
    EXPECT_LT(std::chrono::steady_clock::now() - started, std::chrono::seconds(5)) << "woken by the return";
    EXPECT_EQ(pool.allocatedCount(), 2u);
}

TEST(FramePool, FramesOutliveThePoolAndReturnFromOtherThreads) {
    std::vector<VideoFrame> frames;
    {
        FramePool pool(32, 32, 8);
        for (int i = 0; i < 8; ++i)
            frames.push_back(pool.acquire());
        std::thread t([moved = std::move(frames)]() mutable {
            for (auto& f : moved)
                f.fill(9, 9, 9, 255);
            moved.clear();
        });
        t.join();
        EXPECT_EQ(pool.outstandingCount(), 0u);
        frames.push_back(pool.acquire());
        frames.push_back(pool.acquire());
    }
    // The pool is gone; these two free their buffers on their own (ASan would see a leak or a double free).
    frames[0].fill(1, 1, 1, 1);
    frames.clear();
}

TEST(FramePool, ConcurrentAcquireAndReleaseKeepsEveryBufferExclusive) {
    FramePool pool(16, 16, 6);
    std::atomic<int> clashes = 0;
    auto worker = [&](std::uint8_t tag) {
        for (int i = 0; i < 2000; ++i) {
            VideoFrame f = pool.acquire();
            if (f.isNull())
                continue;
            f.fill(tag, tag, tag, tag);
            std::this_thread::yield();
            if (f.pixel(15, 15) != (std::uint32_t(tag) * 0x01010101u))
                ++clashes;
        }
    };
    std::thread a(worker, 1), b(worker, 2), c(worker, 3);
    a.join();
    b.join();
    c.join();
    EXPECT_EQ(clashes.load(), 0);
    EXPECT_LE(pool.allocatedCount(), 6u);
}

TEST(PixelConversion, BgraToI420AndBackKeepsColours) {
    // Opaque colours survive the limited-range BT.601 round trip within rounding.
    const std::uint8_t colours[][3] = {
        {0, 0, 0}, {255, 255, 255}, {200, 30, 90}, {20, 180, 60}, {114, 71, 216}};
    for (const auto& c : colours) {
        VideoFrame src = VideoFrame::allocate(64, 32);
        src.fill(c[2], c[1], c[0], 255);
        std::vector<std::uint8_t> y(64 * 32), u(32 * 16), v(32 * 16);
        convertBgraToI420(src, y.data(), 64, u.data(), 32, v.data(), 32);
        PlanarPicture p;
        p.format = PlanarFormat::i420;
        p.width = 64;
        p.height = 32;
        p.planes[0] = y.data();
        p.planes[1] = u.data();
        p.planes[2] = v.data();
        p.strides[0] = 64;
        p.strides[1] = p.strides[2] = 32;
        p.matrix = YuvMatrix::bt601;
        VideoFrame back = VideoFrame::allocate(64, 32);
        ASSERT_TRUE(convertToBgra(p, back));
        const std::uint32_t px = back.pixel(10, 10);
        EXPECT_NEAR(int((px >> 16) & 0xff), c[0], 3);
        EXPECT_NEAR(int((px >> 8) & 0xff), c[1], 3);
        EXPECT_NEAR(int(px & 0xff), c[2], 3);
        EXPECT_EQ(px >> 24, 255u);
    }
}

TEST(PixelConversion, RefusesAFrameOfAnotherSize) {
    std::vector<std::uint8_t> plane(16 * 16, 128);
    PlanarPicture p;
    p.width = p.height = 16;
    p.planes[0] = p.planes[1] = p.planes[2] = plane.data();
    p.strides[0] = p.strides[1] = p.strides[2] = 16;
    VideoFrame wrong = VideoFrame::allocate(8, 16);
    EXPECT_FALSE(convertToBgra(p, wrong));
}
