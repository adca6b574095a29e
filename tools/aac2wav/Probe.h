// A description of an input, from its headers and from decoding all of it.
#pragma once

#include "Options.h"

#include <toolbox/SoundReport.h>

#include <string>

namespace tool {

struct Description {
    std::string path;
    MovieSoundReport report;
    SInt32 streamRateHz;
    SInt64 streamFrameCount;
    SInt64 streamByteCount;
};

// Several lines for people, or one line of JSON; each ends in a line end.
std::string DescriptionText(const Description& inDescription);
std::string DescriptionJSON(const Description& inDescription);
// One line of JSON that tells why there is no description.
std::string FailureJSON(const std::string& inPath, const std::string& inReason);

// Decodes the input and prints its description on standard output. Returns as Convert does. Throws Failure or
// Interrupted; with --json a failure of the input is printed as well.
int Probe(const Job& inJob, const Options& inOptions);

}  // namespace tool
