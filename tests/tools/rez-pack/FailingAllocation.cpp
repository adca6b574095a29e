#include "FailingAllocation.h"

#include <cstdlib>
#include <new>

namespace {

// Allocations until one fails; 0: none will.
thread_local int tLeft = 0;
thread_local bool tAreOthers = false;
thread_local bool tIsDelivered = false;

bool IsToFail() {
    if (tLeft == 0 || --tLeft > 0) return false;
    if (tAreOthers) tLeft = 1;
    tIsDelivered = true;
    return true;
}

}  // namespace

namespace test_rez_pack {

FailingAllocation::FailingAllocation(int inNumber, bool inAreOthers) {
    tIsDelivered = false;
    tAreOthers = inAreOthers;
    tLeft = inNumber;
}
FailingAllocation::~FailingAllocation() {
    tLeft = 0;
}
bool FailingAllocation::Delivered() const {
    return tIsDelivered;
}

}  // namespace test_rez_pack

void* operator new(std::size_t inByteCount) {
    void* const block = IsToFail() ? nullptr : std::malloc(inByteCount == 0 ? 1 : inByteCount);
    if (block == nullptr) throw std::bad_alloc();
    return block;
}
void* operator new(std::size_t inByteCount, const std::nothrow_t&) noexcept {
    return IsToFail() ? nullptr : std::malloc(inByteCount == 0 ? 1 : inByteCount);
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
