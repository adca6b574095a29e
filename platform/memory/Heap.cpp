#include "Heap.h"

#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <limits>

namespace toolbox::memory {

namespace {

std::atomic<UInt64> sBytesInUse{0};
std::atomic<UInt64> sLimitBytes{0};
std::atomic<UInt64> sLivePtrs{0};
thread_local OSErr sError = noErr;

UInt64 CountAvailableBytes() {
    const long pages = sysconf(_SC_AVPHYS_PAGES);
    const long pageBytes = sysconf(_SC_PAGESIZE);
    return pages < 0 || pageBytes < 0 ? 0 : static_cast<UInt64>(pages) * static_cast<UInt64>(pageBytes);
}

Size CountFreeBytes() {
    SetError(noErr);
    const UInt64 limit = sLimitBytes.load(std::memory_order_relaxed);
    const UInt64 used = sBytesInUse.load(std::memory_order_relaxed);
    UInt64 count = sHeapCalls.countAvailableBytes();
    if (limit != 0) count = std::min(count, limit > used ? limit - used : 0);
    return static_cast<Size>(std::min<UInt64>(count, std::numeric_limits<Size>::max()));
}

}  // namespace

HeapCalls sHeapCalls = {std::malloc, std::calloc, std::realloc, std::free, CountAvailableBytes};
std::atomic<bool> sMovesAtEveryResize{false};

void SetError(OSErr inError) {
    sError = inError;
}

bool Charge(Size inByteCount) {
    const auto count = static_cast<UInt64>(inByteCount);
    const UInt64 sum = sBytesInUse.fetch_add(count, std::memory_order_relaxed) + count;
    const UInt64 limit = sLimitBytes.load(std::memory_order_relaxed);
    if (limit == 0 || sum <= limit) return true;
    Discharge(inByteCount);
    return false;
}

void Discharge(Size inByteCount) {
    sBytesInUse.fetch_sub(static_cast<UInt64>(inByteCount), std::memory_order_relaxed);
}

void* NewBlock(Size inByteCount, std::size_t inPrefixBytes, bool inIsZeroed) {
    if (inByteCount < 0 || !Charge(inByteCount)) return nullptr;
    const std::size_t count = std::max<std::size_t>(static_cast<std::size_t>(inByteCount), 1) + inPrefixBytes;
    void* block = inIsZeroed ? sHeapCalls.allocateZeroed(1, count) : sHeapCalls.allocate(count);
    if (block == nullptr) Discharge(inByteCount);
    return block;
}

void DisposeBlock(void* inBlock, Size inByteCount) {
    sHeapCalls.release(inBlock);
    Discharge(inByteCount);
}

void CountPtr(int inChange) {
    sLivePtrs.fetch_add(static_cast<UInt64>(static_cast<SInt64>(inChange)), std::memory_order_relaxed);
}

}  // namespace toolbox::memory

using namespace toolbox::memory;

OSErr MemError() {
    return sError;
}

Size FreeMem() {
    return CountFreeBytes();
}

Size MaxBlock() {
    return CountFreeBytes();
}

Size TempFreeMem() {
    return CountFreeBytes();
}

Size TempMaxMem(Size* outGrow) {
    if (outGrow != nullptr) *outGrow = 0;
    return CountFreeBytes();
}

void SetMemoryLimit(UInt64 inByteCount) {
    sLimitBytes.store(inByteCount, std::memory_order_relaxed);
}

UInt64 GetMemoryInUse() {
    return sBytesInUse.load(std::memory_order_relaxed);
}

UInt64 GetLivePtrCount() {
    return sLivePtrs.load(std::memory_order_relaxed);
}
