#include "support/FailingNew.h"

#include "support/KitsOwn.h"

#include <cstdlib>
#include <new>

namespace {

thread_local constinit support::Countdown tCountdown;
thread_local constinit std::uint64_t tNewCount = 0;

}  // namespace

namespace test_files {

FailingNew::FailingNew(int inFailingAllocation, Extent inExtent) {
    tCountdown = support::Countdown(inFailingAllocation, inExtent);
}
FailingNew::~FailingNew() {
    tCountdown = {};
}
bool FailingNew::Delivered() const {
    return tCountdown.Delivered();
}
bool FailingNew::IsDue() {
    return !support::KitsOwn::IsHere() && tCountdown.IsDue();
}

std::uint64_t NewCount() {
    return tNewCount;
}

}  // namespace test_files

void* operator new(std::size_t inByteCount) {
    ++tNewCount;
    if (test_files::FailingNew::IsDue()) throw std::bad_alloc();
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
