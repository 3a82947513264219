#include "rendering/PixelKernels.h"

#include <gtest/gtest.h>

#include <random>
#include <vector>

namespace orvane {
namespace {

// Premultiplied pixels: no colour byte above its alpha, with runs of clear and opaque pixels mixed in so
// that the fast paths of the wide variants are taken too.
std::vector<std::uint8_t> premultipliedPixels(int n, std::mt19937& rng) {
    std::vector<std::uint8_t> p(std::size_t(n) * 4);
    std::uniform_int_distribution<int> byte(0, 255);
    for (int i = 0; i < n; ++i) {
        const int kind = (i / 8) % 4;
        const int a = kind == 0 ? 0 : kind == 1 ? 255 : byte(rng);
        for (int c = 0; c < 3; ++c)
            p[std::size_t(i) * 4 + c] = std::uint8_t(a == 0 ? 0 : byte(rng) % (a + 1));
        p[std::size_t(i) * 4 + 3] = std::uint8_t(a);
    }
    return p;
}

std::vector<std::uint8_t> bytes(std::size_t n, std::mt19937& rng) {
    std::vector<std::uint8_t> v(n);
    std::uniform_int_distribution<int> byte(0, 255);
    for (auto& b : v)
        b = std::uint8_t(byte(rng));
    return v;
}

TEST(PixelKernels, divideBy255RoundsExactlyOverTheProductRange) {
    for (std::uint32_t x = 0; x <= 255u * 255u; ++x)
        ASSERT_EQ(divideBy255(x), (x * 2 + 255) / 510) << x;
}

TEST(PixelKernels, darkenIsBlackSourceOver) {
    std::uint8_t pixel[8] = {200, 100, 50, 255, 40, 40, 40, 64};
    const std::uint8_t alpha[2] = {128, 128};
    pixelKernels().darken(pixel, alpha, 2);
    EXPECT_EQ(pixel[0], 100);
    EXPECT_EQ(pixel[3], 255);
    EXPECT_EQ(pixel[4], 20);
    EXPECT_EQ(pixel[7], 128 + 32);
}

TEST(PixelKernels, blendOverMatchesTheSourceOverFormula) {
    std::mt19937 rng(7);
    const int n = 300;
    const auto src = premultipliedPixels(n, rng);
    auto dst = premultipliedPixels(n, rng);
    const auto before = dst;
    scalarPixelKernels().blendOver(dst.data(), src.data(), n);
    for (std::size_t i = 0; i < dst.size(); ++i) {
        const double sa = src[i / 4 * 4 + 3] / 255.0;
        const double expected = src[i] + before[i] * (1 - sa);
        ASSERT_NEAR(dst[i], expected, 0.5 + 1e-9) << i;
    }
}

// Every wide variant must give the scalar reference's bytes, for any length, tails included.
class WideKernels : public ::testing::TestWithParam<int> {
protected:
    void SetUp() override {
        wide = avx2PixelKernels();
        if (!wide)
            GTEST_SKIP() << "this processor or build has no AVX2 kernels";
    }
    const PixelKernels& scalar = scalarPixelKernels();
    const PixelKernels* wide = nullptr;
};

TEST_P(WideKernels, agreeWithTheScalarReference) {
    const int n = GetParam();
    std::mt19937 rng(1234 + n);
    const auto src = premultipliedPixels(n, rng);
    const auto dst = premultipliedPixels(n, rng);
    const auto coverage = bytes(std::size_t(n), rng);

    auto a = dst, b = dst;
    scalar.blendOver(a.data(), src.data(), n);
    wide->blendOver(b.data(), src.data(), n);
    EXPECT_EQ(a, b) << "blendOver";

    a = dst, b = dst;
    scalar.blendOverCoverage(a.data(), src.data(), coverage.data(), n);
    wide->blendOverCoverage(b.data(), src.data(), coverage.data(), n);
    EXPECT_EQ(a, b) << "blendOverCoverage";

    a = dst, b = dst;
    scalar.darken(a.data(), coverage.data(), n);
    wide->darken(b.data(), coverage.data(), n);
    EXPECT_EQ(a, b) << "darken";

    for (int f : {0, 1, 77, 128, 255, 256}) {
        std::vector<std::uint16_t> r1(std::size_t(n) * 4), r2(std::size_t(n) * 4);
        scalar.lerpRows(src.data(), dst.data(), r1.data(), n * 4, f);
        wide->lerpRows(src.data(), dst.data(), r2.data(), n * 4, f);
        EXPECT_EQ(r1, r2) << "lerpRows f=" << f;
    }

    // Columns gather pairs from a 15-bit row; the pixel after the last index must exist.
    std::vector<std::uint16_t> row(std::size_t(n + 2) * 4);
    scalar.lerpRows(src.data(), src.data(), row.data(), n * 4, 0);
    const std::size_t count = std::size_t(n);
    std::vector<std::int32_t> index(count);
    std::vector<std::int16_t> weight(count);
    std::uniform_int_distribution<int> pick(0, std::max(0, n - 1));
    std::uniform_int_distribution<int> w(0, 256);
    for (int j = 0; j < n; ++j) {
        index[std::size_t(j)] = pick(rng);
        weight[std::size_t(j)] = std::int16_t(w(rng));
    }
    std::vector<std::uint8_t> c1(std::size_t(n) * 4), c2(std::size_t(n) * 4);
    scalar.lerpColumns(row.data(), index.data(), weight.data(), c1.data(), n);
    wide->lerpColumns(row.data(), index.data(), weight.data(), c2.data(), n);
    EXPECT_EQ(c1, c2) << "lerpColumns";

    std::vector<std::uint8_t> h1(std::size_t(n) * 4), h2(std::size_t(n) * 4);
    const auto row0 = premultipliedPixels(2 * n, rng);
    const auto row1 = premultipliedPixels(2 * n, rng);
    scalar.halve(row0.data(), row1.data(), h1.data(), n);
    wide->halve(row0.data(), row1.data(), h2.data(), n);
    EXPECT_EQ(h1, h2) << "halve";
}

INSTANTIATE_TEST_SUITE_P(Lengths, WideKernels,
                         ::testing::Values(0, 1, 3, 4, 7, 8, 9, 15, 16, 17, 33, 250, 1921));

TEST(PixelKernels, lerpColumnsRoundsTheTwoHalvesOfABilinearStep) {
    // Two pixels, 100 and 200 in every channel, mixed at weights 0, 64, 128, 256 on the second.
    const std::uint8_t a[8] = {100, 100, 100, 100, 200, 200, 200, 200};
    std::uint16_t row[12];
    scalarPixelKernels().lerpRows(a, a, row, 8, 0);
    row[8] = row[4], row[9] = row[5], row[10] = row[6], row[11] = row[7];
    const std::int32_t index[4] = {0, 0, 0, 0};
    const std::int16_t weight[4] = {0, 64, 128, 256};
    std::uint8_t out[16];
    pixelKernels().lerpColumns(row, index, weight, out, 4);
    EXPECT_EQ(out[0], 100);
    EXPECT_EQ(out[4], 125);
    EXPECT_EQ(out[8], 150);
    EXPECT_EQ(out[12], 200);
}

} // namespace
} // namespace orvane
