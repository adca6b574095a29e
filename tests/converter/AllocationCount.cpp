#include "AllocationCount.h"

#include <cstdlib>
#include <new>

namespace {
long sAllocationCount = 0;
}

long AllocationCount() {
    return sAllocationCount;
}

void* operator new(std::size_t inByteCount) {
    ++sAllocationCount;
    if (void* const bytes = std::malloc(inByteCount)) return bytes;
    throw std::bad_alloc();
}
void operator delete(void* inBytes) noexcept {
    std::free(inBytes);
}
void operator delete(void* inBytes, std::size_t) noexcept {
    std::free(inBytes);
}
