#include "MasterPointers.h"

#include "Heap.h"
#include "os/Mutex.h"

namespace toolbox::memory {

namespace {

constexpr UInt32 kMastersPerChunk = 127;  // with the link, 4 KB

struct Chunk {
    Chunk* next;
    MasterPointer masters[kMastersPerChunk];
};

constinit os::Mutex sMutex;
Chunk* sChunks GUARDED_BY(sMutex) = nullptr;
MasterPointer* sFree GUARDED_BY(sMutex) = nullptr;
UInt32 sFreeCount GUARDED_BY(sMutex) = 0;

bool AddChunk() NEEDS_LOCK(sMutex) {
    auto* chunk = static_cast<Chunk*>(os::Calls().calloc(1, sizeof(Chunk)));
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
    const os::MutexLock lock(sMutex);
    if (sFree == nullptr && !AddChunk()) return false;
    while (sFree != nullptr && ioAccount.freeMasterCount < kMaxFreeMasters / 2)
        MoveFirst(sFree, sFreeCount, ioAccount.freeMasters, ioAccount.freeMasterCount);
    return true;
}

void ReturnFreeMasters(Account& ioAccount, UInt32 inKeptCount) noexcept {
    const os::MutexLock lock(sMutex);
    while (ioAccount.freeMasterCount > inKeptCount)
        MoveFirst(ioAccount.freeMasters, ioAccount.freeMasterCount, sFree, sFreeCount);
}

bool ReserveMasterPointers(UInt32 inCount) {
    const os::MutexLock lock(sMutex);
    while (sFreeCount < inCount) {
        if (!AddChunk()) return false;
    }
    return true;
}

MasterPointer* FindMasterPointer(Ptr inBlock) {
    if (inBlock == nullptr) return nullptr;
    const os::MutexLock lock(sMutex);
    for (Chunk* chunk = sChunks; chunk != nullptr; chunk = chunk->next) {
        for (MasterPointer& master : chunk->masters) {
            if (std::atomic_ref(master.block).load(std::memory_order_relaxed) == inBlock) return &master;
        }
    }
    return nullptr;
}

}  // namespace toolbox::memory
