#include "Jobs.h"

#include "Arguments.h"
#include "FolderWalk.h"
#include "Names.h"
#include "Output.h"
#include "WAVCheck.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <map>
#include <set>
#include <utility>

namespace tool {
namespace {

bool IsFolder(const std::string& inPath) {
    struct stat item {};
    return ::stat(inPath.c_str(), &item) == 0 && S_ISDIR(item.st_mode);
}

// A file, or what will be one.
bool IsFileOrNothing(const std::string& inPath) {
    struct stat item {};
    return ::stat(inPath.c_str(), &item) != 0 || S_ISREG(item.st_mode);
}

bool IsStandardOutput(const std::string& inName) {
    return inName == "-" || inName == "/dev/stdout" || inName == "/dev/fd/1" || inName == "/proc/self/fd/1";
}

bool IsStandardInput(const std::string& inName) {
    return inName == "-" || inName == "/dev/stdin" || inName == "/dev/fd/0" || inName == "/proc/self/fd/0";
}

// What a path means, however it is spelled: its folder, and its name there. Where the folder is not there
// yet, its text.
using Place = std::pair<std::optional<FileIdentity>, std::string>;

Place PlaceOf(const std::string& inPath) {
    const std::string folder = FolderOf(inPath);
    const std::optional<FileIdentity> identity = IdentityOf(folder.empty() ? "." : folder);
    return {identity, identity ? inPath.substr(folder.size()) : inPath};
}

// What is written when it is written to this path. Devices and pipes take whatever comes.
Place OutputPlaceOf(const std::string& inPath) {
    if (!IsFileOrNothing(inPath)) return {std::nullopt, inPath};
    try {
        return PlaceOf(FollowLinks(inPath));
    } catch (const Failure&) {
        return PlaceOf(inPath);  // a link to itself: the conversion will tell
    }
}

class Planner {
  public:
    explicit Planner(const Options& inOptions)
        : mOptions(inOptions), mInputs(inOptions.names), mExtension(inOptions.isRaw ? ".raw" : ".wav") {}

    std::vector<Job> Run() {
        SortNames();
        if (mOptions.task == Task::kConvert) ChooseOutput();
        if (std::count(mInputs.begin(), mInputs.end(), "-") > 1)
            throw UsageFailure("standard input is read once");
        for (const std::string& input : mInputs) {
            if (mOptions.isRecursive && input != "-" && IsFolder(input))
                PlanFolder(input);
            else
                PlanFile(input);
        }
        if (mOptions.task == Task::kConvert) {
            LeaveOutRepetitions();
            RefuseInputsAsOutputs();
            RefuseCollisions();
        }
        return std::move(mJobs);
    }

  private:
    // Of several names the last is the output's, unless an option has it.
    void SortNames() {
        mOutput = mOptions.output;
        if (mOptions.task == Task::kConvert && !mOutput && mInputs.size() > 1) {
            mOutput = mInputs.back();
            mInputs.pop_back();
            RefuseSlip(mInputs, *mOutput);
        }
        std::replace_if(mInputs.begin(), mInputs.end(), IsStandardInput, "-");
    }

    void ChooseOutput() {
        if (!mOutput && mInputs[0] == "-") mOutput = "-";
        if (mOutput && IsStandardOutput(*mOutput)) mOutput = "-";
        mIsToFolder = mOutput && *mOutput != "-" && IsFolder(*mOutput);
        if (mOutput && !mIsToFolder) CheckFile(*mOutput);
        if ((mOptions.hasWindow || mOptions.HasCut()) && (!mOutput || mIsToFolder)) {
            throw UsageFailure(
                "a part of the stream needs a name for the output: it is not the whole file's");
        }
    }

    // "*.wav" where two files match: the second was never meant to be replaced.
    void RefuseSlip(const std::vector<std::string>& inInputs, const std::string& inOutput) const {
        if (inInputs.size() != 1 || mOptions.replacesAnything || !IsTaken(inOutput)) return;
        const bool isSong = IsOtherFormat(inOutput) && AreFiles(inInputs[0], inOutput);
        if (!isSong && !AreOfOneKind(inInputs[0], inOutput)) return;
        const std::string reason = "exists, and may be an input: to convert both, name a folder behind them";
        throw Failure(EX_USAGE, inOutput, isSong ? reason : reason + "; -o takes it as the output");
    }

