// aac2wav: the conversion library as a command. See aac2wav(1).
#include "Convert.h"
#include "Failure.h"
#include "Options.h"
#include "Probe.h"
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
            ::open("/dev/null", descriptor == STDIN_FILENO ? O_WRONLY : O_RDONLY) < 0) {
            ::_exit(EX_OSERR);
        }
    }
}

int Run(const tool::Job& inJob, const tool::Options& inOptions) {
    switch (inOptions.task) {
        case tool::Task::kLength:
            tool::PrintLength(inJob, inOptions);
            return EX_OK;
        case tool::Task::kProbe:
            return tool::Probe(inJob, inOptions);
        case tool::Task::kConvert:
            break;
    }
    return tool::Convert(inJob, inOptions);
}

int RunAndTell(const tool::Job& inJob, const tool::Options& inOptions) {
    try {
        return Run(inJob, inOptions);
    } catch (const tool::Failure& failure) {
        tool::Say(failure.Subject(), failure.what());
        return failure.ExitCode();
    } catch (const std::bad_alloc&) {
        tool::Say(inJob.input, "out of memory");
        return EX_OSERR;
    }
}

int RunAll(int inArgumentCount, const char* const* inArguments) {
    tool::Options options;
    try {
        if (!tool::ReadOptions(inArgumentCount, inArguments, options)) {
            return EX_OK;
        }
    } catch (const tool::Failure& failure) {
        tool::Say(failure.Subject(), failure.what());
        return failure.ExitCode();
    }
    int worst = EX_OK;
    EnterMovies();
    for (const tool::Job& job : options.jobs) {
        worst = std::max(worst, RunAndTell(job, options));
    }
    ExitMovies();
    return worst;
}

}  // namespace

int main(int inArgumentCount, char** inArguments) {
    HoldStandardStreams();
    tool::WatchSignals();
    try {
        return RunAll(inArgumentCount, inArguments);
    } catch (const tool::Interrupted& interrupted) {
        tool::DieBySignal(interrupted.signal);
    }
}
