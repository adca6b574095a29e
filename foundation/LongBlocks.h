// Blocks of more than 64 bytes compared, whose time goes by how many bytes the processor takes at once. Every
// way answers the difference of the first bytes that differ, left less right; 0 when none do.
#pragma once

#include "BlockDifference.h"

// On any processor, by way of the C library's memcmp.
long CompareStretches(Bytes inLeft, Bytes inRight, unsigned long inByteCount);

#ifdef __x86_64__
// By vectors of 32 bytes, with AVX2.
long CompareVectors(Bytes inLeft, Bytes inRight, unsigned long inByteCount);
#endif

inline long CompareLong(Bytes inLeft, Bytes inRight, unsigned long inByteCount) {
#ifdef __x86_64__
    if (__builtin_cpu_supports("avx2")) [[likely]]
        return CompareVectors(inLeft, inRight, inByteCount);
#endif
    return CompareStretches(inLeft, inRight, inByteCount);
}
