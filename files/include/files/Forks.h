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
