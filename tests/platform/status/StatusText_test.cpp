#include "status/StatusOfErrno.h"

#include <gtest/gtest.h>
#include <toolbox/MacErrors.h>
#include <toolbox/StatusText.h>

#include <cerrno>
#include <string>

namespace {

TEST(GetStatusText, ReadsWellBehindAName) {
    EXPECT_STREQ("no such file or folder", GetStatusText(fnfErr));
    EXPECT_STREQ("is a folder", GetStatusText(notAFileErr));
    EXPECT_STREQ("not enough memory", GetStatusText(memFullErr));
    EXPECT_STREQ("permission denied", GetStatusText(afpAccessDenied));
}

// Every code of the header has words, as a rule of the house sees to.
TEST(GetStatusText, OneLineWithoutNumberOrEnd) {
    int count = 0;
    for (OSStatus status = -10'000; status < 0; ++status) {
        const std::string text = GetStatusText(status);
        if (text.empty()) continue;
        ++count;
        EXPECT_EQ(std::string::npos, text.find_first_of("\n0123456789")) << text;
        EXPECT_TRUE(text.back() != '.' && text.back() != ' ') << text;
        EXPECT_TRUE(text.front() >= 'a' && text.front() <= 'z') << text;
    }
    EXPECT_GT(count, 50);
}

TEST(GetStatusText, NoneForWhatIsNoStatus) {
    EXPECT_STREQ("", GetStatusText(noErr));
    EXPECT_STREQ("", GetStatusText(1));
    EXPECT_STREQ("", GetStatusText(-31999));
    EXPECT_STREQ("", GetStatusText(0x6E696C50));
}

TEST(GetFailureText, HasTheSystemsWordsWhereTheyTellMore) {
    toolbox::ForgetSystemError();
    const std::string words = GetStatusText(ioErr);
    EXPECT_EQ(words, GetFailureText(ioErr));
    EXPECT_EQ(ioErr, toolbox::StatusOfErrno(ENXIO));
    EXPECT_EQ(words + ": No such device or address", GetFailureText(ioErr));
    EXPECT_EQ(fnfErr, toolbox::StatusOfErrno(ENOENT));
    EXPECT_STREQ(GetStatusText(fnfErr), GetFailureText(fnfErr));
    EXPECT_STREQ("", GetFailureText(-31999));
    toolbox::ForgetSystemError();
    EXPECT_EQ(words, GetFailureText(ioErr));
}

}  // namespace
