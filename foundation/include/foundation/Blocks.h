// Blocks of bytes cleared and compared, and handles made ready. BlockMoveData, which moves them, is in
// strings/ByteBlocks.h.
#pragma once

#include <foundation/MirtalExport.h>

// Makes ready 64 master pointers for each of inMasterBlocks. A negative number makes none.
MIRTAL_EXPORT void InitializeHeap(short inMasterBlocks);

// Zeroes inByteCount bytes, of which none or less are none.
extern "C" MIRTAL_EXPORT void ClearMem(void* outData, long inByteCount);

// Whether the first inByteCount bytes are equal; those of nothing are.
MIRTAL_EXPORT bool BlocksAreEqual(const void* inLeft, const void* inRight, unsigned long inByteCount);

// The difference of the first bytes that differ, as unsigned bytes, left less right; 0 when none do.
MIRTAL_EXPORT long BlockCompare(const void* inLeft, const void* inRight, unsigned long inByteCount);
// The same for blocks of two lengths. When one begins with the other, left length less right length: the
// shorter sorts first.
MIRTAL_EXPORT long BlockCompare(const void* inLeft, const void* inRight, unsigned long inLeftByteCount,
                                unsigned long inRightByteCount);
