#include "os/OwnPaths.h"

#include "os/SystemCalls_test_access.h"
#include "support/RunningProgram.h"

#include <gtest/gtest.h>
#include <limits.h>

#include <cerrno>
#include <filesystem>

namespace {

using namespace toolbox::os;
using test_files::RunningProgram;

const std::string kThisProgram = std::filesystem::canonical("/proc/self/exe").string();

TEST(GetExecutablePath, ThisOne) {
    std::string path = "before";
    ASSERT_EQ(0, GetExecutablePath(path));
    EXPECT_EQ(kThisProgram, path);
}

TEST(GetExecutablePath, NotTold) {
    RunningProgram program;
    std::string path = "before";
    EXPECT_EQ(EACCES, GetExecutablePath(path));
    program.Put(std::string(PATH_MAX, 'p'));
    EXPECT_EQ(ENAMETOOLONG, GetExecutablePath(path)) << "it may be longer than there was room for";
    program.Put(std::string(PATH_MAX - 1, 'p'));
    EXPECT_EQ(0, GetExecutablePath(path));
    EXPECT_EQ(std::string(PATH_MAX - 1, 'p'), path);
}

// This program carries the toolbox inside itself.
TEST(GetLibraryPath, ThisProgram) {
    std::string path = "before";
    ASSERT_EQ(0, GetLibraryPath(path));
    EXPECT_EQ(kThisProgram, path);
}

TEST(GetLibraryPath, NotTold) {
    const SystemCalls real = Calls();
    std::string path;
    CallsForTesting().realpath = [](const char*, char*) -> char* { return errno = EACCES, nullptr; };
    EXPECT_EQ(EACCES, GetLibraryPath(path));
    CallsForTesting() = real;
    CallsForTesting().dladdr1 = [](const void*, Dl_info*, void**, int) { return 0; };
    EXPECT_EQ(ENOENT, GetLibraryPath(path));
    CallsForTesting() = real;
}

}  // namespace
