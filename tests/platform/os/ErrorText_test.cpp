#include <gtest/gtest.h>
#include <os/ErrorText.h>

#include <cerrno>
#include <clocale>
#include <string>

namespace {

using toolbox::os::GetErrorText;

TEST(ErrorText, TheSystemsOwnWords) {
    EXPECT_STREQ("No such device or address", GetErrorText(ENXIO));
    EXPECT_STREQ("Too many levels of symbolic links", GetErrorText(ELOOP));
    EXPECT_STREQ("Unknown error 99999", GetErrorText(99999));
}

TEST(ErrorText, DoesNotFollowTheLocale) {
    const std::string before = std::setlocale(LC_ALL, nullptr);
    std::setlocale(LC_ALL, "");
    EXPECT_STREQ("No such device or address", GetErrorText(ENXIO));
    std::setlocale(LC_ALL, before.c_str());
}

}  // namespace
