// A description of an input, from its headers and from decoding all of it.
#pragma once

#include "Jobs.h"
#include "Session.h"

namespace tool {

// Decodes the input and prints its description on standard output. Ends as Convert does. Throws Failure or
// Interrupted.
Ending Probe(const Job& inJob, const Session& inSession);

}  // namespace tool
