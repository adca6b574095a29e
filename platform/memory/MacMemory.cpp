#include "Heap.h"
#include "MasterPointers.h"

#include <toolbox/MacMemory.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <limits>

namespace toolbox::memory {

namespace {

constexpr UInt8 kStateBits = kHandleLockedBit | kHandlePurgeableBit | kHandleResourceBit;
constexpr int kAbandonedByte = 0xA5;

Handle HandleOf(MasterPointer* inMaster) {
    return &inMaster->block;
}

bool IsLocked(const MasterPointer& inMaster) {
    return (inMaster.state & kHandleLockedBit) != 0;
}

// The master pointer of a handle that is in use, or null with the error set.
MasterPointer* MasterOf(ThreadState& ioThread, Handle inHandle) {
    if (inHandle == nullptr) {
        ioThread.error = nilHandleErr;
        return nullptr;
    }
    auto* master = reinterpret_cast<MasterPointer*>(inHandle);
    if (master->tag != MasterPointer::kLive) {
        ioThread.error = memWZErr;
        return nullptr;
    }
    ioThread.error = noErr;
    return master;
}

// The same, of a handle that has a block.
MasterPointer* MasterOfBlock(Handle inHandle) {
    ThreadState& thread = CurrentThread();
    MasterPointer* master = MasterOf(thread, inHandle);
    if (master == nullptr || master->block != nullptr) return master;
    thread.error = nilHandleErr;
    return nullptr;
}

[[gnu::always_inline]] inline void DisposeBlockOf(Account& ioAccount, MasterPointer& ioMaster) {
    if (ioMaster.block == nullptr) return;
    DisposeBlock(ioAccount, ioMaster.block, ioMaster.sizeBytes);
    SetBlock(ioMaster, nullptr);
    ioMaster.sizeBytes = 0;
    ioMaster.capacityBytes = 0;
}

[[gnu::always_inline]] inline bool GiveBlock(Account& ioAccount, MasterPointer& ioMaster, Size inByteCount,
                                             bool inIsZeroed) {
    void* block = NewBlock(ioAccount, inByteCount, 0, inIsZeroed);
    if (block == nullptr) return false;
    SetBlock(ioMaster, static_cast<Ptr>(block));
    ioMaster.sizeBytes = inByteCount;
    ioMaster.capacityBytes = std::max<Size>(inByteCount, 1);
    return true;
}

[[gnu::always_inline]] inline Handle NewHandleOf(Size inByteCount, bool inIsZeroed) noexcept {
    ThreadState& thread = CurrentThread();
    thread.error = noErr;
    const AccountHold account(thread);
    MasterPointer* master = NewMasterPointer(*account);
    if (master != nullptr) {
        if (GiveBlock(*account, *master, inByteCount, inIsZeroed)) return HandleOf(master);
        DisposeMasterPointer(*account, master);
    }
    thread.error = memFullErr;
    return nullptr;
}

bool MoveBlock(MasterPointer& ioMaster, Size inCapacity) {
    void* block = os::Calls().malloc(static_cast<std::size_t>(inCapacity));
    if (block == nullptr) return false;
    std::memcpy(block, ioMaster.block, static_cast<std::size_t>(std::min(ioMaster.sizeBytes, inCapacity)));
    std::memset(ioMaster.block, kAbandonedByte, static_cast<std::size_t>(ioMaster.capacityBytes));
    os::Calls().free(ioMaster.block);
    SetBlock(ioMaster, static_cast<Ptr>(block));
    ioMaster.capacityBytes = inCapacity;
    return true;
}

bool GrowCapacity(MasterPointer& ioMaster, Size inCapacity) {
    if (sMovesAtEveryResize.load(std::memory_order_relaxed)) return MoveBlock(ioMaster, inCapacity);
    void* block = os::Calls().realloc(ioMaster.block, static_cast<std::size_t>(inCapacity));
    if (block == nullptr) return false;
    SetBlock(ioMaster, static_cast<Ptr>(block));
    ioMaster.capacityBytes = inCapacity;
    return true;
}

// Gives the block room for inByteCount bytes; for inWantedCapacity (not less), if that much can be had.
OSErr MakeRoom(MasterPointer& ioMaster, Size inByteCount, Size inWantedCapacity) {
    if (inByteCount > ioMaster.capacityBytes) {
        if (IsLocked(ioMaster)) return memLockedErr;
        if (GrowCapacity(ioMaster, inWantedCapacity)) return noErr;
        if (inWantedCapacity > inByteCount && GrowCapacity(ioMaster, inByteCount)) return noErr;
        return memFullErr;
    }
    if (sMovesAtEveryResize.load(std::memory_order_relaxed) && !IsLocked(ioMaster))
        MoveBlock(ioMaster, ioMaster.capacityBytes);
    return noErr;
}

OSErr Resize(MasterPointer& ioMaster, Size inByteCount, Size inWantedCapacity) {
    if (inByteCount < 0) return memFullErr;
    const AccountHold account(CurrentThread());
    const Size before = ioMaster.sizeBytes;
    if (inByteCount > before && !Charge(*account, inByteCount - before)) return memFullErr;
    const OSErr error = MakeRoom(ioMaster, inByteCount, inWantedCapacity);
    if (error != noErr) {
        if (inByteCount > before) Discharge(*account, inByteCount - before);
        return error;
    }
    if (inByteCount < before) Discharge(*account, before - inByteCount);
    ioMaster.sizeBytes = inByteCount;
    return noErr;
}

// Where inSource lies in the block's memory, or -1.
Size OffsetInBlock(const MasterPointer& inMaster, const void* inSource) {
    const auto source = reinterpret_cast<std::uintptr_t>(inSource);
    const auto block = reinterpret_cast<std::uintptr_t>(inMaster.block);
    if (source < block || source - block >= static_cast<std::uintptr_t>(inMaster.capacityBytes)) return -1;
    return static_cast<Size>(source - block);
}

OSErr Append(MasterPointer& ioMaster, const void* inSource, Size inByteCount) {
    const Size before = ioMaster.sizeBytes;
    if (inByteCount < 0 || inByteCount > std::numeric_limits<Size>::max() - before) return memFullErr;
    const Size offset = OffsetInBlock(ioMaster, inSource);
    if (inByteCount > 0 && inSource == nullptr) return paramErr;
    if (offset >= 0 && inByteCount > before - offset) return paramErr;
    // Room for half as much again, so that appending many times copies each byte a few times at most.
    const Size after = before + inByteCount;
    const Size slack = std::min(after / 2, std::numeric_limits<Size>::max() - after);
    const OSErr error = Resize(ioMaster, after, after + slack);
    if (error != noErr) return error;
    const void* source = offset >= 0 ? ioMaster.block + offset : inSource;
    BlockMoveData(source, ioMaster.block + before, inByteCount);
    return noErr;
}

OSErr Replace(MasterPointer& ioMaster, const void* inSource, Size inByteCount) {
    if (inByteCount < 0) return memFullErr;
    if (inByteCount > 0 && inSource == nullptr) return paramErr;
    const Size offset = OffsetInBlock(ioMaster, inSource);
    if (offset >= 0) {
        if (inByteCount > ioMaster.sizeBytes - offset) return paramErr;
        BlockMoveData(inSource, ioMaster.block, inByteCount);
        return Resize(ioMaster, inByteCount, inByteCount);
    }
    const OSErr error = Resize(ioMaster, inByteCount, inByteCount);
    if (error == noErr) BlockMoveData(inSource, ioMaster.block, inByteCount);
    return error;
}

void ChangeState(Handle inHandle, UInt8 inClear, UInt8 inSet) {
    MasterPointer* master = MasterOfBlock(inHandle);
    if (master == nullptr) return;
    master->state = static_cast<UInt8>((master->state & ~inClear) | inSet);
}

OSErr Result(OSErr inError) {
    SetError(inError);
    return inError;
}

}  // namespace

void SetMovesAtEveryResize(bool inMoves) {
    sMovesAtEveryResize.store(inMoves, std::memory_order_relaxed);
}

}  // namespace toolbox::memory

