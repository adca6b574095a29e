#include "MasterPointers.h"

#include "Heap.h"

#include <mutex>

namespace toolbox::memory {

namespace {

constexpr UInt32 kMastersPerChunk = 127;  // with the link, 4 KB

struct Chunk {
    Chunk* next;
    MasterPointer masters[kMastersPerChunk];
};

std::mutex sMutex;
Chunk* sChunks = nullptr;
MasterPointer* sFree = nullptr;
UInt32 sFreeCount = 0;

// With sMutex held.
bool AddChunk() {
    auto* chunk = static_cast<Chunk*>(sHeapCalls.allocateZeroed(1, sizeof(Chunk)));
    if (chunk == nullptr) return false;
    for (MasterPointer& master : chunk->masters) {
        master.tag = MasterPointer::kFree;
        master.nextFree = sFree;
        sFree = &master;
    }
    chunk->next = sChunks;
    sChunks = chunk;
    sFreeCount += kMastersPerChunk;
    return true;
}

void MoveFirst(MasterPointer*& ioFrom, UInt32& ioFromCount, MasterPointer*& ioTo, UInt32& ioToCount) {
    MasterPointer* master = ioFrom;
    ioFrom = master->nextFree;
    --ioFromCount;
    master->nextFree = ioTo;
    ioTo = master;
    ++ioToCount;
}

}  // namespace

bool FetchFreeMasters(Account& ioAccount) noexcept {
    const std::lock_guard lock(sMutex);
    if (sFree == nullptr && !AddChunk()) return false;
    while (sFree != nullptr && ioAccount.freeMasterCount < kMostFreeMasters / 2)
        MoveFirst(sFree, sFreeCount, ioAccount.freeMasters, ioAccount.freeMasterCount);
    return true;
}

void ReturnFreeMasters(Account& ioAccount, UInt32 inKeptCount) noexcept {
    const std::lock_guard lock(sMutex);
    while (ioAccount.freeMasterCount > inKeptCount)
        MoveFirst(ioAccount.freeMasters, ioAccount.freeMasterCount, sFree, sFreeCount);
}

bool ReserveMasterPointers(UInt32 inCount) {
    const std::lock_guard lock(sMutex);
    while (sFreeCount < inCount) {
        if (!AddChunk()) return false;
    }
    return true;
}

MasterPointer* FindMasterPointer(Ptr inBlock) {
    if (inBlock == nullptr) return nullptr;
    const std::lock_guard lock(sMutex);
    for (Chunk* chunk = sChunks; chunk != nullptr; chunk = chunk->next) {
        for (MasterPointer& master : chunk->masters) {
            if (std::atomic_ref(master.block).load(std::memory_order_relaxed) == inBlock) return &master;
        }
    }
    return nullptr;
}

}  // namespace toolbox::memory
