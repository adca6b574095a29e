// The Memory Manager: relocatable blocks behind handles, fixed blocks behind pointers.
//
// A handle is the address of a master pointer; the block it points to may move whenever it is resized, so a
// pointer taken from a handle holds only until the next call that may resize it, unless the handle is locked.
// Each call but those that move or count bytes leaves its result in MemError(), which is kept per thread.
// A block belongs to whoever asked for it and may be used and disposed of on any thread, but by one thread at
// a time.
//
// Sizes are bytes. A negative size is one that cannot be had: memFullErr. A block of no bytes is a block like
// any other. Every call on a handle answers nilHandleErr for a null handle, memWZErr for one that was
// disposed of, and, but for those that say otherwise, nilHandleErr for one that was emptied. Blocks marked
// purgeable are emptied by EmptyHandle only, never behind their owner's back.
#pragma once

#include <string.h>
#include <toolbox/MacErrors.h>
#include <toolbox/MacTypes.h>
#include <toolbox/ToolboxExport.h>

TOOLBOX_EXTERN_C_BEGIN

// State bits of a handle, as HGetState answers them.
enum { kHandleResourceBit = 0x20, kHandlePurgeableBit = 0x40, kHandleLockedBit = 0x80 };

// A new relocatable block of inByteCount bytes, contents unspecified or zero; neither locked, purgeable nor a
// resource. Null with memFullErr when it cannot be had.
TOOLBOX_MUST_USE Handle NewHandle(Size inByteCount);
TOOLBOX_MUST_USE Handle NewHandleClear(Size inByteCount);
// A handle whose master pointer is null: the state of a block that was emptied.
TOOLBOX_MUST_USE Handle NewEmptyHandle(void);
// Frees block and handle, locked or not. Nothing happens for null.
TOOLBOX_EXPORT void DisposeHandle(Handle inHandle);
// Bytes in the block; 0 on failure.
TOOLBOX_EXPORT Size GetHandleSize(Handle inHandle);
// Resizes, keeping the bytes that fit; new bytes are unspecified. The block may move when it grows. It keeps
// the memory it shrinks out of, and grows into that again without moving, so a locked block may be resized as
// far. On failure nothing changes: memFullErr when it cannot grow, memLockedErr when it is locked and would
// have to move.
TOOLBOX_EXPORT void SetHandleSize(Handle inHandle, Size inByteCount);
// Replaces the block by a new one of inByteCount bytes, contents unspecified, not purgeable; also revives an
// emptied handle. memLockedErr when locked; memFullErr leaves the handle emptied.
TOOLBOX_EXPORT void ReallocateHandle(Handle inHandle, Size inByteCount);
// Frees the block and keeps the handle, whose master pointer becomes null. memPurErr when locked; nothing
// happens when it is empty already.
TOOLBOX_EXPORT void EmptyHandle(Handle inHandle);
// The handle whose block starts at inBlock, else null with memWZErr. Any pointer may be asked about. The time
// taken grows with the number of handles.
TOOLBOX_EXPORT Handle RecoverHandle(Ptr inBlock);
// Makes sure that inCount handles can be had without asking the system for master pointers.
TOOLBOX_EXPORT void MoreMasterPointers(UInt32 inCount);

// State bits, one by one. Locks do not nest. HGetState answers 0 on failure; HSetState takes what HGetState
// answered.
TOOLBOX_EXPORT void HLock(Handle inHandle);
TOOLBOX_EXPORT void HUnlock(Handle inHandle);
TOOLBOX_EXPORT void HLockHi(Handle inHandle);
TOOLBOX_EXPORT void HPurge(Handle inHandle);
TOOLBOX_EXPORT void HNoPurge(Handle inHandle);
TOOLBOX_EXPORT void HSetRBit(Handle inHandle);
TOOLBOX_EXPORT void HClrRBit(Handle inHandle);
TOOLBOX_EXPORT SInt8 HGetState(Handle inHandle);
TOOLBOX_EXPORT void HSetState(Handle inHandle, SInt8 inState);

