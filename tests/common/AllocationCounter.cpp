#include "AllocationCounter.h"

#include <cstdlib>
#include <new>

namespace {
thread_local std::size_t allocations = 0;
}

std::size_t orvane::test::allocationCount() {
    return allocations;
}

void* operator new(std::size_t size) {
    ++allocations;
    if (void* p = std::malloc(size ? size : 1))
        return p;
    throw std::bad_alloc();
}

void* operator new[](std::size_t size) {
    return ::operator new(size);
}
void operator delete(void* p) noexcept {
    std::free(p);
}
void operator delete[](void* p) noexcept {
    std::free(p);
}
void operator delete(void* p, std::size_t) noexcept {
    std::free(p);
}
void operator delete[](void* p, std::size_t) noexcept {
    std::free(p);
}
