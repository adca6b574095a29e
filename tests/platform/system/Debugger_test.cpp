#include <toolbox/Debugger.h>

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/ptrace.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <string>

#include "system/Debugger_test_access.h"

namespace {

using toolbox::system::DebuggerCallsForTesting;

std::string sShown;
int sTraps;
bool sIsTraced;
int sWrites;

class DebuggerTest : public testing::Test {
  protected:
    DebuggerTest() {
        sShown.clear();
        sTraps = sWrites = 0;
        sIsTraced = false;
        DebuggerCallsForTesting() = {
            [] { return sIsTraced; }, [] { return ++sTraps, 0; },
            [](int inDescriptor, const void* inBytes, std::size_t inByteCount) -> ssize_t {
                EXPECT_EQ(2, inDescriptor);
                if (++sWrites == 1) return errno = EINTR, -1;
                const std::size_t count = inByteCount > 1 ? inByteCount / 2 : 1;
                sShown.append(static_cast<const char*>(inBytes), count);
                return static_cast<ssize_t>(count);
            }};
    }
    ~DebuggerTest() override { DebuggerCallsForTesting() = mSaved; }

    toolbox::system::DebuggerCalls mSaved = DebuggerCallsForTesting();
};

TEST_F(DebuggerTest, WithoutADebuggerTheMessageIsShown) {
    DebugStr(reinterpret_cast<const unsigned char*>("\4-108"));
    EXPECT_EQ("-108\n", sShown);
    Debugger();
    EXPECT_EQ("-108\nDebugger() was called\n", sShown);
    EXPECT_EQ(0, sTraps);
}

TEST_F(DebuggerTest, ADebuggerIsStoppedIn) {
    sIsTraced = true;
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
    DebuggerCallsForTesting().write = [](int, const void*, std::size_t) -> ssize_t {
        return ++sWrites, errno = EIO, -1;
    };
    Debugger();
    EXPECT_EQ(1, sWrites);
}

// The exit status of a process that asks whether it is traced.
int AskInAProcess(bool (*inIsTraced)(), bool inIsToBeTraced) {
    const pid_t child = fork();
    if (child == 0) {
        if (inIsToBeTraced && ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) != 0) _exit(99);
        _exit(inIsTraced());
    }
    int status = 0;
    EXPECT_EQ(child, waitpid(child, &status, 0));
    EXPECT_TRUE(WIFEXITED(status));
    return WEXITSTATUS(status);
}

TEST_F(DebuggerTest, TheSystemTellsWhetherOneIsAttached) {
    EXPECT_EQ(1, AskInAProcess(mSaved.isTraced, true));
    EXPECT_EQ(0, AskInAProcess(mSaved.isTraced, false));
}

// Traces a process that traps, and lets it go on with the signal, or without it, at each stop. Counts the
// stops at SIGTRAP; answers the status that the process ended with.
int TrapUnderATracer(int (*inTrap)(), bool inHandsBack, int& outStops) {
    outStops = 0;
    const pid_t child = fork();
    if (child == 0) {
        // Anything but the default shows whether it is put back.
        signal(SIGTRAP, [](int) { _exit(98); });
        if (ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) != 0) _exit(99);
        inTrap();
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
    for (const bool handsBack : {false, true}) {
        int stops = 0;
        const int status = TrapUnderATracer(mSaved.trap, handsBack, stops);
        EXPECT_EQ(1, stops) << handsBack;
        EXPECT_TRUE(WIFEXITED(status)) << handsBack;
        EXPECT_EQ(42, WEXITSTATUS(status)) << handsBack;
    }
}

}  // namespace
