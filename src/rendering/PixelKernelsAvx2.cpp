// Built with -mavx2 and reached only through the table after a processor check. Nothing from a shared
// header is instantiated here, so no AVX2 copy of an inline function can leak into the rest of the build.
#include "PixelKernels.h"

#if ORVANE_HAVE_AVX2_KERNELS

#include <immintrin.h>

namespace orvane {

namespace {

// A private copy of divideBy255: using the header's inline one here could hand the linker an AVX2 body
// of it for the whole program.
inline std::uint32_t divide255(std::uint32_t x) {
    x += 128;
    return (x + (x >> 8)) >> 8;
}

// Rounded x / 255 for 16-bit lanes holding at most 255 * 255.
inline __m256i divideBy255x16(__m256i x) {
    x = _mm256_add_epi16(x, _mm256_set1_epi16(128));
    return _mm256_srli_epi16(_mm256_add_epi16(x, _mm256_srli_epi16(x, 8)), 8);
}

// dst * inverse / 255 per byte, for 8 pixels.
inline __m256i scaleBytes(__m256i d, __m256i inverse) {
    const __m256i zero = _mm256_setzero_si256();
    const __m256i lo = divideBy255x16(
        _mm256_mullo_epi16(_mm256_unpacklo_epi8(d, zero), _mm256_unpacklo_epi8(inverse, zero)));
    const __m256i hi = divideBy255x16(
        _mm256_mullo_epi16(_mm256_unpackhi_epi8(d, zero), _mm256_unpackhi_epi8(inverse, zero)));
    return _mm256_packus_epi16(lo, hi);
}

inline __m256i broadcastAlpha(__m256i s) {
    const __m256i spread = _mm256_setr_epi8(3, 3, 3, 3, 7, 7, 7, 7, 11, 11, 11, 11, 15, 15, 15, 15, 3, 3, 3,
                                            3, 7, 7, 7, 7, 11, 11, 11, 11, 15, 15, 15, 15);
    return _mm256_shuffle_epi8(s, spread);
}

void lerpRowsAvx2(const std::uint8_t* a, const std::uint8_t* b, std::uint16_t* out, int bytes, int f) {
    const __m256i wf = _mm256_set1_epi16(short(f));
    const __m256i wg = _mm256_set1_epi16(short(256 - f));
    int i = 0;
    for (; i + 16 <= bytes; i += 16) {
        const __m256i va = _mm256_cvtepu8_epi16(_mm_loadu_si128(reinterpret_cast<const __m128i*>(a + i)));
        const __m256i vb = _mm256_cvtepu8_epi16(_mm_loadu_si128(reinterpret_cast<const __m128i*>(b + i)));
        const __m256i sum = _mm256_add_epi16(_mm256_mullo_epi16(va, wg), _mm256_mullo_epi16(vb, wf));
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(out + i), _mm256_srli_epi16(sum, 1));
    }
    const int g = 256 - f;
    for (; i < bytes; ++i)
        out[i] = std::uint16_t((a[i] * g + b[i] * f) >> 1);
}

inline __m128i lerpPixel(const std::uint16_t* in, std::int32_t index, std::int16_t weight) {
    const __m128i pairUp = _mm_setr_epi8(0, 1, 8, 9, 2, 3, 10, 11, 4, 5, 12, 13, 6, 7, 14, 15);
    const __m128i v =
        _mm_shuffle_epi8(_mm_loadu_si128(reinterpret_cast<const __m128i*>(in + 4 * index)), pairUp);
    const __m128i w = _mm_set1_epi32((int(weight) << 16) | (256 - int(weight)));
    const __m128i r = _mm_add_epi32(_mm_madd_epi16(v, w), _mm_set1_epi32(1 << 14));
    return _mm_srai_epi32(r, 15);
}

void lerpColumnsAvx2(const std::uint16_t* in, const std::int32_t* index, const std::int16_t* weight,
                     std::uint8_t* out, int n) {
    int j = 0;
    for (; j + 4 <= n; j += 4) {
        const __m128i p0 = lerpPixel(in, index[j], weight[j]);
        const __m128i p1 = lerpPixel(in, index[j + 1], weight[j + 1]);
        const __m128i p2 = lerpPixel(in, index[j + 2], weight[j + 2]);
        const __m128i p3 = lerpPixel(in, index[j + 3], weight[j + 3]);
        const __m128i packed = _mm_packus_epi16(_mm_packs_epi32(p0, p1), _mm_packs_epi32(p2, p3));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(out + 4 * j), packed);
    }
    for (; j < n; ++j) {
        const __m128i p = lerpPixel(in, index[j], weight[j]);
        const __m128i packed = _mm_packus_epi16(_mm_packs_epi32(p, p), _mm_setzero_si128());
        const int v = _mm_cvtsi128_si32(packed);
        __builtin_memcpy(out + 4 * j, &v, 4);
    }
}