// Copies. Each returns what it leaves in MemError(): beside the common results, memFullErr, and paramErr for
// a null address where one is needed. A source may lie inside the destination's block; one that runs past its
// end: paramErr. Resizing follows the rules of SetHandleSize.
// clang-format off
//   PtrToHand    a new handle over a copy of the bytes; *outHandle is null on failure
//   HandToHand   *ioHandle becomes a new handle over a copy of its block, state bits clear; unchanged on failure
//   PtrToXHand   the block becomes a copy of the bytes
//   PtrAndHand, HandAndHand   the bytes, or the source's block, are appended; both handles may be the same
// clang-format on
TOOLBOX_MUST_USE OSErr PtrToHand(const void* inSource, Handle* outHandle, Size inByteCount);
TOOLBOX_MUST_USE OSErr HandToHand(Handle* ioHandle);
TOOLBOX_MUST_USE OSErr PtrToXHand(const void* inSource, Handle inDestination, Size inByteCount);
TOOLBOX_MUST_USE OSErr PtrAndHand(const void* inSource, Handle ioHandle, Size inByteCount);
TOOLBOX_MUST_USE OSErr HandAndHand(Handle inSource, Handle ioDestination);

// Fixed blocks, aligned for any type. Null with memFullErr when one cannot be had. DisposePtr does nothing
// for null; the others answer memWZErr for it.
TOOLBOX_MUST_USE Ptr NewPtr(Size inByteCount);
TOOLBOX_MUST_USE Ptr NewPtrClear(Size inByteCount);
TOOLBOX_EXPORT void DisposePtr(Ptr inPtr);
TOOLBOX_EXPORT Size GetPtrSize(Ptr inPtr);
// Never moves the block: it shrinks, and grows again up to the size it was made with; beyond, memFullErr.
TOOLBOX_EXPORT void SetPtrSize(Ptr inPtr, Size inByteCount);

// Temporary memory: handles like any other. The result is in MemError() and, unless null, *outResult.
TOOLBOX_MUST_USE Handle TempNewHandle(Size inByteCount, OSErr* outResult);

// Bytes that could be allocated now, as far as a Size can tell: what the limit leaves, and no more than the
// memory the system has unused. In total, and in one block. *outGrow, unless null, becomes 0: the heap needs
// no growing.
TOOLBOX_EXPORT Size FreeMem(void);
TOOLBOX_EXPORT Size MaxBlock(void);
TOOLBOX_EXPORT Size TempFreeMem(void);
TOOLBOX_EXPORT Size TempMaxMem(Size* outGrow);

// The result of this thread's last Memory Manager call.
TOOLBOX_MUST_USE OSErr MemError(void);

// Move or clear inByteCount bytes; nothing when it is 0 or less. Source and destination may overlap.
// BlockMoveData takes every count that a long holds, also more than a Size can tell.
TOOLBOX_EXPORT void BlockMove(const void* inSource, void* outDestination, Size inByteCount);
TOOLBOX_EXPORT TOOLBOX_INLINE void BlockMoveData(const void* inSource, void* outDestination,
                                                 long inByteCount) {
    if (inByteCount > 0) memmove(outDestination, inSource, (size_t)inByteCount);
}
TOOLBOX_EXPORT void BlockZero(void* outDestination, Size inByteCount);

// Host settings and observations, beside the historic interface.
// Bytes that all live blocks together may hold; an allocation past it fails with memFullErr. It is exact,
// whichever threads make and dispose of the blocks; only a block that is disposed of at that very moment may
// count still. 0, the default: no limit but the system's. Set before other threads allocate. Under a limit
// threads that allocate wait for one another.
TOOLBOX_EXPORT void SetMemoryLimit(UInt64 inByteCount);
// What lives, on all threads together. Exact while no other thread makes or disposes of blocks; of what
// others are at, a figure may have one half.
TOOLBOX_EXPORT UInt64 GetMemoryInUse(void);  // bytes in live blocks
TOOLBOX_EXPORT UInt64 GetLiveHandleCount(void);
TOOLBOX_EXPORT UInt64 GetLivePtrCount(void);

TOOLBOX_EXTERN_C_END
