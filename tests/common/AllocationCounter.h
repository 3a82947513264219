#pragma once

#include <cstddef>

namespace orvane::test {

// Counts calls to the global operator new on this thread, so a test can show that a hot path
// allocates nothing.
std::size_t allocationCount();

class AllocationScope {
public:
    AllocationScope()
        : m_start(allocationCount()) {}
    std::size_t allocations() const { return allocationCount() - m_start; }

private:
    std::size_t m_start;
};

} // namespace orvane::test
