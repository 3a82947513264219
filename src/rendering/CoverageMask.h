#pragma once

#include "Image.h"

#include <memory>
#include <vector>

namespace orvane {

// A one-channel mask with, for each row, the run of columns where it is fully on. Drawing through it
// can then write the inside of a rounded rectangle straight away and weigh only the edges. Copies share
// the mask and its runs.
class CoverageMask {
public:
    struct Run {
        int begin = 0; // first column at 255
        int end = 0;   // one past the last column of that run; begin == end: none
    };

    CoverageMask() = default;
    // `mask` must be gray8; the runs are found once here.
    explicit CoverageMask(Image mask);

    bool isNull() const { return m_mask.isNull(); }
    const Image& image() const { return m_mask; }
    int width() const { return m_mask.width(); }
    int height() const { return m_mask.height(); }
    // The first run of 255 in row y (y from the top); empty outside the mask.
    Run opaqueRun(int y) const {
        return m_runs && y >= 0 && y < int(m_runs->size()) ? (*m_runs)[std::size_t(y)] : Run{};
    }

private:
    Image m_mask;
    // Shared, so handing a cached mask to a frame copies no rows.
    std::shared_ptr<const std::vector<Run>> m_runs;
};

} // namespace orvane
