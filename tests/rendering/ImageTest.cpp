#include "RenderingTestSupport.h"
#include "rendering/ImagePool.h"

#include <gtest/gtest.h>

#include <atomic>

namespace orvane {
namespace {

TEST(Image, aDroppedBufferIsReusedForTheNextImageOfItsSize) {
    { Image warm = Image::allocate(640, 360); }
    const std::size_t before = ImagePool::shared().statistics().buffersAllocated;
    for (int i = 0; i < 10; ++i) {
        Image frame = Image::allocate(640, 360);
        ASSERT_FALSE(frame.isNull());
        frame.fill(0xFF102030u);
    }
    EXPECT_EQ(ImagePool::shared().statistics().buffersAllocated, before);
}

TEST(Image, copiesSharePixelsUntilOneIsWritten) {
    Image a = test::flatSource(8, 8, 0xFFFF0000u);
    Image b = a;
    EXPECT_TRUE(a.isShared());
    EXPECT_EQ(a.constRow(0), b.constRow(0));
    b.row(3)[0] = 0x11;
    EXPECT_NE(a.constRow(0), b.constRow(0));
    EXPECT_EQ(a.pixel(0, 3), 0xFFFF0000u);
    EXPECT_NE(b.pixel(0, 3), 0xFFFF0000u);
    EXPECT_FALSE(a.isShared());
}

// Shrinking by two averages each 2x2 box, so a one-pixel checkerboard turns an even grey instead of
// aliasing into one of its colours; premultiplied alpha averages with it.
TEST(Image, resamplingDownAveragesBoxesAndKeepsThePlace) {
    Image checker = Image::allocate(64, 32);
    ASSERT_FALSE(checker.isNull());
    for (int y = 0; y < 32; ++y)
        for (int x = 0; x < 64; ++x)
            reinterpret_cast<std::uint32_t*>(checker.row(y))[x] = (x + y) % 2 ? 0xFFFFFFFFu : 0x00000000u;
    checker.setOrigin({10, 20});
    const Image half = checker.resampled(32, 16);
    ASSERT_EQ(half.width(), 32);
    ASSERT_EQ(half.height(), 16);
    EXPECT_EQ(half.origin().x, 10);
    EXPECT_EQ(half.origin().y, 20);
    for (const auto& [x, y] : {std::pair{0, 0}, {15, 7}, {31, 15}}) {
        const std::uint32_t p = half.pixel(x, y);
        for (const int shift : {0, 8, 16, 24})
            EXPECT_NEAR(int((p >> shift) & 0xFF), 128, 2) << x << "," << y << " channel " << shift;
    }
    EXPECT_TRUE(Image::cleared(8, 8, PixelFormat::gray8).resampled(4, 4).isNull());
    EXPECT_TRUE(checker.resampled(0, 4).isNull());
}

TEST(Image, aPixelViewKeepsItsPlaceInTheYUpExtent) {
    Image image = test::coordinateSource(100, 100);
    image.setOrigin({5, 7});
    const Image view = image.pixelView(10, 20, 30, 40);
    // Rows 20 to 59 from the top of a 100-row image are 40 to 79 from its bottom.
    EXPECT_EQ(view.extent(), (Rect{15, 47, 30, 40}));
    EXPECT_EQ(view.pixel(0, 0), image.pixel(10, 20));
    EXPECT_EQ(view.pixel(29, 39), image.pixel(39, 59));
    // Clipped to the image.
    const Image clipped = image.pixelView(90, -5, 30, 10);
    EXPECT_EQ(clipped.width(), 10);
    EXPECT_EQ(clipped.height(), 5);
}

TEST(Image, wrappedMemoryIsReleasedOnceWhenTheLastHandleGoes) {
    static std::atomic<int> released{0};
    released = 0;
    std::vector<std::uint8_t> memory(64 * 4 * 4, 0x7F);
    {
        Image wrapped = Image::wrap(
            memory.data(), 4, 4, 64, PixelFormat::bgra8Premultiplied, [](void*) { ++released; }, nullptr);
        Image copy = wrapped;
        Image view = copy.pixelView(1, 1, 2, 2);
        wrapped = Image();
        copy = Image();
        EXPECT_EQ(released, 0);
        EXPECT_EQ(view.pixel(0, 0), 0x7F7F7F7Fu);
    }
    EXPECT_EQ(released, 1);
}

TEST(Image, straightRgbaIsPremultipliedIntoBgraOrder) {
    const std::uint8_t rgba[8] = {200, 100, 50, 128, 10, 20, 30, 255};
    const Image image = Image::fromRgba(rgba, 2, 1, 8, false);
    const test::Rgba half = test::at(image, 0, 0);
    EXPECT_EQ(half.a, 128);
    EXPECT_NEAR(half.r, 100, 1);
    EXPECT_NEAR(half.g, 50, 1);
    EXPECT_NEAR(half.b, 25, 1);
    EXPECT_EQ(image.pixel(1, 0), 0xFF0A141Eu);
}

TEST(Image, convertsToAndFromQImageWithoutChange) {
    const Image source = test::coordinateSource(33, 17);
    const QImage q = source.toQImage();
    ASSERT_EQ(q.format(), QImage::Format_ARGB32_Premultiplied);
    EXPECT_EQ(q.pixel(32, 16), source.pixel(32, 16));
    const Image back = Image::fromQImage(q);
    for (int y = 0; y < 17; ++y)
        for (int x = 0; x < 33; ++x)
            ASSERT_EQ(back.pixel(x, y), source.pixel(x, y));
    EXPECT_TRUE(back.isOpaque());
}

TEST(Image, premultipliedColoursRoundEachChannel) {
    EXPECT_EQ(premultipliedArgb(1, 0.5, 0, 1), 0xFFFF8000u);
    EXPECT_EQ(premultipliedArgb(1, 1, 1, 0.5), 0x80808080u);
    EXPECT_EQ(premultipliedArgb(2, -1, 0.5, 2), 0xFFFF0080u);
}

} // namespace
} // namespace orvane
