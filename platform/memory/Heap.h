// The common ground of handles and pointers: the allocator they stand on, what they hold together, and the
// result of each thread's last call.
#pragma once

#include <toolbox/MacMemory.h>

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

void SetError(OSErr inError);

// Enters inByteCount bytes into the account of live blocks, unless that would pass the limit.
bool Charge(Size inByteCount);
void Discharge(Size inByteCount);

// Charged memory for inByteCount bytes, or null. Never less than one byte is allocated, so that a block of
// none has an address of its own. inPrefixBytes come before it and are not charged.
void* NewBlock(Size inByteCount, std::size_t inPrefixBytes, bool inIsZeroed);
void DisposeBlock(void* inBlock, Size inByteCount);

void CountPtr(int inChange);

}  // namespace toolbox::memory
