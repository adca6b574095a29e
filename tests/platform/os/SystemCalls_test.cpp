#include "os/Descriptor.h"
#include "os/SystemCalls_test_access.h"
#include "support/FailingCalls.h"
#include "support/TemporaryFolder.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <string_view>
#include <type_traits>

namespace {

using namespace toolbox::os;
using test_files::FailingCalls;

TEST(SystemCalls, EachIsTheFunctionOfItsName) {
    int count = 0;
    ForEachCall([&]<auto kCall>(const char* inName, Failure) {
        ++count;
        const std::string_view name = inName;
        // Our own, so that they always take the same.
        if (name == "openat" || name == "ioctl" || name == "fcntl") return;
        EXPECT_EQ(dlsym(RTLD_DEFAULT, inName), reinterpret_cast<void*>(Calls().*kCall)) << inName;
    });
    EXPECT_GT(count, 40);
}

TEST(SystemCalls, OpensWithAMode) {
    const test_files::TemporaryFolder folder;
    const mode_t before = umask(0);
    const Descriptor file(
        Calls().openat(AT_FDCWD, (folder / "f").c_str(), O_CREAT | O_RDONLY | O_CLOEXEC, 0640));
    umask(before);
    struct stat status = {};
    ASSERT_EQ(0, fstat(file.Number(), &status));
    EXPECT_EQ(0640U, status.st_mode & 07777);
}

TEST(SystemCalls, TestsReplaceTheTableInUse) {
    EXPECT_EQ(&Calls(), &CallsForTesting());
}

template <typename Call>
struct IsWithoutAnswer : std::false_type {};
template <typename... Arguments>
struct IsWithoutAnswer<void (*)(Arguments...)> : std::true_type {};

// What a failing call answers, as a number. It does not reach the system: what it is called with is of no
// importance.
template <typename Result, typename... Arguments>
std::intptr_t Answer(Result (*inCall)(Arguments...)) {
    const Result result = inCall(Arguments{}...);
    if constexpr (std::is_pointer_v<Result>)
        return reinterpret_cast<std::intptr_t>(result);
    else
        return static_cast<std::intptr_t>(result);
}

TEST(SystemCalls, EachFailsAsItSays) {
    int count = 0;
    ForEachCall([&]<auto kCall>(const char* inName, Failure inFailure) {
        if constexpr (!IsWithoutAnswer<std::decay_t<decltype(Calls().*kCall)>>::value) {
            if (inFailure == Failure::kNone || inFailure == Failure::kNoMemory ||
                inFailure == Failure::kClosed)
                return;
            const FailingCalls failing(1, EDOM);
            errno = ERANGE;
            const bool isToldByZero = inFailure == Failure::kZero || inFailure == Failure::kOnlyZero;
            const std::intptr_t expected = inFailure == Failure::kErrno ? EDOM : isToldByZero ? 0 : -1;
            EXPECT_EQ(expected, Answer(Calls().*kCall)) << inName;
            const bool leavesErrno = inFailure == Failure::kErrno || inFailure == Failure::kOnlyZero;
            EXPECT_EQ(leavesErrno ? ERANGE : EDOM, errno) << inName;
            EXPECT_TRUE(failing.Delivered()) << inName;
            ++count;
        }
    });
    EXPECT_GT(count, 30);
}

TEST(SystemCalls, WhatClosesHasClosedWhenItFails) {
    const int descriptor = open("/dev/null", O_RDONLY | O_CLOEXEC);
    ASSERT_GE(descriptor, 0);
    {
        const FailingCalls failing(1, EIO);
        EXPECT_EQ(-1, Calls().close(descriptor));
        EXPECT_EQ(EIO, errno);
    }
    EXPECT_EQ(-1, fcntl(descriptor, F_GETFD));
}

TEST(SystemCalls, TheOneThatIsToFailFails) {
    const FailingCalls second(2, EIO);
    EXPECT_NE(-1, Calls().sysconf(_SC_PAGESIZE));
    EXPECT_FALSE(second.Delivered());
    EXPECT_EQ(-1, Calls().sysconf(_SC_PAGESIZE));
    EXPECT_TRUE(second.Delivered());
    EXPECT_NE(-1, Calls().sysconf(_SC_PAGESIZE));
}

}  // namespace
