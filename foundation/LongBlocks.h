// Blocks of more than 64 bytes compared, whose time goes by how many bytes the processor takes at once.
#pragma once

#include "BlockDifference.h"

// Either way the difference of the first bytes that differ, left less right; 0 when none do.
// By vectors of 32 bytes where the processor has them, else by stretches.
long CompareLong(Bytes inLeft, Bytes inRight, unsigned long inByteCount);
// On any processor, by way of the C library's memcmp.
long CompareStretches(Bytes inLeft, Bytes inRight, unsigned long inByteCount);
