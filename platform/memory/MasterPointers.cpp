#include "MasterPointers.h"

#include "Heap.h"

#include <atomic>
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
UInt64 sLiveCount = 0;

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

}  // namespace

MasterPointer* NewMasterPointer() {
    const std::lock_guard lock(sMutex);
    if (sFree == nullptr && !AddChunk()) return nullptr;
    MasterPointer* master = sFree;
    sFree = master->nextFree;
    --sFreeCount;
    ++sLiveCount;
    master->sizeBytes = 0;
    master->capacityBytes = 0;
    master->state = 0;
    master->tag = MasterPointer::kLive;
    return master;
}

void DisposeMasterPointer(MasterPointer* inMaster) {
    SetBlock(*inMaster, nullptr);
    const std::lock_guard lock(sMutex);
    inMaster->tag = MasterPointer::kFree;
    inMaster->nextFree = sFree;
    sFree = inMaster;
    ++sFreeCount;
    --sLiveCount;
}

UInt64 CountLiveMasterPointers() {
    const std::lock_guard lock(sMutex);
    return sLiveCount;
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

void SetBlock(MasterPointer& ioMaster, Ptr inBlock) {
    std::atomic_ref(ioMaster.block).store(inBlock, std::memory_order_relaxed);
}

}  // namespace toolbox::memory
