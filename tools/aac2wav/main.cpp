// aac2wav: the conversion library as a command. See aac2wav(1).
#include "Convert.h"
#include "Description.h"
#include "Failure.h"
#include "Jobs.h"
#include "Names.h"
#include "Output.h"
#include "Probe.h"
#include "Session.h"
#include "Signals.h"

#include <fcntl.h>
#include <toolbox/Movies.h>
#include <unistd.h>

#include <algorithm>
#include <new>

namespace {

// A standard stream that was closed must not become an input's descriptor. Opened the wrong way round, so
// that using it still fails.
void HoldStandardStreams() {
    for (int descriptor = STDIN_FILENO; descriptor <= STDERR_FILENO; ++descriptor) {
        if (::fcntl(descriptor, F_GETFD) < 0 &&
            ::open("/dev/null", descriptor == STDIN_FILENO ? O_WRONLY : O_RDONLY) < 0)
            ::_exit(EX_OSERR);
    }
}

tool::Ending Run(const tool::Job& inJob, tool::Session& ioSession) {
    if (inJob.refusal) throw *inJob.refusal;
    switch (ioSession.options.task) {
        case tool::Task::kLength:
            return tool::PrintLength(inJob, ioSession);
        case tool::Task::kProbe:
            return tool::Probe(inJob, ioSession);
        case tool::Task::kConvert:
            break;
    }
    return tool::Convert(inJob, ioSession);
}

tool::Ending Tell(const tool::Failure& inFailure, const tool::Job& inJob, const tool::Options& inOptions) {
    tool::Say(inFailure.Subject(), inFailure.what());
    // Where standard output fails there is nothing to write JSON to.
    if (inOptions.isJSON && inFailure.Subject() != "standard output") {
        const bool isAboutInput = inFailure.Subject() == tool::InputName(inJob.input);
        const std::string about =
            isAboutInput || inFailure.Subject().empty() ? "" : inFailure.Subject() + ": ";
        tool::Print(tool::FailureJSON(inJob.input, about + inFailure.what(), inJob.output));
    }
    return {inFailure.ExitCode(), false};
}

tool::Ending RunAndTell(const tool::Job& inJob, tool::Session& ioSession) {
    try {
        try {
            return Run(inJob, ioSession);
        } catch (const tool::Failure& failure) {
            return Tell(failure, inJob, ioSession.options);
        } catch (const std::bad_alloc&) {
            return Tell(tool::Failure(EX_OSERR, tool::InputName(inJob.input), "out of memory"), inJob,
                        ioSession.options);
        }
    } catch (const tool::Failure& failure) {
        tool::Say(failure.Subject(), failure.what());
        return {failure.ExitCode(), false};
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
    tool::Say({}, text);
}

int RunJobs(const std::vector<tool::Job>& inJobs, tool::Session& ioSession) {
    const tool::Options& options = ioSession.options;
    int worst = EX_OK;
    std::size_t skippedCount = 0;
    std::size_t failedCount = 0;
    try {
        for (const tool::Job& job : inJobs) {
            ++ioSession.number;
            const tool::Ending ending = RunAndTell(job, ioSession);
            worst = std::max(worst, ending.exitCode);
            skippedCount += ending.isSkipped ? 1 : 0;
            failedCount += ending.exitCode != EX_OK ? 1 : 0;
        }
    } catch (const tool::Quit&) {
        worst = std::max(worst, EX_CANTCREAT);
        failedCount += inJobs.size() - ioSession.number + 1;
    }
    if (options.isRecursive && !options.isQuiet) TellSummary(inJobs.size(), skippedCount, failedCount);
    return worst;
}

bool MayAsk(const tool::Options& inOptions) {
    const bool readsStandardInput =
        std::find(inOptions.names.begin(), inOptions.names.end(), "-") != inOptions.names.end();
    return !inOptions.isQuiet && !inOptions.isJSON && !readsStandardInput && tool::HasTerminal();
}

int RunAll(int inArgumentCount, const char* const* inArguments) {
    tool::Options options;
    std::vector<tool::Job> jobs;
    try {
        if (!tool::ReadOptions(inArgumentCount, inArguments, options)) return EX_OK;
        jobs = tool::PlanJobs(options);
    } catch (const tool::Failure& failure) {
        tool::Say(failure.Subject(), failure.what());
        return failure.ExitCode();
    } catch (const std::bad_alloc&) {
        tool::Say({}, "out of memory");
        return EX_OSERR;
    }
    tool::Session session{options, tool::Question(MayAsk(options)), 0, jobs.size()};
    EnterMovies();
    const int worst = RunJobs(jobs, session);
    ExitMovies();
    return worst;
}

}  // namespace

int main(int inArgumentCount, char** inArguments) {
    tool::SetCommandName("aac2wav");
    HoldStandardStreams();
    tool::WatchSignals();
    try {
        return RunAll(inArgumentCount, inArguments);
    } catch (const tool::Interrupted& interrupted) {
        tool::DieBySignal(interrupted.signal);
    }
}