void blendOverAvx2(std::uint8_t* dst, const std::uint8_t* src, int n) {
    const __m256i alphaBits = _mm256_set1_epi32(int(0xFF000000u));
    const __m256i all = _mm256_set1_epi8(char(0xFF));
    int i = 0;
    for (; i + 8 <= n; i += 8) {
        const __m256i s = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(src + 4 * i));
        const __m256i sa = _mm256_and_si256(s, alphaBits);
        if (_mm256_testz_si256(sa, sa))
            continue; // premultiplied, so an all-transparent run is all zero
        __m256i* d = reinterpret_cast<__m256i*>(dst + 4 * i);
        if (_mm256_movemask_epi8(_mm256_cmpeq_epi32(sa, alphaBits)) == -1) {
            _mm256_storeu_si256(d, s);
            continue;
        }
        const __m256i inverse = _mm256_sub_epi8(all, broadcastAlpha(s));
        const __m256i scaled = scaleBytes(_mm256_loadu_si256(d), inverse);
        _mm256_storeu_si256(d, _mm256_adds_epu8(scaled, s));
    }
    for (; i < n; ++i) {
        const std::uint8_t* s = src + 4 * i;
        std::uint8_t* d = dst + 4 * i;
        const std::uint32_t inverse = 255u - s[3];
        if (inverse == 255)
            continue;
        for (int c = 0; c < 4; ++c)
            d[c] = std::uint8_t(s[c] + divide255(d[c] * inverse));
    }
}

inline __m256i spreadBytes(const std::uint8_t* bytes8) {
    const __m256i v = _mm256_cvtepu8_epi32(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(bytes8)));
    return _mm256_mullo_epi32(v, _mm256_set1_epi32(0x01010101));
}

void blendOverCoverageAvx2(std::uint8_t* dst, const std::uint8_t* src, const std::uint8_t* coverage, int n) {
    const __m256i all = _mm256_set1_epi8(char(0xFF));
    int i = 0;
    for (; i + 8 <= n; i += 8) {
        const __m256i k = spreadBytes(coverage + i);
        if (_mm256_testz_si256(k, k))
            continue;
        const __m256i s = scaleBytes(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(src + 4 * i)), k);
        __m256i* d = reinterpret_cast<__m256i*>(dst + 4 * i);
        const __m256i inverse = _mm256_sub_epi8(all, broadcastAlpha(s));
        _mm256_storeu_si256(d, _mm256_adds_epu8(scaleBytes(_mm256_loadu_si256(d), inverse), s));
    }
    for (; i < n; ++i) {
        const std::uint32_t k = coverage[i];
        if (k == 0)
            continue;
        std::uint8_t s[4];
        for (int c = 0; c < 4; ++c)
            s[c] = std::uint8_t(divide255(src[4 * i + c] * k));
        const std::uint32_t inverse = 255u - s[3];
        for (int c = 0; c < 4; ++c)
            dst[4 * i + c] = std::uint8_t(s[c] + divide255(dst[4 * i + c] * inverse));
    }
}

