#include "Options.h"

#include "Arguments.h"
#include "Failure.h"
#include "Output.h"

#include <algorithm>
#include <charconv>
#include <limits>
#include <string_view>
#include <system_error>
#include <utility>

namespace tool {

namespace {

constexpr char kUsage[] =
    "Usage: aac2wav [OPTIONS] IN [OUT]\n"
    "       aac2wav [OPTIONS] IN... FOLDER\n"
    "       aac2wav [OPTIONS] -o OUT IN...\n"
    "Converts AAC files, and any sound file that it can read, to WAV: 16-bit stereo at the file's own "
    "rate.\n\n"
    "OUT is a file, a folder, or - for standard output; left out, each file is made beside its input, if\n"
    "nothing has that name. IN may be - for standard input, which then goes to standard output.\n\n";

// The texts of the options that have values.
struct Values {
    std::optional<std::string> start;
    std::optional<std::string> duration;
    std::optional<std::string> from;
    std::optional<std::string> to;
    std::optional<std::string> cutLength;
    std::optional<std::string> spoolLimit;
    std::optional<std::string> track;
};

struct Switches {
    bool isLength = false;
    bool isProbe = false;
    bool isHelp = false;
    bool isVersion = false;
};

std::vector<ArgumentOption> TableOf(Options& outOptions, Values& outValues, Switches& outSwitches) {
    return {
        {'o', "output", "OUT", "Write there; every other name is an input", &outOptions.output},
        {0, "from", "TIME", "Begin at this time: 90, 1:30.5, 1:02:03, or frames: 44100f", &outValues.from},
        {0, "to", "TIME", "End before this time", &outValues.to},
        {0, "for", "TIME", "End so long after the beginning", &outValues.cutLength},
        {0, "start", "BYTES", "Begin at this byte of the stream", &outValues.start},
        {0, "duration", "BYTES", "Bound the window of bytes; 0 or less: to the end", &outValues.duration},
        {0, "track", "N", "Take this of the file's sound tracks, counted from 1", &outValues.track},
        {0, "raw", nullptr, "Write samples only, no header", &outOptions.isRaw},
        {0, "rf64", nullptr, "Write an RF64 header, which counts beyond 4 GiB", &outOptions.isRF64},
        {0, "tags", nullptr, "Keep title, artist and the like, behind the samples", &outOptions.hasTags},
        {0, "length", nullptr, "Print the stream's length in bytes; decode nothing", &outSwitches.isLength},
        {0, "probe", nullptr, "Decode everything and describe it; write nothing", &outSwitches.isProbe},
        {0, "json", nullptr, "Print one JSON object for each file, on its own line", &outOptions.isJSON},
        {'r', "recursive", nullptr, "Take folders as inputs: all the sound files in them",
         &outOptions.isRecursive},
        {0, "force", nullptr, "Replace whatever has the output's name", &outOptions.replacesAnything},
        {0, "no-clobber", nullptr, "Skip what has its output already", &outOptions.skipsExisting},
        {0, "keep-going", nullptr, "Damage in an input is no failure", &outOptions.keepsGoing},
        {0, "preserve", nullptr, "Give the output the time of the input", &outOptions.keepsTime},
        {0, "sync", nullptr, "Wait until the disk has the output", &outOptions.isSynced},
        {0, "spool-limit", "BYTES", "Take so much from a pipe: bytes, or with K, M, G or T (4G unless told)",
         &outValues.spoolLimit},
        {'q', "quiet", nullptr, "Print errors only", &outOptions.isQuiet},
        {'V', "version", nullptr, "Print the version and exit", &outSwitches.isVersion, true},
        {'h', "help", nullptr, "Print this help and exit", &outSwitches.isHelp, true},
    };
}

// All of the text as a number, or nothing.
std::optional<std::int64_t> NumberOf(const std::string& inText) {
    std::int64_t number = 0;
    const char* const end = inText.data() + inText.size();
    const auto [stop, error] = std::from_chars(inText.data(), end, number);
    return error != std::errc() || stop != end ? std::nullopt : std::optional(number);
}

std::int64_t ReadBytes(const char* inOption, const std::string& inText, std::int64_t inLeast) {
    const auto number = NumberOf(inText);
    if (!number || *number < inLeast)
        throw UsageFailure(std::string(inOption) + " needs a number of bytes, not " + inText);
    return *number;
}

std::int32_t ReadTrack(const std::string& inText) {
    const auto number = NumberOf(inText);
    if (!number || *number < 1 || *number > std::numeric_limits<std::int32_t>::max())
        throw UsageFailure("--track needs a number from 1 on, not " + inText);
    return static_cast<std::int32_t>(*number);
}

// "500M": a letter for powers of 1024.
std::int64_t ReadLimit(const std::string& inText) {
    constexpr std::string_view kUnits = "KMGT";
    const std::size_t unit = inText.empty() ? kUnits.npos : kUnits.find(inText.back());
    const bool hasUnit = unit != kUnits.npos;
    const int shift = hasUnit ? static_cast<int>(unit + 1) * 10 : 0;
    const auto number = NumberOf(inText.substr(0, inText.size() - (hasUnit ? 1 : 0)));
    if (!number || *number < 0 || *number > std::numeric_limits<std::int64_t>::max() >> shift)
        throw UsageFailure("--spool-limit needs a number of bytes, as 500000000 or 500M, not " + inText);
    return *number << shift;
}

std::optional<StreamTime> ReadTimeOf(const char* inOption, const std::optional<std::string>& inText) {
    if (!inText) return std::nullopt;
    const auto time = ReadTime(*inText);
    if (!time) {
        throw UsageFailure(std::string(inOption) + " needs a time, as 90, 1:30.5, 1:02:03 or 44100f, not " +
                           *inText);
    }
    return time;
}

void ReadValues(const Values& inValues, Options& outOptions) {
    constexpr std::int64_t kAnyNumber = std::numeric_limits<std::int64_t>::min();
    if (inValues.start) outOptions.startBytes = ReadBytes("--start", *inValues.start, 0);
    if (inValues.duration) outOptions.durationBytes = ReadBytes("--duration", *inValues.duration, kAnyNumber);
    outOptions.hasWindow = inValues.start || inValues.duration;
    outOptions.from = ReadTimeOf("--from", inValues.from);
    outOptions.to = ReadTimeOf("--to", inValues.to);
    outOptions.cutLength = ReadTimeOf("--for", inValues.cutLength);
    if (inValues.track) outOptions.soundTrack = ReadTrack(*inValues.track);
    if (inValues.spoolLimit) outOptions.spoolLimitBytes = ReadLimit(*inValues.spoolLimit);
}

void Refuse(bool inIsRefused, const char* inReason) {
    if (inIsRefused) throw UsageFailure(inReason);
}

void CheckCombination(const Options& inOptions) {
    const bool isConversion = inOptions.task == Task::kConvert;
    const bool hasByteWindow = inOptions.hasWindow;
    Refuse(inOptions.to && inOptions.cutLength, "--to and --for both tell the end");
    Refuse(hasByteWindow && inOptions.HasCut(),
           "--start and --duration count bytes and go with neither --from, --to nor --for");
    Refuse(hasByteWindow && !isConversion, "--start and --duration go with neither --length nor --probe");
    Refuse(hasByteWindow && (inOptions.isRF64 || inOptions.isRaw),
           "--start and --duration go with neither --rf64 nor --raw");
    Refuse(inOptions.isRaw && inOptions.isRF64, "--raw has no header, and --rf64 is one");
    Refuse(inOptions.hasTags && (hasByteWindow || inOptions.isRaw),
           "--tags goes with neither --start, --duration nor --raw");
    Refuse(inOptions.isJSON && inOptions.task == Task::kLength, "--json does not go with --length");
    Refuse(inOptions.replacesAnything && inOptions.skipsExisting,
           "--force and --no-clobber say the opposite");
    Refuse(inOptions.output && !isConversion, "--output goes with neither --length nor --probe");
    Refuse(inOptions.task == Task::kLength && (inOptions.names.size() != 1 || inOptions.isRecursive),
           "--length takes one file");
}

void CheckNames(const Options& inOptions) {
    Refuse(inOptions.names.empty(), "name a file to convert");
    Refuse(std::any_of(inOptions.names.begin(), inOptions.names.end(),
                       [](const std::string& name) { return name.empty(); }) ||
               (inOptions.output && inOptions.output->empty()),
           "a file name is empty");
}

}  // namespace

bool ReadOptions(int inArgumentCount, const char* const* inArguments, Options& outOptions) {
    Values values;
    Switches switches;
    const std::vector<ArgumentOption> table = TableOf(outOptions, values, switches);
    ReadArguments(inArgumentCount, inArguments, table, outOptions.names);
    if (switches.isHelp || switches.isVersion) {
        Print(switches.isHelp ? kUsage + OptionsHelp(table) : "aac2wav " MIRTAL_VERSION "\n");
        return false;
    }
    Refuse(switches.isLength && switches.isProbe, "--length and --probe are two tasks");
    outOptions.task = switches.isLength ? Task::kLength : switches.isProbe ? Task::kProbe : Task::kConvert;
    ReadValues(values, outOptions);
    CheckNames(outOptions);
    CheckCombination(outOptions);
    return true;
}

}  // namespace tool
