// Forks copied, and the memory for it.
//
// Every function may be called on any thread.
#pragma once

#include <foundation/MirtalExport.h>
#include <toolbox/Files.h>
#include <toolbox/MacTypes.h>

#ifdef __cplusplus
extern "C" {
#endif

// Copies one open fork into another one, which gets its size, through a buffer; both marks are at the end
// then.
//   inBufferSize  bytes; of 4096 and more, a multiple of 4096 is used
// paramErr for no buffer or no bytes of it; else the first failure of toolbox/Forks.h, and the destination is
// what was written by then.
[[nodiscard]] MIRTAL_EXPORT OSErr FSCopyFork(SInt16 inSource, SInt16 inDestination, void* ioBuffer,
                                             ByteCount inBufferSize);

// The item of an open fork; outRef is untouched on failure.
[[nodiscard]] MIRTAL_EXPORT OSErr FileRefNumGetFSRef(SInt16 inFork, FSRef* outRef);

// The bytes of all forks of a file together, and those that they take on the volume. Each may be null; both
// are untouched on failure.
[[nodiscard]] MIRTAL_EXPORT OSErr FSGetTotalForkSizes(const FSRef* inRef, UInt64* outLogicalSize,
                                                      UInt64* outPhysicalSize);

// The bytes of a file's data and resource fork. Each may be null, and is not looked up then; both are
// untouched on failure. -1302 (notAFileErr) for a folder, paramErr for a null reference, and what
// FSGetCatalogInfo answers.
[[nodiscard]] MIRTAL_EXPORT OSErr FSGetForkSizes(const FSRef* inRef, UInt64* outDataSize,
                                                 UInt64* outResourceSize);

// A block to copy through, of inRequestedSize bytes, 4096 at the least; the caller frees it with DisposePtr.
// Where so much cannot be had, once more one of what the memory manager has left, in multiples of 4096 and
// but for 32 KB that stay free for others; 4096 bytes where that is none.
//   outActualSize  its size in bytes; 0 when there is none, and null is answered. When it is null itself, too
[[nodiscard]] MIRTAL_EXPORT Ptr GetTempBuffer(Size inRequestedSize, Size* outActualSize);

#ifdef __cplusplus
}
#endif
