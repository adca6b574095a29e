#include "Heap.h"

#include <unistd.h>

#include <algorithm>
#include <limits>

namespace toolbox::memory {

namespace {

UInt64 CountAvailableBytes() {
    const long pages = os::Calls().sysconf(_SC_AVPHYS_PAGES);
    const long pageBytes = os::Calls().sysconf(_SC_PAGESIZE);
    return pages < 0 || pageBytes < 0 ? 0 : static_cast<UInt64>(pages) * static_cast<UInt64>(pageBytes);
}

Size CountFreeBytes() {
    SetError(noErr);
    const UInt64 limit = sLimitBytes.load(std::memory_order_relaxed);
    const UInt64 used = Sum(&Account::byteCount);
    UInt64 count = CountAvailableBytes();
    if (limit != 0) count = std::min(count, limit > used ? limit - used : 0);
    return static_cast<Size>(std::min<UInt64>(count, std::numeric_limits<Size>::max()));
}

}  // namespace

std::atomic<bool> sMovesAtEveryResize{false};

}  // namespace toolbox::memory

using namespace toolbox::memory;

OSErr MemError() {
    return sThread.error;
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
    return Sum(&Account::byteCount);
}

UInt64 GetLiveHandleCount() {
    return Sum(&Account::handleCount);
}

UInt64 GetLivePtrCount() {
    return Sum(&Account::ptrCount);
}