    static bool IsOtherFormat(const std::string& inName) {
        const std::string extension = ExtensionOf(inName);
        return IsSoundExtension(extension) && !IsWAVExtension(extension);
    }

    static bool AreFiles(const std::string& inInput, const std::string& inOutput) {
        return !IsStandardInput(inInput) && !IsStandardOutput(inOutput) && IsFileOrNothing(inInput) &&
               IsFileOrNothing(inOutput);
    }

    // Names that one pattern may have found. Many names of devices and pipes have no extension.
    static bool AreOfOneKind(const std::string& inInput, const std::string& inOutput) {
        const std::string ours = ExtensionOf(inInput);
        const std::string theirs = ExtensionOf(inOutput);
        if (ours.empty() && theirs.empty()) return AreFiles(inInput, inOutput);
        return ours == theirs || (IsWAVExtension(ours) && IsWAVExtension(theirs));
    }

    // One that all the inputs are to become.
    void CheckFile(const std::string& inOutput) const {
        const bool isFolderAmong =
            mOptions.isRecursive && std::any_of(mInputs.begin(), mInputs.end(), IsFolder);
        if (mInputs.size() > 1 || isFolderAmong) {
            const bool isThere = inOutput == "-" || IdentityOf(inOutput);
            throw isThere ? Failure(EX_USAGE, inOutput, "is no folder; several inputs need one")
                          : Failure(EX_CANTCREAT, inOutput, "no such folder");
        }
        if (inOutput == "-") {
            if (mOptions.isJSON) throw UsageFailure("standard output cannot take both the sound and --json");
            return;
        }
        if (mOptions.replacesAnything || !IsOtherFormat(inOutput) || !IsFileOrNothing(inOutput)) return;
        const std::string reason = "would be no " + ExtensionOf(inOutput) + " file: name it " +
                                   DerivedName(inOutput, {}, mExtension);
        // A song is not to be forced away.
        throw Failure(EX_USAGE, inOutput, IsTaken(inOutput) ? reason : reason + ", or --force it");
    }

    void PlanFile(const std::string& inInput) {
        Job job;
        job.input = inInput;
        if (mOptions.task == Task::kConvert) {
            job.isDerived = !mOutput || mIsToFolder;
            if (!job.isDerived) {
                job.output = *mOutput;
            } else if (inInput == "-") {
                job.refusal = Failure(EX_USAGE, InputName(inInput), "has no name to make the output's of");
            } else {
                job.output =
                    DerivedName(inInput, mIsToFolder ? AsFolder(*mOutput) : FolderOf(inInput), mExtension);
            }
        }
        mJobs.push_back(std::move(job));
    }

    void PlanFolder(const std::string& inFolder) {
        std::optional<FileIdentity> output = mIsToFolder ? IdentityOf(*mOutput) : std::nullopt;
        // Into the folder itself is beside the inputs.
        const bool isBeside = !mIsToFolder || output == IdentityOf(inFolder);
        if (isBeside) output.reset();
        std::vector<Failure> failures;
        std::vector<FoundFile> files = FindSoundFiles(inFolder, output, failures);
        if (mOptions.task == Task::kConvert) LeaveOutDerived(files, isBeside);
        for (const FoundFile& file : files) {
            Job job;
            job.input = file.path;
            if (mOptions.task == Task::kConvert) {
                const std::string folder =
                    isBeside ? FolderOf(file.path) : AsFolder(*mOutput) + file.relativeFolder;
                job.output = DerivedName(file.path, folder, mExtension);
                job.isDerived = true;
                job.makesFolders = !isBeside;
            }
            mJobs.push_back(std::move(job));
        }
        for (Failure& failure : failures) {
            Job job;
            job.input = failure.Subject();
            job.refusal = std::move(failure);
            mJobs.push_back(std::move(job));
        }
    }

