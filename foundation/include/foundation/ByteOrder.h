// Byte order: swapping the bytes of 16-, 24-, 32- and 64-bit units in memory, and of single typed values.
//
// Every swap is its own inverse, and does the same permutation of bytes on every host. Buffers need no
// alignment.
#pragma once

#include <foundation/Int64.h>
#include <foundation/MirtalExport.h>
#include <toolbox/Files.h>
#include <toolbox/MacTypes.h>

// Blocks, in place. inByteCount counts bytes; bytes after the last whole unit stay as they are, and a count
// of zero or less does nothing.
MIRTAL_EXPORT void SwapBytesShort(void* ioData, long inByteCount);
MIRTAL_EXPORT void SwapBytesLong(void* ioData, long inByteCount);
// Reads and rewrites the one byte after the last unit: the caller must own it, and no other thread may write
// it.
MIRTAL_EXPORT void SwapBytes24(void* ioData, long inByteCount);
MIRTAL_EXPORT void SwapBytes64(void* ioData, long inByteCount);

// The 16-bit samples of inSectorCount (>= 0) CD audio sectors of 2352 bytes.
MIRTAL_EXPORT void SwapSectors(char* ioData, long inSectorCount);

// As the in-place forms, into outDst, which is inSrc itself or does not overlap it. Bytes after the last
// whole unit are not copied.
MIRTAL_EXPORT void BlockMoveDataSwappedShort(const void* inSrc, void* outDst, long inByteCount);
MIRTAL_EXPORT void BlockMoveDataSwappedLong(const void* inSrc, void* outDst, long inByteCount);
// For callers whose buffers are 16-byte aligned; the same functions.
MIRTAL_EXPORT void BlockMoveDataSwappedShortAltivecAligned(const void* inSrc, void* outDst, long inByteCount);
MIRTAL_EXPORT void BlockMoveDataSwappedLongAltivecAligned(const void* inSrc, void* outDst, long inByteCount);

class MIRTAL_EXPORT UPlatforms {
  public:
    static void Swap(unsigned short& ioValue);
    static void Swap(short& ioValue);
    // The four bytes of the 32-bit value that a long carries; the result is sign- or zero-extended again.
    static void Swap(long& ioValue);
    static void Swap(unsigned long& ioValue);
    static void Swap(long long& ioValue);
    static void Swap(unsigned long long& ioValue);
    static void Swap(Int64& ioValue);
    static void Swap(Rect& ioRect);
    // A name in either byte order: a length field over 255 as it stands is taken for a swapped one. At most
    // 255 characters are swapped.
    static void Swap(HFSUniStr255& ioName);
};
