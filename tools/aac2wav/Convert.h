// One input, converted.
#pragma once

#include "Options.h"

namespace tool {

// 0, or EX_DATAERR when sound was lost to damage and the options do not say to keep going: the output is
// whole and of the announced length all the same. Throws Failure or Interrupted, and nothing is then left
// behind.
int Convert(const Job& inJob, const Options& inOptions);

// Prints the length of the stream that a conversion would give, exact beyond 32 bits.
void PrintLength(const Job& inJob, const Options& inOptions);

}  // namespace tool
