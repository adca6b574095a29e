#include "Run.h"

#include "Convert.h"
#include "Description.h"
#include "Failure.h"
#include "Jobs.h"
#include "Names.h"
#include "Output.h"
#include "Probe.h"
#include "Session.h"

#include <toolbox/Movies.h>
#include <unistd.h>

#include <algorithm>
#include <new>
#include <string>
#include <vector>

namespace tool {
namespace {

// In words that are there already: there is no memory to make others of.
int TellShortMemory() {
    constexpr char kText[] = "aac2wav: out of memory\n";
    [[maybe_unused]] const ssize_t written = ::write(STDERR_FILENO, kText, sizeof kText - 1);
    return EX_OSERR;
}

Ending Run(const Job& inJob, Session& ioSession) {
    if (inJob.refusal) throw *inJob.refusal;
    switch (ioSession.options.task) {
        case Task::kLength:
            return PrintLength(inJob, ioSession);
        case Task::kProbe:
            return Probe(inJob, ioSession);
        case Task::kConvert:
            break;
    }
    return Convert(inJob, ioSession);
}

Ending Tell(const Failure& inFailure, const Job& inJob, const Options& inOptions) {
    Say(inFailure.Subject(), inFailure.what());
    // Where standard output fails there is nothing to write JSON to.
    if (inOptions.isJSON && inFailure.Subject() != "standard output") {
        const bool isAboutInput = inFailure.Subject() == InputName(inJob.input);
        const std::string about =
            isAboutInput || inFailure.Subject().empty() ? "" : inFailure.Subject() + ": ";
        Print(FailureJSON(inJob.input, about + inFailure.what(), inJob.output));
    }
    return {inFailure.ExitCode(), false};
}

Ending RunAndTell(const Job& inJob, Session& ioSession) {
    try {
        try {
            return Run(inJob, ioSession);
        } catch (const Failure& failure) {
            return Tell(failure, inJob, ioSession.options);
        } catch (const std::bad_alloc&) {
            return Tell(Failure(EX_OSERR, InputName(inJob.input), "out of memory"), inJob, ioSession.options);
        }
    } catch (const Failure& failure) {
        Say(failure.Subject(), failure.what());
        return {failure.ExitCode(), false};
    } catch (const std::bad_alloc&) {
        return {TellShortMemory(), false};
    }
}

std::string Counted(std::size_t inCount, const char* inWhat) {
    return std::to_string(inCount) + ' ' + inWhat;
}

void TellSummary(std::size_t inCount, std::size_t inSkippedCount, std::size_t inFailedCount) {
    std::string text = Counted(inCount, inCount == 1 ? "file: " : "files: ") +
                       Counted(inCount - inSkippedCount - inFailedCount, "done");
    if (inSkippedCount > 0) text += ", " + Counted(inSkippedCount, "skipped");
    if (inFailedCount > 0) text += ", " + Counted(inFailedCount, "failed");
    Say({}, text);
}

int RunJobs(const std::vector<Job>& inJobs, Session& ioSession) {
    const Options& options = ioSession.options;
    int worst = EX_OK;
    std::size_t skippedCount = 0;
    std::size_t failedCount = 0;
    try {
        for (const Job& job : inJobs) {
            ++ioSession.number;
            const Ending ending = RunAndTell(job, ioSession);
            worst = std::max(worst, ending.exitCode);
            skippedCount += ending.isSkipped ? 1 : 0;
            failedCount += ending.exitCode != EX_OK ? 1 : 0;
        }
    } catch (const Quit&) {
        worst = std::max(worst, EX_CANTCREAT);
        failedCount += inJobs.size() - ioSession.number + 1;
    }
    if (options.isRecursive && !options.isQuiet) TellSummary(inJobs.size(), skippedCount, failedCount);
    return worst;
}

bool MayAsk(const Options& inOptions, const std::vector<Job>& inJobs) {
    const bool readsStandardInput =
        std::any_of(inJobs.begin(), inJobs.end(), [](const Job& job) { return job.input == "-"; });
    return !inOptions.isQuiet && !inOptions.isJSON && !readsStandardInput && HasTerminal();
}

bool IsInput(int inDescriptor, const std::vector<Job>& inJobs) {
    return std::any_of(inJobs.begin(), inJobs.end(),
                       [inDescriptor](const Job& job) { return LeadsInto(inDescriptor, job.input); });
}

// Of what makes no sense, every word may be meant as an input.
bool IsNamed(int inDescriptor, int inArgumentCount, const char* const* inArguments) {
    return std::any_of(inArguments + std::min(inArgumentCount, 1), inArguments + inArgumentCount,
                       [inDescriptor](const char* word) { return LeadsInto(inDescriptor, word); });
}

int RunAll(int inArgumentCount, const char* const* inArguments) {
    Options options;
    std::vector<Job> jobs;
    try {
        if (!ReadOptions(inArgumentCount, inArguments, options)) return EX_OK;
        jobs = PlanJobs(options);
    } catch (const Failure& failure) {
        if (!IsNamed(STDERR_FILENO, inArgumentCount, inArguments)) Say(failure.Subject(), failure.what());
        return failure.ExitCode();
    }
    // A message would stand in the input.
    if (IsInput(STDERR_FILENO, jobs)) return EX_USAGE;
    const bool isPrinting = options.task != Task::kConvert || options.isJSON;
    if (isPrinting && IsInput(STDOUT_FILENO, jobs)) {
        Say("standard output", "is an input and cannot be the output as well");
        return EX_USAGE;
    }
    Session session{options, Question(MayAsk(options, jobs)), 0, jobs.size()};
    EnterMovies();
    const int worst = RunJobs(jobs, session);
    ExitMovies();
    return worst;
}

}  // namespace

int RunCommand(int inArgumentCount, const char* const* inArguments) {
    try {
        return RunAll(inArgumentCount, inArguments);
    } catch (const std::bad_alloc&) {
        return TellShortMemory();
    }
}

}  // namespace tool