void darkenAvx2(std::uint8_t* dst, const std::uint8_t* alpha, int n) {
    const __m256i all = _mm256_set1_epi8(char(0xFF));
    const __m256i alphaBytes = _mm256_set1_epi32(int(0xFF000000u));
    int i = 0;
    for (; i + 8 <= n; i += 8) {
        const __m256i a = spreadBytes(alpha + i);
        if (_mm256_testz_si256(a, a))
            continue;
        __m256i* d = reinterpret_cast<__m256i*>(dst + 4 * i);
        // Source-over of (0, 0, 0, a): every byte scales by 255 - a, and a adds to the alpha byte.
        const __m256i scaled = scaleBytes(_mm256_loadu_si256(d), _mm256_sub_epi8(all, a));
        _mm256_storeu_si256(d, _mm256_adds_epu8(scaled, _mm256_and_si256(a, alphaBytes)));
    }
    for (; i < n; ++i) {
        const std::uint32_t inverse = 255u - alpha[i];
        if (inverse == 255)
            continue;
        for (int c = 0; c < 3; ++c)
            dst[4 * i + c] = std::uint8_t(divide255(dst[4 * i + c] * inverse));
        dst[4 * i + 3] = std::uint8_t(alpha[i] + divide255(dst[4 * i + 3] * inverse));
    }
}

inline __m128i halveFour(const std::uint8_t* row0, const std::uint8_t* row1) {
    const __m128i a0 = _mm_loadu_si128(reinterpret_cast<const __m128i*>(row0));
    const __m128i a1 = _mm_loadu_si128(reinterpret_cast<const __m128i*>(row0 + 16));
    const __m128i b0 = _mm_loadu_si128(reinterpret_cast<const __m128i*>(row1));
    const __m128i b1 = _mm_loadu_si128(reinterpret_cast<const __m128i*>(row1 + 16));
    // Column sums of pixel pairs 0-1, 2-3, 4-5, 6-7, as 16-bit lanes.
    const __m128i s01 = _mm_add_epi16(_mm_cvtepu8_epi16(a0), _mm_cvtepu8_epi16(b0));
    const __m128i s23 =
        _mm_add_epi16(_mm_cvtepu8_epi16(_mm_srli_si128(a0, 8)), _mm_cvtepu8_epi16(_mm_srli_si128(b0, 8)));
    const __m128i s45 = _mm_add_epi16(_mm_cvtepu8_epi16(a1), _mm_cvtepu8_epi16(b1));
    const __m128i s67 =
        _mm_add_epi16(_mm_cvtepu8_epi16(_mm_srli_si128(a1, 8)), _mm_cvtepu8_epi16(_mm_srli_si128(b1, 8)));
    const __m128i two = _mm_set1_epi16(2);
    const __m128i h0 = _mm_srli_epi16(
        _mm_add_epi16(_mm_add_epi16(_mm_unpacklo_epi64(s01, s23), _mm_unpackhi_epi64(s01, s23)), two), 2);
    const __m128i h1 = _mm_srli_epi16(
        _mm_add_epi16(_mm_add_epi16(_mm_unpacklo_epi64(s45, s67), _mm_unpackhi_epi64(s45, s67)), two), 2);
    return _mm_packus_epi16(h0, h1);
}

void halveAvx2(const std::uint8_t* row0, const std::uint8_t* row1, std::uint8_t* out, int n) {
    int i = 0;
    for (; i + 4 <= n; i += 4)
        _mm_storeu_si128(reinterpret_cast<__m128i*>(out + 4 * i), halveFour(row0 + 8 * i, row1 + 8 * i));
    for (; i < n; ++i)
        for (int c = 0; c < 4; ++c)
            out[4 * i + c] = std::uint8_t(
                (row0[8 * i + c] + row0[8 * i + c + 4] + row1[8 * i + c] + row1[8 * i + c + 4] + 2) >> 2);
}

const PixelKernels table{"avx2",     lerpRowsAvx2, lerpColumnsAvx2, blendOverAvx2, blendOverCoverageAvx2,
                         darkenAvx2, halveAvx2};

} // namespace

namespace detail {
const PixelKernels& avx2KernelTable() {
    return table;
}
} // namespace detail

} // namespace orvane

#endif
