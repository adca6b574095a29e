// The common ground of handles and pointers: the allocator they stand on.
#pragma once

#include <toolbox/MacMemory.h>

#include "Accounts.h"

#include <algorithm>
#include <atomic>
#include <cstddef>

namespace toolbox::memory {

// Every call that the Memory Manager makes of the system.
struct HeapCalls {
    void* (*allocate)(std::size_t inByteCount);
    void* (*allocateZeroed)(std::size_t inCount, std::size_t inByteCount);
    void* (*resize)(void* inBlock, std::size_t inByteCount);
    void (*release)(void* inBlock);
    UInt64 (*countAvailableBytes)();
};
extern HeapCalls sHeapCalls;

// While set, every resize of a block that is not locked moves it.
extern std::atomic<bool> sMovesAtEveryResize;

// Charged memory for inByteCount bytes, or null. Never less than one byte is allocated, so that a block of
// none has an address of its own. inPrefixBytes come before it and are not charged.
[[nodiscard]] inline void* NewBlock(Account& ioAccount, Size inByteCount, std::size_t inPrefixBytes,
                                    bool inIsZeroed) {
    if (inByteCount < 0 || !Charge(ioAccount, inByteCount)) return nullptr;
    const std::size_t count = std::max<std::size_t>(static_cast<std::size_t>(inByteCount), 1) + inPrefixBytes;
    void* block = inIsZeroed ? sHeapCalls.allocateZeroed(1, count) : sHeapCalls.allocate(count);
    if (block == nullptr) Discharge(ioAccount, inByteCount);
    return block;
}

inline void DisposeBlock(Account& ioAccount, void* inBlock, Size inByteCount) {
    sHeapCalls.release(inBlock);
    Discharge(ioAccount, inByteCount);
}

}  // namespace toolbox::memory
