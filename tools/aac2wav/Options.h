// The command line, read and checked as far as its words tell.
#pragma once

#include "TimeText.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace tool {

enum class Task { kConvert, kLength, kProbe };

struct Options {
    Task task = Task::kConvert;
    std::vector<std::string> names;     // as given; never empty, nor is one of them
    std::optional<std::string> output;  // of -o: all the names are inputs then

    bool hasWindow = false;          // of bytes
    std::int64_t startBytes = 0;     // >= 0
    std::int64_t durationBytes = 0;  // <= 0: to the end
    std::optional<StreamTime> from;
    std::optional<StreamTime> to;  // never together with cutLength
    std::optional<StreamTime> cutLength;

    std::int32_t soundTrack = 0;  // which one, from 1; 0: the first

    bool isRF64 = false;
    bool isRaw = false;  // no header at all
    bool hasTags = false;
    bool isJSON = false;
    bool isQuiet = false;
    bool keepsGoing = false;
    bool replacesAnything = false;
    bool skipsExisting = false;
    bool isRecursive = false;
    bool keepsTime = false;
    bool isSynced = false;
    std::int64_t spoolLimitBytes = std::int64_t{4} << 30;

    bool HasCut() const { return from || to || cutLength; }
    // What is delivered does not begin with a header.
    bool IsHeaderless() const { return isRaw || (hasWindow && startBytes > 0); }
};

// False when the command line asked only for help or the version, which is then printed. Throws Failure:
// EX_USAGE, EX_IOERR.
bool ReadOptions(int inArgumentCount, const char* const* inArguments, Options& outOptions);

}  // namespace tool
