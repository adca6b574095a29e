#include <toolbox/Debugger.h>

#include <gtest/gtest.h>
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

}  // namespace
