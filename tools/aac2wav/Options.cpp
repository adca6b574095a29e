#include "Options.h"

#include "Failure.h"
#include "Output.h"

#include <sys/stat.h>
#include <unistd.h>

#include <CLI/CLI.hpp>

#include <algorithm>
#include <charconv>
#include <limits>
#include <map>
#include <set>
#include <string_view>
#include <system_error>
#include <utility>

namespace tool {

namespace {

constexpr char kDescription[] =
    "Converts AAC files, and any sound file that it can read, to WAV: 16-bit stereo at the file's own rate.";
constexpr char kFooter[] =
    "OUT is a file, a folder, or - for standard output; left out, each file is made beside its input.\n"
    "Several inputs need a folder: aac2wav a.m4a b.m4a folder/";

bool IsFolder(const std::string& inPath) {
    struct stat item {};
    return ::stat(inPath.c_str(), &item) == 0 && S_ISDIR(item.st_mode);
}

bool Exists(const std::string& inPath) {
    struct stat item {};
    return ::stat(inPath.c_str(), &item) == 0;
}

std::string FolderOf(const std::string& inPath) {
    const std::size_t slash = inPath.rfind('/');
    return slash == std::string::npos ? std::string() : inPath.substr(0, slash + 1);
}

std::string AsFolder(const std::string& inPath) {
    return inPath.back() == '/' ? inPath : inPath + '/';
}

// Inputs and their outputs from the names given, the last being the output when there are two or more.
std::vector<Job> PlanConversions(std::vector<std::string> inNames) {
    std::vector<Job> jobs;
    if (inNames.size() == 1) {
        jobs.push_back({inNames[0], WAVName(inNames[0], FolderOf(inNames[0]))});
        return jobs;
    }
    const std::string output = inNames.back();
    inNames.pop_back();
    if (IsFolder(output)) {
        for (const std::string& input : inNames) {
            jobs.push_back({input, WAVName(input, AsFolder(output))});
        }
        return jobs;
    }
    if (inNames.size() > 1) {
        throw Exists(output) || output == "-"
            ? Failure(EX_USAGE, output, "is no folder; several inputs need one")
            : Failure(EX_CANTCREAT, output, "no such folder");
    }
    jobs.push_back({inNames[0], output});
    return jobs;
}

// No output may be an input or another output: nothing is lost by a slip in the names.
void RefuseCollisions(const std::vector<Job>& inJobs) {
    using Identity = std::pair<dev_t, ino_t>;
    std::set<Identity> inputs;
    struct stat item {};
    for (const Job& job : inJobs) {
        if (::stat(job.input.c_str(), &item) == 0) {
            inputs.emplace(item.st_dev, item.st_ino);
        }
    }
    std::map<std::string, std::string> outputs;
    for (const Job& job : inJobs) {
        if (job.output == "-") {
            continue;
        }
        if (::stat(job.output.c_str(), &item) == 0 && inputs.count({item.st_dev, item.st_ino}) != 0) {
            throw Failure(EX_USAGE, job.output, "is an input and cannot be the output as well");
        }
        const auto [place, isNew] = outputs.emplace(job.output, job.input);
        if (!isNew) {
            throw Failure(EX_USAGE, job.output,
                          "would be made of both " + place->second + " and " + job.input);
        }
    }
}

// All of the text as a number. The parser's own reading would pin what is too large, and take nothing for 0.
std::int64_t ReadNumber(const char* inOption, const std::string& inText, std::int64_t inLeast) {
    std::int64_t number = 0;
    const char* const end = inText.data() + inText.size();
    const auto [stop, error] = std::from_chars(inText.data(), end, number);
    if (error != std::errc() || stop != end || number < inLeast) {
        throw Failure(EX_USAGE, {}, std::string(inOption) + ": no number of bytes: " + inText);
    }
    return number;
}

// The argument that an unknown option was found in: the parser takes -qx apart and tells only -x.
std::string ArgumentOf(const std::string& inOption, int inArgumentCount, const char* const* inArguments) {
    std::string whole = inOption;
    for (int at = inArgumentCount - 1; at > 0; --at) {
        const std::string argument = inArguments[at];
        if (argument == inOption) {
            return argument;
        }
        const std::string_view letters = std::string_view(inOption).substr(1);
        const bool isEnd =
            argument.size() > letters.size() &&
            argument.compare(argument.size() - letters.size(), std::string::npos, letters) == 0;
        if (isEnd && argument[0] == '-' && argument[1] != '-') {
            whole = argument;
        }
    }
    return whole;
}

Failure UsageFailure(const CLI::App& inApp, const CLI::ParseError& inError, int inArgumentCount,
                     const char* const* inArguments) {
    for (const std::string& rest : inApp.remaining()) {
        if (rest.size() > 1 && rest[0] == '-') {
            const std::string argument = ArgumentOf(rest, inArgumentCount, inArguments);
            return Failure(EX_USAGE, argument, "no such option (a file of that name: ./" + argument + ")");
        }
    }
    return Failure(EX_USAGE, {}, std::string(inError.what()) + " (see aac2wav --help)");
}

void CheckCombination(const Options& inOptions, std::size_t inNameCount) {
    const bool isConversion = inOptions.task == Task::kConvert;
    if (inOptions.hasWindow && (!isConversion || inOptions.isRF64)) {
        throw Failure(EX_USAGE, {}, "--start and --duration go with neither --length, --probe nor --rf64");
    }
    if (inOptions.isJSON && inOptions.task != Task::kProbe) {
        throw Failure(EX_USAGE, {}, "--json goes with --probe");
    }
    if (inOptions.task == Task::kLength && inNameCount != 1) {
        throw Failure(EX_USAGE, {}, "--length takes one file");
    }
}

}  // namespace

std::string WAVName(const std::string& inInput, const std::string& inFolder) {
    std::string name = inInput.substr(inInput.rfind('/') + 1);
    const std::size_t dot = name.rfind('.');
    if (dot != std::string::npos && dot > 0) {
        const std::string extension = name.substr(dot + 1);
        const bool isWord = std::all_of(extension.begin(), extension.end(), [](char inCharacter) {
            return (inCharacter >= '0' && inCharacter <= '9') || (inCharacter >= 'a' && inCharacter <= 'z') ||
                   (inCharacter >= 'A' && inCharacter <= 'Z');
        });
        if (isWord && !extension.empty() && extension.size() <= 5) {
            name.resize(dot);
        }
    }
    return inFolder + name + ".wav";
}

bool ReadOptions(int inArgumentCount, const char* const* inArguments, Options& outOptions) {
    CLI::App app(kDescription, "aac2wav");
    app.footer(kFooter);
    app.set_version_flag("-V,--version", "aac2wav " MIRTAL_VERSION, "Print the version and exit");
    app.set_help_flag("-h,--help", "Print this help and exit");

    std::vector<std::string> names;
    bool isLength = false;
    bool isProbe = false;
    app.add_option("IN", names, "Files to convert; with two or more names, the last is the output")
        ->type_name("")
        ->required();
    std::string start;
    std::string duration;
    CLI::Option* startOption =
        app.add_option("--start", start, "Begin at this byte of the stream")->type_name("BYTES");
    CLI::Option* durationOption =
        app.add_option("--duration", duration, "Bound the window; 0 or less: to the end")->type_name("BYTES");
    CLI::Option* length =
        app.add_flag("--length", isLength, "Print the stream's length in bytes; decode nothing");
    app.add_flag("--probe", isProbe, "Decode everything and describe it; write nothing")->excludes(length);
    app.add_flag("--json", outOptions.isJSON, "With --probe: one JSON object for each file, on its own line");
    app.add_flag("--rf64", outOptions.isRF64, "Write an RF64 header, which counts beyond 4 GiB");
    app.add_flag("--keep-going", outOptions.keepsGoing, "Damage in an input is no failure");
    app.add_flag("--force", outOptions.replacesAnything, "Replace an output that is no WAV file");
    app.add_flag("-q,--quiet", outOptions.isQuiet, "Print errors only");

    try {
        app.parse(inArgumentCount, inArguments);
    } catch (const CLI::CallForHelp&) {
        const std::string help = app.help();
        WriteAll(STDOUT_FILENO, help.data(), help.size(), "standard output");
        return false;
    } catch (const CLI::CallForVersion& version) {
        const std::string line = std::string(version.what()) + '\n';
        WriteAll(STDOUT_FILENO, line.data(), line.size(), "standard output");
        return false;
    } catch (const CLI::ParseError& error) {
        throw UsageFailure(app, error, inArgumentCount, inArguments);
    }

    outOptions.task = isLength ? Task::kLength : isProbe ? Task::kProbe : Task::kConvert;
    if (startOption->count() > 0) {
        outOptions.startBytes = ReadNumber("--start", start, 0);
        outOptions.hasWindow = true;
    }
    if (durationOption->count() > 0) {
        outOptions.durationBytes =
            ReadNumber("--duration", duration, std::numeric_limits<std::int64_t>::min());
        outOptions.hasWindow = true;
    }
    CheckCombination(outOptions, names.size());
    if (std::any_of(names.begin(), names.end(), [](const std::string& name) { return name.empty(); })) {
        throw Failure(EX_USAGE, {}, "a file name is empty");
    }
    if (outOptions.task == Task::kConvert) {
        outOptions.jobs = PlanConversions(std::move(names));
        RefuseCollisions(outOptions.jobs);
        return true;
    }
    for (std::string& name : names) {
        outOptions.jobs.push_back({std::move(name), {}});
    }
    return true;
}

}  // namespace tool
