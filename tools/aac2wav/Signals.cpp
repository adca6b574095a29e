#include "Signals.h"

#include <poll.h>
#include <unistd.h>

#include <atomic>
#include <climits>
#include <csignal>
#include <cstring>

namespace tool {
namespace {

volatile std::sig_atomic_t sPending = 0;
bool sDiesOfBrokenPipe = false;
// Its first character is written last, so that a handler never reads half a path.
char sUnfinishedPath[PATH_MAX];

// Calls nothing but what a handler may.
void TakeNote(int inSignal) {
    if (sPending != 0) {
        if (sUnfinishedPath[0] != '\0') ::unlink(sUnfinishedPath);
        DieBySignal(inSignal);
    }
    sPending = inSignal;
}

constexpr int kEndings[] = {SIGINT,  SIGTERM, SIGHUP,    SIGQUIT, SIGALRM, SIGXCPU,  SIGUSR1,
                            SIGUSR2, SIGPOLL, SIGVTALRM, SIGPROF, SIGPWR,  SIGSTKFLT};

bool HasAction(int inSignal, void (*inHandler)(int)) {
    struct sigaction action {};
    return sigaction(inSignal, nullptr, &action) == 0 && action.sa_handler == inHandler;
}

void SetHandler(int inSignal, void (*inHandler)(int)) {
    struct sigaction action {};
    action.sa_handler = inHandler;
    sigemptyset(&action.sa_mask);
    // No SA_RESTART: a write that waits for a reader is to return.
    sigaction(inSignal, &action, nullptr);
}

}  // namespace

void SetUnfinishedFile(const char* inPath) {
    sUnfinishedPath[0] = '\0';
    std::atomic_signal_fence(std::memory_order_seq_cst);
    const std::size_t length = inPath == nullptr ? 0 : std::strlen(inPath);
    if (length == 0 || length >= sizeof sUnfinishedPath) return;
    std::memcpy(sUnfinishedPath + 1, inPath + 1, length);
    std::atomic_signal_fence(std::memory_order_seq_cst);
    sUnfinishedPath[0] = inPath[0];
}

void WatchSignals() {
    for (const int signal : kEndings) {
        if (HasAction(signal, SIG_DFL)) SetHandler(signal, TakeNote);
    }
    sDiesOfBrokenPipe = !HasAction(SIGPIPE, SIG_IGN);
    SetHandler(SIGPIPE, SIG_IGN);
    SetHandler(SIGXFSZ, SIG_IGN);
}

void CheckSignals() {
    if (sPending != 0) throw Interrupted{static_cast<int>(sPending)};
}

void WaitForInput(int inDescriptor) {
    sigset_t all;
    sigset_t before;
    sigfillset(&all);
    // Between the look and the wait nothing may come: it would be waited out.
    sigprocmask(SIG_BLOCK, &all, &before);
    if (sPending == 0) {
        pollfd input = {inDescriptor, POLLIN, 0};
        ::ppoll(&input, 1, nullptr, &before);
    }
    sigprocmask(SIG_SETMASK, &before, nullptr);
    CheckSignals();
}

bool HasSignal() {
    return sPending != 0;
}

void ThrowBrokenPipe() {
    if (sDiesOfBrokenPipe) throw Interrupted{SIGPIPE};
}

void DieBySignal(int inSignal) {
    SetHandler(inSignal, SIG_DFL);
    sigset_t mask;
    sigemptyset(&mask);
    sigaddset(&mask, inSignal);
    sigprocmask(SIG_UNBLOCK, &mask, nullptr);
    raise(inSignal);
    _exit(128 + inSignal);
}

}  // namespace tool
