#include "Failure.h"

#include "Arguments.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <string>

namespace {

std::string Said(const std::string& inSubject, const std::string& inText) {
    testing::internal::CaptureStderr();
    tool::Say(inSubject, inText);
    return testing::internal::GetCapturedStderr();
}

TEST(Failure, HoldsReasonSubjectAndCode) {
    const tool::Failure failure(EX_NOINPUT, "a.m4a", "is gone");
    EXPECT_STREQ("is gone", failure.what());
    EXPECT_EQ("a.m4a", failure.Subject());
    EXPECT_EQ(EX_NOINPUT, failure.ExitCode());
}

TEST(Failure, TheCommandIsTheOneThatMainNamed) {
    for (const char* name : {"aac2wav", "rez-pack"}) {
        tool::SetCommandName(name);
        EXPECT_STREQ(name, tool::CommandName());
        EXPECT_EQ(std::string("why (see ") + name + " --help)", tool::UsageFailure("why").what());
        EXPECT_EQ(std::string(name) + ": why\n", Said({}, "why"));
        EXPECT_EQ(std::string(name) + ": a.m4a: why\n", Said("a.m4a", "why"));
    }
}

TEST(Say, OneLineWhateverItIsAbout) {
    tool::SetCommandName("aac2wav");
    EXPECT_EQ("aac2wav: a?b?: why?\n", Said("a\nb\x1B", "why\r"));
}

TEST(SystemReason, InTheSystemsWords) {
    EXPECT_EQ(std::strerror(ENOENT), tool::SystemReason(ENOENT));
    EXPECT_NE(tool::SystemReason(EIO), tool::SystemReason(ENOENT));
}

}  // namespace
