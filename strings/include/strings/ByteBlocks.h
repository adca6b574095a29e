// Blocks of bytes, moved, cleared and compared. Counts are bytes; with zero or less nothing is done, and
// nothing differs. Every function may be called on any thread.
#pragma once

#include <foundation/MirtalExport.h>
#include <toolbox/MacMemory.h>
#include <toolbox/MacTypes.h>

#ifdef __cplusplus
extern "C" {
#endif

// The library's own, under the toolbox's names: its strings need no toolbox for this. Source and destination
// may overlap.
MIRTAL_EXPORT void BlockMoveData(const void* inSource, void* outDestination, long inByteCount);
MIRTAL_EXPORT void BlockZero(void* outDestination, Size inByteCount);

MIRTAL_EXPORT Boolean PMemEqual(const void* inLeft, const void* inRight, long inByteCount);

#ifdef __cplusplus
}
#endif
