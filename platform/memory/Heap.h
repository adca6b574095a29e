// The common ground of handles and pointers: the allocator they stand on.
#pragma once

#include "Accounts.h"
#include "os/SystemCalls.h"

#include <toolbox/MacMemory.h>

#include <algorithm>
#include <atomic>
#include <cstddef>

namespace toolbox::memory {

// While set, every resize of a block that is not locked moves it.
extern std::atomic<bool> sMovesAtEveryResize;

// Charged memory for inByteCount bytes, or null. Never less than one byte is allocated, so that a block of
// none has an address of its own. inPrefixBytes come before it and are not charged.
[[nodiscard]] inline void* NewBlock(Account& ioAccount, Size inByteCount, std::size_t inPrefixBytes,
                                    bool inIsZeroed) {
    if (inByteCount < 0 || !Charge(ioAccount, inByteCount)) return nullptr;
    const std::size_t count = std::max<std::size_t>(static_cast<std::size_t>(inByteCount), 1) + inPrefixBytes;
    void* block = inIsZeroed ? os::Calls().calloc(1, count) : os::Calls().malloc(count);
    if (block == nullptr) Discharge(ioAccount, inByteCount);
    return block;
}

inline void DisposeBlock(Account& ioAccount, void* inBlock, Size inByteCount) {
    os::Calls().free(inBlock);
    Discharge(ioAccount, inByteCount);
}

}  // namespace toolbox::memory
