#include "PixelKernels.h"

namespace orvane {

namespace {

void lerpRowsScalar(const std::uint8_t* a, const std::uint8_t* b, std::uint16_t* out, int bytes, int f) {
    const int g = 256 - f;
    for (int i = 0; i < bytes; ++i)
        out[i] = std::uint16_t((a[i] * g + b[i] * f) >> 1);
}

void lerpColumnsScalar(const std::uint16_t* in, const std::int32_t* index, const std::int16_t* weight,
                       std::uint8_t* out, int n) {
    for (int j = 0; j < n; ++j) {
        const std::uint16_t* p = in + 4 * std::ptrdiff_t(index[j]);
        const int w = weight[j];
        const int v = 256 - w;
        for (int c = 0; c < 4; ++c)
            out[4 * j + c] = std::uint8_t((p[c] * v + p[c + 4] * w + (1 << 14)) >> 15);
    }
}

void blendOverScalar(std::uint8_t* dst, const std::uint8_t* src, int n) {
    for (int i = 0; i < n; ++i, dst += 4, src += 4) {
        const std::uint32_t inverse = 255u - src[3];
        if (inverse == 255)
            continue;
        for (int c = 0; c < 4; ++c)
            dst[c] = std::uint8_t(src[c] + divideBy255(dst[c] * inverse));
    }
}

void blendOverCoverageScalar(std::uint8_t* dst, const std::uint8_t* src, const std::uint8_t* coverage,
                             int n) {
    for (int i = 0; i < n; ++i, dst += 4, src += 4) {
        const std::uint32_t k = coverage[i];
        if (k == 0)
            continue;
        std::uint8_t s[4];
        for (int c = 0; c < 4; ++c)
            s[c] = std::uint8_t(divideBy255(src[c] * k));
        const std::uint32_t inverse = 255u - s[3];
        for (int c = 0; c < 4; ++c)
            dst[c] = std::uint8_t(s[c] + divideBy255(dst[c] * inverse));
    }
}

void darkenScalar(std::uint8_t* dst, const std::uint8_t* alpha, int n) {
    for (int i = 0; i < n; ++i, dst += 4) {
        const std::uint32_t inverse = 255u - alpha[i];
        if (inverse == 255)
            continue;
        for (int c = 0; c < 3; ++c)
            dst[c] = std::uint8_t(divideBy255(dst[c] * inverse));
        dst[3] = std::uint8_t(alpha[i] + divideBy255(dst[3] * inverse));
    }
}

void halveScalar(const std::uint8_t* row0, const std::uint8_t* row1, std::uint8_t* out, int n) {
    for (int i = 0; i < n; ++i, row0 += 8, row1 += 8, out += 4)
        for (int c = 0; c < 4; ++c)
            out[c] = std::uint8_t((row0[c] + row0[c + 4] + row1[c] + row1[c + 4] + 2) >> 2);
}

const PixelKernels scalarTable{"scalar",        lerpRowsScalar,          lerpColumnsScalar,
                               blendOverScalar, blendOverCoverageScalar, darkenScalar,
                               halveScalar};

} // namespace

#if ORVANE_HAVE_AVX2_KERNELS
namespace detail {
// Defined in PixelKernelsAvx2.cpp, the one file built for AVX2.
const PixelKernels& avx2KernelTable();
} // namespace detail
#endif

const PixelKernels& scalarPixelKernels() {
    return scalarTable;
}

const PixelKernels* avx2PixelKernels() {
#if ORVANE_HAVE_AVX2_KERNELS
    static const bool supported = __builtin_cpu_supports("avx2");
    return supported ? &detail::avx2KernelTable() : nullptr;
#else
    return nullptr;
#endif
}

const PixelKernels& pixelKernels() {
    static const PixelKernels& chosen = avx2PixelKernels() ? *avx2PixelKernels() : scalarTable;
    return chosen;
}

} // namespace orvane
