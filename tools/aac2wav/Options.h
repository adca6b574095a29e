// The command line as a plan of work.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace tool {

enum class Task { kConvert, kLength, kProbe };

struct Job {
    std::string input;
    std::string output;  // "-" for standard output; empty unless converting
};

struct Options {
    Task task = Task::kConvert;
    std::vector<Job> jobs;  // never empty
    bool hasWindow = false;
    std::int64_t startBytes = 0;     // >= 0
    std::int64_t durationBytes = 0;  // <= 0: to the end
    bool isRF64 = false;
    bool isJSON = false;
    bool isQuiet = false;
    bool keepsGoing = false;
    bool replacesAnything = false;
};

// False when the command line asked only for help or the version, which is then printed. Throws Failure:
// EX_USAGE, EX_CANTCREAT when the output folder is missing, EX_IOERR.
bool ReadOptions(int inArgumentCount, const char* const* inArguments, Options& outOptions);

// The name of the WAV file made of an input: in inFolder (empty, or ending in a slash), its extension
// replaced. What follows the last dot counts as one when it is one to five letters and digits.
std::string WAVName(const std::string& inInput, const std::string& inFolder);

}  // namespace tool
