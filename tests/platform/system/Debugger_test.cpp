#include "os/SystemCalls_test_access.h"
#include "support/TemporaryFolder.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/ptrace.h>
#include <sys/wait.h>
#include <toolbox/Debugger.h>
#include <unistd.h>

#include <cerrno>
#include <string>

namespace {

using toolbox::os::CallsForTesting;

std::string sShown;
int sTraps;
int sWrites;
std::string sStatusFile;

class DebuggerTest : public testing::Test {
  protected:
    DebuggerTest() {
        sShown.clear();
        sTraps = sWrites = 0;
        sStatusFile = mFolder.MakeFile("status", "Name:\ttest\nTracerPid:\t0\nUid:\t0\n");
        CallsForTesting().openat = [](int, const char* inPath, int inFlags, mode_t) {
            EXPECT_STREQ("/proc/self/status", inPath);
            return open(sStatusFile.c_str(), inFlags);
        };
        CallsForTesting().raise = [](int inSignal) {
            EXPECT_EQ(SIGTRAP, inSignal);
            return ++sTraps, 0;
        };
        CallsForTesting().write = [](int inDescriptor, const void* inBytes,
                                     std::size_t inByteCount) -> ssize_t {
            EXPECT_EQ(2, inDescriptor);
            if (++sWrites == 1) return errno = EINTR, -1;
            const std::size_t count = inByteCount > 1 ? inByteCount / 2 : 1;
            sShown.append(static_cast<const char*>(inBytes), count);
            return static_cast<ssize_t>(count);
        };
    }
    ~DebuggerTest() override { CallsForTesting() = mSaved; }

    test_files::TemporaryFolder mFolder;
    toolbox::os::SystemCalls mSaved = CallsForTesting();
};

TEST_F(DebuggerTest, WithoutADebuggerTheMessageIsShown) {
    DebugStr(reinterpret_cast<const unsigned char*>("\4-108"));
    EXPECT_EQ("-108\n", sShown);
    Debugger();
    EXPECT_EQ("-108\nDebugger() was called\n", sShown);
    EXPECT_EQ(0, sTraps);
}

TEST_F(DebuggerTest, ADebuggerIsStoppedIn) {
    mFolder.MakeFile("status", "Name:\ttest\nTracerPid:\t17\nUid:\t0\n");
    DebugStr(reinterpret_cast<const unsigned char*>("\1x"));
    EXPECT_EQ("x\n", sShown);
    EXPECT_EQ(1, sTraps);
    Debugger();
    EXPECT_EQ(2, sTraps);
}

TEST_F(DebuggerTest, NoMessage) {
    DebugStr(nullptr);
    EXPECT_EQ("\n", sShown);
    DebugStr(reinterpret_cast<const unsigned char*>(""));
    EXPECT_EQ("\n\n", sShown);
}

TEST_F(DebuggerTest, LongestMessage) {
    const std::string message = "\xFF" + std::string(255, 'm');
    DebugStr(reinterpret_cast<const unsigned char*>(message.data()));
    EXPECT_EQ(std::string(255, 'm') + "\n", sShown);
}

TEST_F(DebuggerTest, NoTerminalCommands) {
    DebugStr(reinterpret_cast<const unsigned char*>("\5\x1B[2J\n"));
    EXPECT_EQ("?[2J?\n", sShown);
}

TEST_F(DebuggerTest, WritingFails) {
    CallsForTesting().write = [](int, const void*, std::size_t) -> ssize_t {
        return ++sWrites, errno = EIO, -1;
    };
    Debugger();
    EXPECT_EQ(1, sWrites);
}

// The exit status of a process that stops in its debugger: whether it found one.
int StopInAProcess(bool inIsToBeTraced) {
    const pid_t child = fork();
    if (child == 0) {
        if (inIsToBeTraced && ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) != 0) _exit(99);
        CallsForTesting().raise = [](int) -> int { _exit(1); };
        Debugger();
        _exit(0);
    }
    int status = 0;
    EXPECT_EQ(child, waitpid(child, &status, 0));
    EXPECT_TRUE(WIFEXITED(status));
    return WEXITSTATUS(status);
}

TEST_F(DebuggerTest, TheSystemTellsWhetherOneIsAttached) {
    CallsForTesting().openat = mSaved.openat;
    EXPECT_EQ(1, StopInAProcess(true));
    EXPECT_EQ(0, StopInAProcess(false));
}

// Traces a process that traps, and lets it go on with the signal, or without it, at each stop. Counts the
// stops at SIGTRAP; answers the status that the process ended with.
int TrapUnderATracer(bool inHandsBack, int& outStops) {
    outStops = 0;
    const pid_t child = fork();
    if (child == 0) {
        // Anything but the default shows whether it is put back.
        signal(SIGTRAP, [](int) { _exit(98); });
        if (ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) != 0) _exit(99);
        Debugger();
        struct sigaction now = {};
        sigaction(SIGTRAP, nullptr, &now);
        _exit(now.sa_handler != SIG_IGN && now.sa_handler != SIG_DFL ? 42 : 97);
    }
    int status = 0;
    while (waitpid(child, &status, 0) == child && WIFSTOPPED(status)) {
        const int signalNumber = WSTOPSIG(status);
        outStops += signalNumber == SIGTRAP;
        ptrace(PTRACE_CONT, child, nullptr, inHandsBack ? signalNumber : 0);
    }
    return status;
}

TEST_F(DebuggerTest, EveryTracerSeesTheTrapAndTheProgramGoesOn) {
    CallsForTesting().openat = mSaved.openat;
    CallsForTesting().raise = mSaved.raise;
    for (const bool handsBack : {false, true}) {
        int stops = 0;
        const int status = TrapUnderATracer(handsBack, stops);
        EXPECT_EQ(1, stops) << handsBack;
        EXPECT_TRUE(WIFEXITED(status)) << handsBack;
        EXPECT_EQ(42, WEXITSTATUS(status)) << handsBack;
    }
}

}  // namespace
