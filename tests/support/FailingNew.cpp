#include "support/FailingNew.h"

#include "support/KitsOwn.h"

#include <malloc.h>

#include <cstdlib>
#include <new>

namespace {

thread_local constinit support::Countdown tCountdown;
thread_local constinit std::uint64_t tNewCount = 0;
thread_local constinit std::int64_t tLiveBytes = 0;

// The allocator's own word before each block, too.
std::int64_t BytesOf(void* inBlock) {
    return inBlock == nullptr ? 0 : static_cast<std::int64_t>(malloc_usable_size(inBlock) + sizeof(void*));
}

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
std::int64_t LiveNewBytes() {
    return tLiveBytes;
}

}  // namespace test_files

void* operator new(std::size_t inByteCount) {
    ++tNewCount;
    if (test_files::FailingNew::IsDue()) throw std::bad_alloc();
    void* const block = std::malloc(inByteCount == 0 ? 1 : inByteCount);
    if (block == nullptr) throw std::bad_alloc();
    tLiveBytes += BytesOf(block);
    return block;
}
void* operator new(std::size_t inByteCount, const std::nothrow_t&) noexcept {
    try {
        return operator new(inByteCount);
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}
void operator delete(void* inBlock) noexcept {
    tLiveBytes -= BytesOf(inBlock);
    std::free(inBlock);
}
void operator delete(void* inBlock, std::size_t) noexcept {
    operator delete(inBlock);
}
void operator delete(void* inBlock, const std::nothrow_t&) noexcept {
    operator delete(inBlock);
}
