#include "Resampler.h"

#include "PixelKernels.h"

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstring>

namespace orvane {

namespace {

double overlap(double a0, double a1, double b0, double b1) {
    return std::max(0.0, std::min(a1, b1) - std::max(a0, b0));
}

std::uint8_t toByte(double unit) {
    return std::uint8_t(std::lround(std::clamp(unit, 0.0, 1.0) * 255.0));
}

// Splits a coordinate into a whole part and a 1/256 fraction, carrying a fraction that rounds to 256.
void splitFraction(double value, int& whole, int& fraction) {
    const double f = std::floor(value);
    whole = int(f);
    fraction = int(std::lround((value - f) * 256.0));
    if (fraction == 256) {
        ++whole;
        fraction = 0;
    }
}

} // namespace

int Resampler::levelFor(double scale) {
    int level = 0;
    while (level + 1 < maxLevels && scale * double(1 << level) < 0.5)
        ++level;
    return level;
}

void Resampler::buildAxis(Axis& axis, int outBegin, int outEnd, double outOrigin, double inOrigin,
                          double inPerOut, int levelSize) const {
    const int n = outEnd - outBegin;
    axis.index.resize(std::size_t(n));
    axis.weight.resize(std::size_t(n));
    int lo = INT_MAX;
    int hi = INT_MIN;
    for (int k = 0; k < n; ++k) {
        const double u = inOrigin + (outBegin + k + 0.5 - outOrigin) * inPerOut - 0.5;
        int i = 0;
        int w = 0;
        splitFraction(u, i, w);
        if (i < 0) {
            i = 0;
            w = 0;
        } else if (i >= levelSize - 1) {
            i = levelSize - 1;
            w = 0;
        }
        axis.index[std::size_t(k)] = i;
        axis.weight[std::size_t(k)] = std::int16_t(w);
        lo = std::min(lo, i);
        hi = std::max(hi, i);
    }
    axis.first = lo;
    // The pixel after the last index is read even at weight 0; past the level's edge it is a copy.
    axis.count = std::min(hi + 1, levelSize - 1) - lo + 1;
    for (auto& i : axis.index)
        i -= lo;
}

const Image& Resampler::prepareLevels(const Image& src, int level, int x0, int y0, int x1, int y1) {
    m_levelView = src.pixelView(x0, y0, x1 - x0, y1 - y0);
    const PixelKernels& kernels = pixelKernels();
    for (int l = 1; l <= level; ++l) {
        // Storage for the whole source at this level, kept across calls: a moving region reuses it.
        Image& storage = m_levelStorage[std::size_t(l)];
        const int fullW = src.width() >> l;
        const int fullH = src.height() >> l;
        if (storage.width() != fullW || storage.height() != fullH)
            storage = Image::allocate(fullW, fullH);
        if (storage.isNull())
            return m_levelView;
        const int w = m_levelView.width() / 2;
        const int h = m_levelView.height() / 2;
        // Written through the storage itself: a view would share its buffer and detach on the first write.
        for (int y = 0; y < h; ++y)
            kernels.halve(m_levelView.constRow(2 * y), m_levelView.constRow(2 * y + 1), storage.row(y), w);
        m_levelView = storage.pixelView(0, 0, w, h);
    }
    return m_levelView;
}

int Resampler::coverageRow(int row, int j0, int j1, const Rect& d, const MaskPlacement& mask,
                           int& interiorBegin, int& interiorEnd) {
    const int n = j1 - j0;
    m_coverage.resize(std::size_t(n));
    std::uint8_t* cov = m_coverage.data();
    if (!mask.mask) {
        const double rowCover = overlap(row, row + 1.0, d.minY(), d.maxY());
        if (rowCover >= 1.0) {
            std::memcpy(cov, m_columnCoverage.data(), std::size_t(n));
            return 1;
        }
        const std::uint32_t r = toByte(rowCover);
        for (int k = 0; k < n; ++k)
            cov[k] = std::uint8_t(divideBy255(m_columnCoverage[std::size_t(k)] * r));
        interiorBegin = interiorEnd = j0;
        return r > 0 ? 1 : 0;
    }

    const CoverageMask& m = *mask.mask;
    int k0 = 0;
    int fy = 0;
    splitFraction(row - mask.top, k0, fy);
    int ft = 0;
    int fx = 0;
    splitFraction(-mask.left, ft, fx);

    // Columns whose four mask samples are all 255.
    CoverageMask::Run run = m.opaqueRun(k0);
    if (fy > 0) {
        const CoverageMask::Run below = m.opaqueRun(k0 + 1);
        run = {std::max(run.begin, below.begin), std::min(run.end, below.end)};
    }
    const int lastOpaqueColumn = run.end - (fx > 0 ? 1 : 0); // exclusive
    interiorBegin = std::clamp(run.begin - ft, j0, j1);
    interiorEnd = std::clamp(lastOpaqueColumn - ft, interiorBegin, j1);

    const Image& img = m.image();
    const auto sample = [&](int y, int x) -> std::uint32_t {
        return (y < 0 || y >= img.height() || x < 0 || x >= img.width()) ? 0u : img.constRow(y)[x];
    };
    const std::uint32_t wy1 = std::uint32_t(fy);
    const std::uint32_t wy0 = 256u - wy1;
    const std::uint32_t wx1 = std::uint32_t(fx);
    const std::uint32_t wx0 = 256u - wx1;
    bool any = interiorEnd > interiorBegin;
    for (int j = j0; j < j1; ++j) {
        if (j == interiorBegin && interiorEnd > interiorBegin) {
            j = interiorEnd - 1;
            continue;
        }
        const int c = j + ft;
        const std::uint32_t top = sample(k0, c) * wx0 + sample(k0, c + 1) * wx1;
        const std::uint32_t bottom = sample(k0 + 1, c) * wx0 + sample(k0 + 1, c + 1) * wx1;
        const std::uint32_t v = (top * wy0 + bottom * wy1 + (1u << 15)) >> 16;
        cov[j - j0] = std::uint8_t(v);
        any = any || v > 0;
    }
    return any ? 1 : 0;
}

void Resampler::draw(Image& dst, const Image& src, const Rect& srcRect, const Rect& dstRect,
                     const MaskPlacement& mask) {
    if (dst.isNull() || src.isNull() || dst.format() != PixelFormat::bgra8Premultiplied ||
        src.format() != PixelFormat::bgra8Premultiplied)
        return;
    if (!(srcRect.width > 0 && srcRect.height > 0 && dstRect.width > 0 && dstRect.height > 0))
        return;
    const double sx = dstRect.width / srcRect.width;
    const double sy = dstRect.height / srcRect.height;

    // The part of the source rectangle that exists, and where it lands.
    const double cx0 = std::max(srcRect.minX(), 0.0);
    const double cy0 = std::max(srcRect.minY(), 0.0);
    const double cx1 = std::min(srcRect.maxX(), double(src.width()));
    const double cy1 = std::min(srcRect.maxY(), double(src.height()));
    if (cx1 <= cx0 || cy1 <= cy0)
        return;
    const Rect s{cx0, cy0, cx1 - cx0, cy1 - cy0};
    const Rect d{dstRect.x + (s.x - srcRect.x) * sx, dstRect.y + (s.y - srcRect.y) * sy, s.width * sx,
                 s.height * sy};

    int j0 = std::max(0, int(std::floor(d.minX())));
    int j1 = std::min(dst.width(), int(std::ceil(d.maxX())));
    int r0 = std::max(0, int(std::floor(d.minY())));
    int r1 = std::min(dst.height(), int(std::ceil(d.maxY())));
    if (mask.mask) {
        if (mask.mask->isNull())
            return;
        j0 = std::max(j0, int(std::floor(mask.left)));
        j1 = std::min(j1, int(std::ceil(mask.left + mask.mask->width())));
        r0 = std::max(r0, int(std::floor(mask.top)));
        r1 = std::min(r1, int(std::ceil(mask.top + mask.mask->height())));
    }
    if (j0 >= j1 || r0 >= r1)
        return;

    // The source region sampling reaches, a level pixel of margin around s, in whole level pixels.
    int level = std::min(levelFor(sx), levelFor(sy));
    int x0 = 0, x1 = 0, y0 = 0, y1 = 0;
    for (;; --level) {
        const int step = 1 << level;
        x0 = std::max(0, int(std::floor(s.minX())) - step) / step * step;
        y0 = std::max(0, int(std::floor(s.minY())) - step) / step * step;
        x1 = std::min(src.width(), int(std::ceil(s.maxX())) + step);
        y1 = std::min(src.height(), int(std::ceil(s.maxY())) + step);
        x1 = x0 + (x1 - x0) / step * step;
        y1 = y0 + (y1 - y0) / step * step;
        if (level == 0 || (x1 > x0 && y1 > y0))
            break;
    }
    const double step = double(1 << level);
    const Image& lv = prepareLevels(src, level, x0, y0, x1, y1);
    if (lv.isNull())
        return;

    buildAxis(m_columns, j0, j1, d.minX(), (s.minX() - x0) / step, s.width / d.width / step, lv.width());
    buildAxis(m_rows, r0, r1, d.minY(), (s.minY() - y0) / step, s.height / d.height / step, lv.height());

    const int n = j1 - j0;
    int interiorBegin = j0;
    int interiorEnd = j0;
    if (!mask.mask) {
        // Columns fully inside d form one run; the rows decide the rest.
        m_columnCoverage.resize(std::size_t(n));
        bool inRun = false;
        for (int j = j0; j < j1; ++j) {
            const double c = overlap(j, j + 1.0, d.minX(), d.maxX());
            m_columnCoverage[std::size_t(j - j0)] = toByte(c);
            if (c >= 1.0 && !inRun) {
                interiorBegin = j;
                inRun = true;
            }
            if (c >= 1.0)
                interiorEnd = j + 1;
        }
    }

    const PixelKernels& kernels = pixelKernels();
    m_lerped.resize(std::size_t(m_columns.count + 1) * 4);
    m_pixels.resize(std::size_t(n) * 4);
    const bool write = src.isOpaque();
    for (int r = r0; r < r1; ++r) {
        int begin = interiorBegin;
        int end = interiorEnd;
        if (!mask.mask && overlap(r, r + 1.0, d.minY(), d.maxY()) < 1.0)
            begin = end = j0;
        if (!coverageRow(r, j0, j1, d, mask, begin, end))
            continue;

        const std::size_t k = std::size_t(r - r0);
        const int row0 = m_rows.first + m_rows.index[k];
        const int row1 = std::min(row0 + 1, lv.height() - 1);
        const int offset = m_columns.first * 4;
        kernels.lerpRows(lv.constRow(row0) + offset, lv.constRow(row1) + offset, m_lerped.data(),
                         m_columns.count * 4, m_rows.weight[k]);
        std::memcpy(m_lerped.data() + std::size_t(m_columns.count) * 4,
                    m_lerped.data() + std::size_t(m_columns.count - 1) * 4, 4 * sizeof(std::uint16_t));

        std::uint8_t* out = dst.row(r);
        const std::int32_t* index = m_columns.index.data();
        const std::int16_t* weight = m_columns.weight.data();
        if (end > begin) {
            const int a = begin - j0;
            if (write) {
                kernels.lerpColumns(m_lerped.data(), index + a, weight + a, out + std::ptrdiff_t(begin) * 4,
                                    end - begin);
            } else {
                kernels.lerpColumns(m_lerped.data(), index + a, weight + a, m_pixels.data(), end - begin);
                kernels.blendOver(out + std::ptrdiff_t(begin) * 4, m_pixels.data(), end - begin);
            }
        }
        // The edges, weighed by their coverage.
        const int spans[2][2] = {{j0, end > begin ? begin : j1}, {end > begin ? end : j1, j1}};
        for (const auto& span : spans) {
            const int count = span[1] - span[0];
            if (count <= 0)
                continue;
            const int a = span[0] - j0;
            kernels.lerpColumns(m_lerped.data(), index + a, weight + a, m_pixels.data(), count);
            kernels.blendOverCoverage(out + std::ptrdiff_t(span[0]) * 4, m_pixels.data(),
                                      m_coverage.data() + a, count);
        }
    }
    // Let go of the source now: a wrapped decoder frame goes back to its pool with this call.
    m_levelView = Image();
}

} // namespace orvane
