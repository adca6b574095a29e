// aac2wav: the conversion library as a command. See aac2wav(1).
#include "Failure.h"
#include "Run.h"
#include "Signals.h"

#include <fcntl.h>
#include <unistd.h>

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

}  // namespace

int main(int inArgumentCount, char** inArguments) {
    tool::SetCommandName("aac2wav");
    HoldStandardStreams();
    tool::WatchSignals();
    try {
        return tool::RunCommand(inArgumentCount, inArguments);
    } catch (const tool::Interrupted& interrupted) {
        tool::DieBySignal(interrupted.signal);
    }
}