    // What an earlier run has made is no input of this one: beside the inputs that is every WAV file; into
    // another folder, those that look like ours and lie where one would be made.
    void LeaveOutDerived(std::vector<FoundFile>& ioFiles, bool inIsBeside) const {
        std::set<std::string> derived;
        for (const FoundFile& file : ioFiles) {
            if (!IsWAVExtension(ExtensionOf(file.path)))
                derived.insert(DerivedName(file.path, FolderOf(file.path), ".wav"));
        }
        const auto isLeftOut = [&](const FoundFile& inFile) {
            if (!IsWAVExtension(ExtensionOf(inFile.path))) return false;
            if (inIsBeside && !mOptions.isRaw) return true;
            return derived.count(inFile.path) != 0 && LooksLikeOurs(inFile.path);
        };
        ioFiles.erase(std::remove_if(ioFiles.begin(), ioFiles.end(), isLeftOut), ioFiles.end());
    }

    static bool LooksLikeOurs(const std::string& inPath) {
        try {
            return CheckWAV(inPath, inPath).isOurs;
        } catch (const Failure&) {
            return false;  // the conversion will tell why it cannot be read
        }
    }

    // One input, named twice and to become the same, is converted once.
    void LeaveOutRepetitions() {
        std::set<std::pair<Place, Place>> seen;
        const auto isRepeated = [&seen](const Job& inJob) {
            return !seen.emplace(PlaceOf(inJob.input), PlaceOf(inJob.output)).second;
        };
        mJobs.erase(std::remove_if(mJobs.begin(), mJobs.end(), isRepeated), mJobs.end());
    }

    void RefuseInputsAsOutputs() {
        std::set<FileIdentity> inputs;
        for (const Job& job : mJobs) {
            struct stat item {};
            const bool isThere =
                job.input == "-" ? ::fstat(STDIN_FILENO, &item) == 0 : ::stat(job.input.c_str(), &item) == 0;
            if (isThere && S_ISREG(item.st_mode)) inputs.emplace(item.st_dev, item.st_ino);
        }
        for (Job& job : mJobs) {
            struct stat item {};
            const bool isStandard = job.output == "-";
            const bool isThere =
                isStandard ? ::fstat(STDOUT_FILENO, &item) == 0 : ::stat(job.output.c_str(), &item) == 0;
            if (!job.refusal && isThere && inputs.count({item.st_dev, item.st_ino}) != 0) {
                job.refusal = Failure(EX_USAGE, isStandard ? "standard output" : job.output,
                                      "is an input and cannot be the output as well");
            }
        }
    }

    // None of the inputs of one name is better than the others.
    void RefuseCollisions() {
        std::map<Place, std::vector<Job*>> makers;
        for (Job& job : mJobs) {
            // What exists already is made of none.
            const bool isMade =
                !job.output.empty() && job.output != "-" && !(mOptions.skipsExisting && IsTaken(job.output));
            if (isMade) makers[OutputPlaceOf(job.output)].push_back(&job);
        }
        for (const auto& [place, jobs] : makers) {
            if (jobs.size() < 2) continue;
            const std::string reason = "would be made of both " + jobs[0]->input + " and " + jobs[1]->input +
                                       ", and is made of neither";
            for (Job* const job : jobs) {
                if (!job->refusal) job->refusal = Failure(EX_CANTCREAT, job->output, reason);
            }
        }
    }

    const Options& mOptions;
    std::vector<std::string> mInputs;
    std::string mExtension;
    std::optional<std::string> mOutput;  // nothing: beside each input
    bool mIsToFolder = false;
    std::vector<Job> mJobs;
};

}  // namespace

bool LeadsInto(int inDescriptor, const std::string& inInput) {
    struct stat open {};
    struct stat input {};
    const bool isThere =
        IsStandardInput(inInput) ? ::fstat(STDIN_FILENO, &input) == 0 : ::stat(inInput.c_str(), &input) == 0;
    return isThere && S_ISREG(input.st_mode) && ::fstat(inDescriptor, &open) == 0 &&
           open.st_dev == input.st_dev && open.st_ino == input.st_ino;
}

std::vector<Job> PlanJobs(const Options& inOptions) {
    return Planner(inOptions).Run();
}

}  // namespace tool
