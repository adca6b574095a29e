#include "os/SystemCalls_test_access.h"
#include "support/FailingCalls.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <set>
#include <string>
#include <type_traits>

namespace {

using namespace toolbox::os;
using test_files::FailingCalls;

TEST(SystemCalls, EachHasItsNameAndItsFunction) {
    std::set<std::string> names;
    ForEachCall([&]<auto kCall>(const char* inName, Failure) {
        EXPECT_TRUE(names.insert(inName).second) << inName;
        EXPECT_NE(nullptr, Calls().*kCall) << inName;
    });
    EXPECT_EQ(sizeof(SystemCalls), names.size() * sizeof(void (*)()));
    EXPECT_EQ(1U, names.count("openat"));
}

TEST(SystemCalls, TestsReplaceTheTableInUse) {
    EXPECT_EQ(&Calls(), &CallsForTesting());
}

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
        if constexpr (!std::is_same_v<decltype(SystemCalls::free), std::decay_t<decltype(Calls().*kCall)>>) {
            if (inFailure == Failure::kNone || inFailure == Failure::kNoMemory ||
                inFailure == Failure::kClosed)
                return;
            const FailingCalls failing(1, EDOM);
            errno = ERANGE;
            const std::intptr_t expected = inFailure == Failure::kErrno  ? EDOM
                                           : inFailure == Failure::kZero ? 0
                                                                         : -1;
            EXPECT_EQ(expected, Answer(Calls().*kCall)) << inName;
            EXPECT_EQ(inFailure == Failure::kErrno ? ERANGE : EDOM, errno) << inName;
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