using namespace toolbox::memory;

Handle NewHandle(Size inByteCount) {
    return NewHandleOf(inByteCount, false);
}

Handle NewHandleClear(Size inByteCount) {
    return NewHandleOf(inByteCount, true);
}

Handle NewEmptyHandle() {
    ThreadState& thread = CurrentThread();
    MasterPointer* master = NewMasterPointer(*AccountHold(thread));
    thread.error = master == nullptr ? memFullErr : noErr;
    return master == nullptr ? nullptr : HandleOf(master);
}

void DisposeHandle(Handle inHandle) {
    ThreadState& thread = CurrentThread();
    if (inHandle == nullptr) {
        thread.error = noErr;
        return;
    }
    MasterPointer* master = MasterOf(thread, inHandle);
    if (master == nullptr) return;
    const AccountHold account(thread);
    DisposeBlockOf(*account, *master);
    DisposeMasterPointer(*account, master);
}

Size GetHandleSize(Handle inHandle) {
    const MasterPointer* master = MasterOfBlock(inHandle);
    return master == nullptr ? 0 : master->sizeBytes;
}

void SetHandleSize(Handle inHandle, Size inByteCount) {
    MasterPointer* master = MasterOfBlock(inHandle);
    if (master != nullptr) SetError(Resize(*master, inByteCount, inByteCount));
}

