#include "MoveBytes.h"

#include <strings/ByteBlocks.h>

#include <cstddef>
#include <cstring>

// Weak: a program that links both libraries statically has the toolbox's functions of these names, too, and
// either will do. BlockMoveData is here for those that find it by name; others have it in their own code.
extern "C" MIRTAL_EXPORT void BlockMoveDataByName(const void* inSource, void* outDestination,
                                                  long inByteCount) __asm__("BlockMoveData");
__attribute__((weak)) void BlockMoveDataByName(const void* inSource, void* outDestination, long inByteCount) {
    if (inByteCount > 0) MoveBytes(outDestination, inSource, static_cast<std::size_t>(inByteCount));
}

__attribute__((weak)) void BlockZero(void* outDestination, Size inByteCount) {
    if (inByteCount > 0) std::memset(outDestination, 0, static_cast<std::size_t>(inByteCount));
}

Boolean PMemEqual(const void* inLeft, const void* inRight, long inByteCount) {
    return inByteCount <= 0 || std::memcmp(inLeft, inRight, static_cast<std::size_t>(inByteCount)) == 0;
}
