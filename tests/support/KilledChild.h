// A process that is killed at a moment of the test's choice. What it leaves behind is the kernel's to tell.
#pragma once

#include "support/OneWorld.h"

#include <sys/ptrace.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <set>
#include <string>

namespace support {

// Makes a call in a process of its own, which is killed when it stops for the n-th time, before or after a
// system call. False when it ended before that, as it then must: inCall answers whether it succeeded.
template <typename Call>
bool IsKilledAt(int inStop, Call inCall) {
    const pid_t child = fork();
    if (child == 0) {
        if (ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) != 0) _exit(99);
        raise(SIGSTOP);
        _exit(inCall() ? 0 : 98);
    }
    int status = 0;
    EXPECT_EQ(child, waitpid(child, &status, 0));
    for (int stop = 0; WIFSTOPPED(status); ++stop) {
        if (stop == inStop)
            EXPECT_EQ(0, kill(child, SIGKILL));
        else
            EXPECT_EQ(0, ptrace(PTRACE_SYSCALL, child, nullptr, nullptr));
        EXPECT_EQ(child, waitpid(child, &status, 0));
    }
    EXPECT_TRUE(WIFSIGNALED(status) || WEXITSTATUS(status) == 0) << status;
    return WIFSIGNALED(status);
}

class KilledChildTest : public RealFolderTest {
  protected:
    // Kills the call at each stop, or at each of so many, with the folder as inPrepare leaves it in the empty
    // one. After each, the folder must be in one of the states, which inLook tells; each of them is met.
    template <typename Prepare, typename Call, typename Look>
    void ExpectOneOf(const std::set<std::string>& inStates, Prepare inPrepare, Call inCall, Look inLook,
                     int inStride = 1) {
        constexpr int kMaxStops = 2000;
        std::set<std::string> seen;
        for (int stop = 0;; stop += inStride) {
            EmptyFolder();
            inPrepare();
            const bool isKilled = IsKilledAt(stop, inCall);
            const std::string state = inLook();
            EXPECT_EQ(1U, inStates.count(state)) << stop << ": " << state;
            seen.insert(state);
            if (!isKilled) break;
            ASSERT_LT(stop, kMaxStops);
        }
        EXPECT_EQ(inStates, seen) << "each of them is met";
    }
};

}  // namespace support
