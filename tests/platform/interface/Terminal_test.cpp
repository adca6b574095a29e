#include "interface/Terminal.h"

#include "os/SystemCalls_test_access.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <string>

namespace {

using namespace toolbox::interface;
using toolbox::os::CallsForTesting;
using toolbox::os::SystemCalls;

std::string sInput;
std::string sOutput;
int sCalls;

ssize_t Interrupted() {
    errno = EINTR;
    return -1;
}

class TerminalTest : public testing::Test {
  protected:
    TerminalTest() {
        sInput.clear();
        sOutput.clear();
        sCalls = 0;
        CallsForTesting().read = [](int inDescriptor, void* outBytes, std::size_t inByteCount) -> ssize_t {
            EXPECT_EQ(0, inDescriptor);
            if (++sCalls % 3 == 1) return Interrupted();
            const std::size_t count = std::min(inByteCount, sInput.size());
            std::memcpy(outBytes, sInput.data(), count);
            sInput.erase(0, count);
            return static_cast<ssize_t>(count);
        };
        CallsForTesting().write = [](int inDescriptor, const void* inBytes,
                                     std::size_t inByteCount) -> ssize_t {
            EXPECT_EQ(2, inDescriptor);
            if (++sCalls % 3 == 1) return Interrupted();
            const std::size_t count = std::min<std::size_t>(inByteCount, 2);
            sOutput.append(static_cast<const char*>(inBytes), count);
            return static_cast<ssize_t>(count);
        };
    }
    ~TerminalTest() override { CallsForTesting() = mSaved; }

  private:
    SystemCalls mSaved = CallsForTesting();
};

TEST_F(TerminalTest, ReadsALineAndNoMore) {
    sInput = "first\n\nthird";
    std::string line = "old";
    EXPECT_TRUE(ReadLine(line));
    EXPECT_EQ("first", line);
    EXPECT_EQ("\nthird", sInput);
    EXPECT_TRUE(ReadLine(line));
    EXPECT_EQ("", line);
    EXPECT_FALSE(ReadLine(line)) << "a line without an end";
    EXPECT_FALSE(ReadLine(line));
}

TEST_F(TerminalTest, ReadingFails) {
    CallsForTesting().read = [](int, void*, std::size_t) -> ssize_t {
        errno = EIO;
        return -1;
    };
    std::string line;
    EXPECT_FALSE(ReadLine(line));
}

TEST_F(TerminalTest, WritesAll) {
    ShowText("seven..");
    EXPECT_EQ("seven..", sOutput);
    ShowText("");
    EXPECT_EQ("seven..", sOutput);
}

TEST_F(TerminalTest, WritingFails) {
    CallsForTesting().write = [](int, const void*, std::size_t) -> ssize_t {
        ++sCalls;
        errno = EIO;
        return -1;
    };
    ShowText("text");
    EXPECT_EQ(1, sCalls) << "given up at once";
}

TEST_F(TerminalTest, IsBothInputAndError) {
    struct Case {
        bool input, error;
    };
    for (const Case& one : {Case{false, false}, Case{true, false}, Case{false, true}, Case{true, true}}) {
        static Case sCase;
        sCase = one;
        CallsForTesting().isatty = [](int inDescriptor) {
            return int{inDescriptor == 0 ? sCase.input : inDescriptor == 2 && sCase.error};
        };
        EXPECT_EQ(one.input && one.error, HasTerminal());
    }
}

}  // namespace
