#include "FailingNew.h"

#include <cstdlib>
#include <new>

namespace {

// Allocations until the first that fails; negative: none does.
thread_local int sRemaining = -1;
thread_local int sRemainingAfter = -1;
thread_local bool sDelivered = false;

}  // namespace

namespace test_files {

FailingNew::FailingNew(int inFailingAllocation, Extent inExtent) {
    sDelivered = false;
    sRemainingAfter = inExtent == kOnce ? -1 : 0;
    sRemaining = inFailingAllocation - 1;
}
FailingNew::~FailingNew() {
    sRemaining = -1;
}
bool FailingNew::Delivered() const {
    return sDelivered;
}

}  // namespace test_files

void* operator new(std::size_t inByteCount) {
    if (sRemaining == 0) {
        sDelivered = true;
        sRemaining = sRemainingAfter;
        throw std::bad_alloc();
    }
    if (sRemaining > 0) --sRemaining;
    if (void* const block = std::malloc(inByteCount == 0 ? 1 : inByteCount)) return block;
    throw std::bad_alloc();
}
void* operator new(std::size_t inByteCount, const std::nothrow_t&) noexcept {
    try {
        return operator new(inByteCount);
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}
void operator delete(void* inBlock) noexcept {
    std::free(inBlock);
}
void operator delete(void* inBlock, std::size_t) noexcept {
    std::free(inBlock);
}
void operator delete(void* inBlock, const std::nothrow_t&) noexcept {
    std::free(inBlock);
}
