#include <bundles/PathStyles.h>
#include <gtest/gtest.h>

using namespace toolbox::corefoundation;

namespace {

std::string FromStyle(std::string_view inPath, CFURLPathStyle inStyle) {
    std::string path = "?";
    return POSIXPathOf(inPath, inStyle, path) ? path : "(none)";
}
std::string ToStyle(std::string_view inPath, CFURLPathStyle inStyle) {
    std::string path = "?";
    return StyledPathOf(inPath, inStyle, path) ? path : "(none)";
}

}  // namespace

TEST(PathStyles, POSIX) {
    EXPECT_EQ("/a/b", FromStyle("/a/b", kCFURLPOSIXPathStyle));
    EXPECT_EQ("a", FromStyle("a", kCFURLPOSIXPathStyle));
    EXPECT_EQ("/a:b\\c", ToStyle("/a:b\\c", kCFURLPOSIXPathStyle));
}

TEST(PathStyles, HFS) {
    struct Example {
        const char* styled;
        const char* posix;
    };
    const Example bothWays[] = {{"System Disk:", "/"},
                                {"System Disk:a", "/a"},
                                {"System Disk:a:b c", "/a/b c"},
                                {"System Disk:a/b", "/a:b"}};
    for (const Example& example : bothWays) {
        EXPECT_EQ(example.posix, FromStyle(example.styled, kCFURLHFSPathStyle));
        EXPECT_EQ(example.styled, ToStyle(example.posix, kCFURLHFSPathStyle));
    }
    const Example oneWay[] = {
        {"System Disk", "/"}, {"System Disk:a:", "/a/"}, {"System Disk:a::b", "/a/../b"}, {":", "./"},
        {":a", "./a"},        {"::a", "./../a"},         {":::a:b", "./../../a/b"},       {":a:", "./a/"}};
    for (const Example& example : oneWay)
        EXPECT_EQ(example.posix, FromStyle(example.styled, kCFURLHFSPathStyle)) << example.styled;
    EXPECT_EQ("(none)", FromStyle("Other Disk:a", kCFURLHFSPathStyle));
    EXPECT_EQ("(none)", FromStyle("System Disks:a", kCFURLHFSPathStyle));
    EXPECT_EQ("(none)", FromStyle("a", kCFURLHFSPathStyle));
}

TEST(PathStyles, Windows) {
    EXPECT_EQ("/a/b", FromStyle("\\a\\b", kCFURLWindowsPathStyle));
    EXPECT_EQ("a/b/", FromStyle("a\\b\\", kCFURLWindowsPathStyle));
    EXPECT_EQ("(none)", FromStyle("C:\\a", kCFURLWindowsPathStyle));
    EXPECT_EQ("\\a\\b", ToStyle("/a/b", kCFURLWindowsPathStyle));
    EXPECT_EQ("\\", ToStyle("/", kCFURLWindowsPathStyle));
    EXPECT_EQ("(none)", ToStyle("/a\\b", kCFURLWindowsPathStyle));
}

TEST(PathStyles, NothingAndUnknownStyles) {
    for (const CFURLPathStyle style : {kCFURLPOSIXPathStyle, kCFURLHFSPathStyle, kCFURLWindowsPathStyle})
        EXPECT_EQ("(none)", FromStyle("", style));
    for (const CFURLPathStyle style : {-1, 3}) {
        EXPECT_EQ("(none)", FromStyle("/a", style));
        EXPECT_EQ("(none)", ToStyle("/a", style));
    }
}
