#include "CoverageMask.h"

namespace orvane {

CoverageMask::CoverageMask(Image mask)
    : m_mask(std::move(mask)) {
    if (m_mask.isNull() || m_mask.format() != PixelFormat::gray8) {
        m_mask = Image();
        return;
    }
    auto runs = std::make_shared<std::vector<Run>>(std::size_t(m_mask.height()));
    for (int y = 0; y < m_mask.height(); ++y) {
        const std::uint8_t* row = m_mask.constRow(y);
        int begin = 0;
        while (begin < m_mask.width() && row[begin] != 255)
            ++begin;
        int end = begin;
        while (end < m_mask.width() && row[end] == 255)
            ++end;
        (*runs)[std::size_t(y)] = {begin, end};
    }
    m_runs = std::move(runs);
}

} // namespace orvane