void ReallocateHandle(Handle inHandle, Size inByteCount) {
    ThreadState& thread = CurrentThread();
    MasterPointer* master = MasterOf(thread, inHandle);
    if (master == nullptr) return;
    if (IsLocked(*master)) {
        thread.error = memLockedErr;
        return;
    }
    const AccountHold account(thread);
    DisposeBlockOf(*account, *master);
    master->state &= static_cast<UInt8>(~kHandlePurgeableBit);
    thread.error = GiveBlock(*account, *master, inByteCount, false) ? noErr : memFullErr;
}

void EmptyHandle(Handle inHandle) {
    ThreadState& thread = CurrentThread();
    MasterPointer* master = MasterOf(thread, inHandle);
    if (master == nullptr) return;
    if (IsLocked(*master)) {
        thread.error = memPurErr;
        return;
    }
    DisposeBlockOf(*AccountHold(thread), *master);
}

Handle RecoverHandle(Ptr inBlock) {
    MasterPointer* master = FindMasterPointer(inBlock);
    SetError(master == nullptr ? memWZErr : noErr);
    return master == nullptr ? nullptr : HandleOf(master);
}

void MoreMasterPointers(UInt32 inCount) {
    SetError(ReserveMasterPointers(inCount) ? noErr : memFullErr);
}

void HLock(Handle inHandle) {
    ChangeState(inHandle, 0, kHandleLockedBit);
}
void HUnlock(Handle inHandle) {
    ChangeState(inHandle, kHandleLockedBit, 0);
}
void HLockHi(Handle inHandle) {
    HLock(inHandle);
}
void HPurge(Handle inHandle) {
    ChangeState(inHandle, 0, kHandlePurgeableBit);
}
void HNoPurge(Handle inHandle) {
    ChangeState(inHandle, kHandlePurgeableBit, 0);
}
void HSetRBit(Handle inHandle) {
    ChangeState(inHandle, 0, kHandleResourceBit);
}
void HClrRBit(Handle inHandle) {
    ChangeState(inHandle, kHandleResourceBit, 0);
}

SInt8 HGetState(Handle inHandle) {
    const MasterPointer* master = MasterOfBlock(inHandle);
    return master == nullptr ? SInt8{0} : static_cast<SInt8>(master->state);
}

void HSetState(Handle inHandle, SInt8 inState) {
    ChangeState(inHandle, kStateBits, static_cast<UInt8>(inState) & kStateBits);
}

OSErr PtrToHand(const void* inSource, Handle* outHandle, Size inByteCount) {
    if (outHandle == nullptr) return Result(paramErr);
    *outHandle = nullptr;
    if (inSource == nullptr && inByteCount > 0) return Result(paramErr);
    Handle copy = NewHandle(inByteCount);
    if (copy == nullptr) return MemError();
    BlockMoveData(inSource, *copy, inByteCount);
    *outHandle = copy;
    return noErr;
}

OSErr HandToHand(Handle* ioHandle) {
    if (ioHandle == nullptr) return Result(paramErr);
    const MasterPointer* master = MasterOfBlock(*ioHandle);
    if (master == nullptr) return MemError();
    Handle copy = nullptr;
    const OSErr error = PtrToHand(master->block, &copy, master->sizeBytes);
    if (error == noErr) *ioHandle = copy;
    return error;
}

OSErr PtrToXHand(const void* inSource, Handle inDestination, Size inByteCount) {
    MasterPointer* master = MasterOfBlock(inDestination);
    return master == nullptr ? MemError() : Result(Replace(*master, inSource, inByteCount));
}

OSErr PtrAndHand(const void* inSource, Handle ioHandle, Size inByteCount) {
    MasterPointer* master = MasterOfBlock(ioHandle);
    return master == nullptr ? MemError() : Result(Append(*master, inSource, inByteCount));
}

OSErr HandAndHand(Handle inSource, Handle ioDestination) {
    const MasterPointer* source = MasterOfBlock(inSource);
    MasterPointer* destination = source == nullptr ? nullptr : MasterOfBlock(ioDestination);
    if (destination == nullptr) return MemError();
    return Result(Append(*destination, source->block, source->sizeBytes));
}

Handle TempNewHandle(Size inByteCount, OSErr* outResult) {
    Handle handle = NewHandle(inByteCount);
    if (outResult != nullptr) *outResult = MemError();
    return handle;
}
