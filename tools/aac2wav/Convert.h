// One input, converted.
#pragma once

#include "Jobs.h"
#include "Session.h"

namespace tool {

// EX_OK, or EX_DATAERR when sound was lost to damage and the options do not say to keep going: the output is
// whole and of the announced length all the same, unless it would have taken the place of a whole WAV file.
// Throws Failure, Interrupted or Quit, and nothing is then left behind.
Ending Convert(const Job& inJob, Session& ioSession);

// Prints the length of the stream that a conversion would give, exact beyond 32 bits.
Ending PrintLength(const Job& inJob, const Session& inSession);

}  // namespace tool
