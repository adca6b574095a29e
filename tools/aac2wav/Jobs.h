// The command line as a plan of work, after a look at the disk.
#pragma once

#include "Failure.h"
#include "Options.h"

#include <optional>
#include <string>
#include <vector>

namespace tool {

struct Job {
    std::string input;       // "-" for standard input
    std::string output;      // "-" for standard output; empty unless converting
    bool isDerived = false;  // nobody typed the output's name
    bool makesFolders = false;
    std::optional<Failure> refusal;  // why nothing is done about it
};

// Whether what is written to the descriptor goes into that file; "-" is the one that standard input reads.
bool LeadsInto(int inDescriptor, const std::string& inInput);

// What is wrong with one file is its job's refusal; only what makes no sense at all is thrown. Throws
// Failure: EX_USAGE, EX_CANTCREAT when the output folder is missing; and Interrupted.
std::vector<Job> PlanJobs(const Options& inOptions);

}  // namespace tool
