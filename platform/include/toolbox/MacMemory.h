// The Memory Manager: relocatable blocks behind handles, fixed blocks behind pointers.
//
// A handle is the address of a master pointer; the block it points to may move whenever it is resized, so a
// pointer taken from a handle holds only until the next call that may resize it, unless the handle is locked.
// Each call leaves its result in MemError(), which is kept per thread. A block belongs to whoever asked for it
// and may be used and disposed of on any thread, but by one thread at a time.
#pragma once

#include <toolbox/MacErrors.h>
#include <toolbox/MacTypes.h>
#include <toolbox/ToolboxExport.h>

TOOLBOX_EXTERN_C_BEGIN

// State bits of a handle, as HGetState answers them.
enum { kHandleResourceBit = 0x20, kHandlePurgeableBit = 0x40, kHandleLockedBit = 0x80 };

// A new relocatable block of inByteCount bytes (>= 0), contents unspecified or zero. Null with memFullErr when it
// cannot be had.
TOOLBOX_EXPORT Handle NewHandle(Size inByteCount);
TOOLBOX_EXPORT Handle NewHandleClear(Size inByteCount);
// A handle whose master pointer is null: the state of a block that was emptied.
TOOLBOX_EXPORT Handle NewEmptyHandle(void);
TOOLBOX_EXPORT void DisposeHandle(Handle inHandle);
// Bytes in the block; 0 with nilHandleErr for a null or emptied handle.
TOOLBOX_EXPORT Size GetHandleSize(Handle inHandle);
// Resizes, keeping the bytes that fit; the block may move. memFullErr (block unchanged) when it cannot grow,
// memLockedErr when it is locked and would have to move, nilHandleErr when null or emptied.
TOOLBOX_EXPORT void SetHandleSize(Handle inHandle, Size inByteCount);
// Replaces the block by a new one of inByteCount bytes, contents lost; also revives an emptied handle.
TOOLBOX_EXPORT void ReallocateHandle(Handle inHandle, Size inByteCount);
// Frees the block and keeps the handle, whose master pointer becomes null. memPurErr when locked.
TOOLBOX_EXPORT void EmptyHandle(Handle inHandle);
// The handle whose block starts at inBlock, else null with memWZErr.
TOOLBOX_EXPORT Handle RecoverHandle(Ptr inBlock);

TOOLBOX_EXPORT void HLock(Handle inHandle);
TOOLBOX_EXPORT void HUnlock(Handle inHandle);
TOOLBOX_EXPORT void HLockHi(Handle inHandle);
TOOLBOX_EXPORT void HPurge(Handle inHandle);
TOOLBOX_EXPORT void HNoPurge(Handle inHandle);
TOOLBOX_EXPORT void HSetRBit(Handle inHandle);
TOOLBOX_EXPORT void HClrRBit(Handle inHandle);
TOOLBOX_EXPORT SInt8 HGetState(Handle inHandle);
TOOLBOX_EXPORT void HSetState(Handle inHandle, SInt8 inState);

// Copies: a new handle over bytes; a new handle in place of *ioHandle; bytes over an existing handle; bytes or a
// handle's contents appended.
TOOLBOX_EXPORT OSErr PtrToHand(const void* inSource, Handle* outHandle, Size inByteCount);
TOOLBOX_EXPORT OSErr HandToHand(Handle* ioHandle);
TOOLBOX_EXPORT OSErr PtrToXHand(const void* inSource, Handle inDestination, Size inByteCount);
TOOLBOX_EXPORT OSErr PtrAndHand(const void* inSource, Handle ioHandle, Size inByteCount);
TOOLBOX_EXPORT OSErr HandAndHand(Handle inSource, Handle ioDestination);

// Fixed blocks.
TOOLBOX_EXPORT Ptr NewPtr(Size inByteCount);
TOOLBOX_EXPORT Ptr NewPtrClear(Size inByteCount);
TOOLBOX_EXPORT void DisposePtr(Ptr inPtr);
TOOLBOX_EXPORT Size GetPtrSize(Ptr inPtr);
// Never moves the block: memFullErr when it cannot grow in place.
TOOLBOX_EXPORT void SetPtrSize(Ptr inPtr, Size inByteCount);

// Temporary memory: handles like any other, with the result in *outResult.
TOOLBOX_EXPORT Handle TempNewHandle(Size inByteCount, OSErr* outResult);
TOOLBOX_EXPORT Size TempFreeMem(void);
TOOLBOX_EXPORT Size TempMaxMem(Size* outGrow);

// The result of this thread's last Memory Manager call.
TOOLBOX_EXPORT OSErr MemError(void);

// Moves inByteCount bytes; the two may overlap.
TOOLBOX_EXPORT void BlockMove(const void* inSource, void* outDestination, Size inByteCount);
TOOLBOX_EXPORT void BlockMoveData(const void* inSource, void* outDestination, Size inByteCount);
TOOLBOX_EXPORT void BlockZero(void* outDestination, Size inByteCount);

// Host settings and observations, beside the historic interface.
// Bytes that all live blocks together may hold; an allocation past it fails with memFullErr. 0, the default: no
// limit but the system's. Set before other threads allocate.
TOOLBOX_EXPORT void SetMemoryLimit(UInt64 inByteCount);
TOOLBOX_EXPORT UInt64 GetMemoryInUse(void);     // bytes in live blocks
TOOLBOX_EXPORT UInt64 GetLiveHandleCount(void);
TOOLBOX_EXPORT UInt64 GetLivePtrCount(void);

TOOLBOX_EXTERN_C_END
