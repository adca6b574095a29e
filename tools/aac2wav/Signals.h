// Stopping in good order. A handler only takes note; the work looks at the note wherever it waits or
// delivers, unwinds by the Interrupted exception, and main dies of the same signal, as those who wait for the
// process expect.
#pragma once

namespace tool {

struct Interrupted {
    int signal;
};

// The file to remove when a second signal comes before the first was looked at: a decoder that has to go far
// back can be busy for long. Null when there is none.
void SetUnfinishedFile(const char* inPath);

// Takes note of every signal that ends a process unless it tells of a crash; of each only if its action was
// the default one when the process started, for it may be ignored, or a profiler's. SIGPIPE and SIGXFSZ
// become errors of write(), so that what is unfinished can be removed.
void WatchSignals();

// Throws Interrupted when one of the signals has come.
void CheckSignals();

// Whether one has come, for those who must not throw.
bool HasSignal();

// Waits until there is something to read, or the end. Throws Interrupted, also for a signal that comes right
// before the waiting begins.
void WaitForInput(int inDescriptor);

// What a broken pipe on standard output means: Interrupted with SIGPIPE, unless the process was started with
// SIGPIPE ignored; then it returns.
void ThrowBrokenPipe();

// Ends the process by the signal's default action.
[[noreturn]] void DieBySignal(int inSignal);

}  // namespace tool
