#include "BundleMaker.h"
#include "support/FailEach.h"
#include "support/FailingMalloc.h"
#include "support/FailingNew.h"

#include <corefoundation/CF_test_access.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <toolbox/CFURL.h>
#include <toolbox/MacErrors.h>
#include <unistd.h>

#include <cstring>
#include <thread>

using namespace test_bundles;
using toolbox::corefoundation::LiveObjectsForTesting;

namespace {

OwnedURL URLOfText(std::string_view inText, CFURLRef inBaseURL = nullptr) {
    return CFURLCreateWithBytes(kCFAllocatorDefault, reinterpret_cast<const UInt8*>(inText.data()),
                                static_cast<CFIndex>(inText.size()), kCFStringEncodingUTF8, inBaseURL);
}
std::string TextOfURL(CFURLRef inURL) {
    return inURL == nullptr ? "(null)" : UTF8Of(CFURLGetString(inURL));
}
std::string PathOf(CFURLRef inURL, CFURLPathStyle inStyle = kCFURLPOSIXPathStyle) {
    return TakeUTF8(CFURLCopyFileSystemPath(inURL, inStyle));
}
std::string Appended(std::string_view inURL, CFStringRef inComponent, bool inIsFolder = false) {
    return TextOfURL(OwnedURL(CFURLCreateCopyAppendingPathComponent(kCFAllocatorDefault, URLOfText(inURL),
                                                                    inComponent, inIsFolder)));
}
std::string Shortened(std::string_view inURL) {
    return TextOfURL(
        OwnedURL(CFURLCreateCopyDeletingLastPathComponent(kCFAllocatorDefault, URLOfText(inURL))));
}
std::string BytePathOf(CFURLRef inURL, CFIndex inCapacity = 4096) {
    std::string buffer(4096, '#');
    if (!CFURLGetFileSystemRepresentation(inURL, true, reinterpret_cast<UInt8*>(buffer.data()), inCapacity))
        return buffer == std::string(4096, '#') ? "(none)" : "(touched)";
    return buffer.c_str();
}

}  // namespace

class CFURL : public testing::Test {
  protected:
    ~CFURL() override { EXPECT_EQ(mLiveBefore, LiveObjectsForTesting()) << "leaked or released too often"; }
    const SInt64 mLiveBefore = LiveObjectsForTesting();
};

TEST_F(CFURL, FromBytes) {
    EXPECT_EQ("file:///a/b", TextOfURL(URLOfText("file:///a/b")));
    EXPECT_EQ("file:///a%20b%25", TextOfURL(URLOfText("file:///a b%")));
    EXPECT_EQ("file:///a%20b", TextOfURL(URLOfText("file:///a%20b")));
    EXPECT_EQ("file:///%C3%A9", TextOfURL(URLOfText("file:///\xC3\xA9")));
    EXPECT_EQ("http://h/?q#f", TextOfURL(URLOfText("http://h/?q#f")));
    EXPECT_EQ("(null)", TextOfURL(URLOfText("")));
    EXPECT_EQ("(null)", TextOfURL(URLOfText("/a/b")));
    EXPECT_EQ("(null)", TextOfURL(URLOfText("file:///\xC3")));
    EXPECT_EQ(nullptr, CFURLCreateWithBytes(kCFAllocatorDefault, nullptr, 3, kCFStringEncodingUTF8, nullptr));
    const UInt8 text[] = "file:///\x8E";  // e with acute accent in Mac Roman
    const OwnedURL roman =
        CFURLCreateWithBytes(kCFAllocatorDefault, text, 9, kCFStringEncodingMacRoman, nullptr);
    EXPECT_EQ("file:///%C3%A9", TextOfURL(roman));
    EXPECT_EQ(nullptr, CFURLCreateWithBytes(kCFAllocatorDefault, text, -1, kCFStringEncodingUTF8, nullptr));
}

TEST_F(CFURL, FromBytesAgainstABase) {
    const OwnedURL base = URLOfText("file:///a/b");
    EXPECT_EQ("file:///a/c%20d", TextOfURL(URLOfText("c d", base)));
    EXPECT_EQ("file:///c", TextOfURL(URLOfText("../../c", base)));
    EXPECT_EQ("http://h", TextOfURL(URLOfText("http://h", base)));
}

TEST_F(CFURL, FromString) {
    const OwnedURL url = CFURLCreateWithString(kCFAllocatorDefault, CFSTR("file:///a%20b"), nullptr);
    EXPECT_EQ("file:///a%20b", TextOfURL(url));
    EXPECT_EQ(nullptr, CFURLCreateWithString(kCFAllocatorDefault, CFSTR("file:///a b"), nullptr));
    EXPECT_EQ(nullptr, CFURLCreateWithString(kCFAllocatorDefault, CFSTR("file:///%"), nullptr));
    EXPECT_EQ(nullptr, CFURLCreateWithString(kCFAllocatorDefault, CFSTR("a"), nullptr));
    EXPECT_EQ(nullptr, CFURLCreateWithString(kCFAllocatorDefault, CFSTR(""), url));
    EXPECT_EQ(nullptr, CFURLCreateWithString(kCFAllocatorDefault, nullptr, url));
    EXPECT_EQ("file:///c", TextOfURL(OwnedURL(CFURLCreateWithString(kCFAllocatorDefault, CFSTR("c"), url))));
    EXPECT_EQ(CFURLGetTypeID(), CFGetTypeID(url));
}

TEST_F(CFURL, FromFileSystemRepresentation) {
    EXPECT_EQ("file:///a%20b/c", TextOfURL(URLOfPath("/a b/c")));
    EXPECT_EQ("file:///a/", TextOfURL(URLOfPath("/a", true)));
    EXPECT_EQ("file:///a/", TextOfURL(URLOfPath("/a/", true)));
    EXPECT_EQ("file:///a/", TextOfURL(URLOfPath("/a/", false)));
    EXPECT_EQ("file:///", TextOfURL(URLOfPath("/", true)));
    EXPECT_EQ("file:///%FF%FE", TextOfURL(URLOfPath("/\xFF\xFE")));
    EXPECT_EQ("(null)", TextOfURL(URLOfPath("")));
    // The length may count the terminating NUL.
    EXPECT_EQ("file:///a/", TextOfURL(URLOfPath(std::string_view("/a\0", 3), true)));
    EXPECT_EQ("(null)", TextOfURL(URLOfPath(std::string_view("\0/a", 3))));
    EXPECT_EQ(nullptr, CFURLCreateFromFileSystemRepresentation(kCFAllocatorDefault, nullptr, 1, false));
    const UInt8 path[] = "/a";
    EXPECT_EQ(nullptr, CFURLCreateFromFileSystemRepresentation(kCFAllocatorDefault, path, -1, false));
}

TEST_F(CFURL, RelativePathsStartAtTheCurrentFolder) {
    const TemporaryFolder folder;
    const auto before = std::filesystem::current_path();
    std::filesystem::current_path(folder.Path());
    const std::string url = "file://" + folder.Path() + "/";
    EXPECT_EQ(url + "a", TextOfURL(URLOfPath("a")));
    EXPECT_EQ(url + "a/", TextOfURL(URLOfPath("./a", true)));
    EXPECT_EQ(url + "../a", TextOfURL(URLOfPath("../a")));
    const OwnedURL hfs =
        CFURLCreateWithFileSystemPath(kCFAllocatorDefault, CFSTR(":a:b"), kCFURLHFSPathStyle, false);
    EXPECT_EQ(url + "a/b", TextOfURL(hfs));
    std::filesystem::current_path(folder.MakeFolder("gone"));
    std::filesystem::remove(folder / "gone");
    EXPECT_EQ("(null)", TextOfURL(URLOfPath("a")));
    std::filesystem::current_path(before);
}

TEST_F(CFURL, FromPathsOfEveryStyle) {
    const auto urlOf = [](CFStringRef inPath, CFURLPathStyle inStyle, bool inIsFolder = false) {
        return TextOfURL(
            OwnedURL(CFURLCreateWithFileSystemPath(kCFAllocatorDefault, inPath, inStyle, inIsFolder)));
    };
    EXPECT_EQ("file:///a%20b", urlOf(CFSTR("/a b"), kCFURLPOSIXPathStyle));
    EXPECT_EQ("file:///a/", urlOf(CFSTR("/a"), kCFURLPOSIXPathStyle, true));
    EXPECT_EQ("file:///a:b/c", urlOf(CFSTR("System Disk:a/b:c"), kCFURLHFSPathStyle));
    EXPECT_EQ("file:///a/b", urlOf(CFSTR("\\a\\b"), kCFURLWindowsPathStyle));
    EXPECT_EQ("(null)", urlOf(CFSTR(""), kCFURLPOSIXPathStyle));
    EXPECT_EQ("(null)", urlOf(CFSTR("/a"), 3));
    EXPECT_EQ("(null)", urlOf(CFSTR("/a\0b"), kCFURLPOSIXPathStyle));
    EXPECT_EQ("(null)", urlOf(nullptr, kCFURLPOSIXPathStyle));
    const OwnedString lone = StringOf(u"/\xD800");
    EXPECT_EQ("(null)", urlOf(lone.get(), kCFURLPOSIXPathStyle));
}

TEST_F(CFURL, PathInEveryStyle) {
    const OwnedURL url = URLOfPath("/a b/c:d", true);
    EXPECT_EQ("/a b/c:d", PathOf(url));
    EXPECT_EQ("System Disk:a b:c/d", PathOf(url, kCFURLHFSPathStyle));
    EXPECT_EQ("\\a b\\c:d", PathOf(url, kCFURLWindowsPathStyle));
    EXPECT_EQ("(null)", PathOf(url, 3));
    EXPECT_EQ("/", PathOf(URLOfPath("/")));
    EXPECT_EQ("/", PathOf(URLOfPath("///")));
    EXPECT_EQ("System Disk:", PathOf(URLOfPath("/"), kCFURLHFSPathStyle));
    EXPECT_EQ("/a", PathOf(URLOfText("http://h/a?b#c")));
    EXPECT_EQ("(null)", PathOf(URLOfText("http://h")));
    EXPECT_EQ("(null)", PathOf(URLOfText("mailto:a@b")));
    EXPECT_EQ("(null)", PathOf(URLOfText("file:///a%00b")));
    EXPECT_EQ("(null)", PathOf(URLOfPath("/\xFF"))) << "not text";
}

TEST_F(CFURL, FileSystemRepresentation) {
    EXPECT_EQ("/a b", BytePathOf(URLOfPath("/a b", true)));
    EXPECT_EQ("/\xFF", BytePathOf(URLOfPath("/\xFF")));
    EXPECT_EQ("/", BytePathOf(URLOfPath("/")));
    EXPECT_EQ("/ab", BytePathOf(URLOfPath("/ab"), 4));
    EXPECT_EQ("(none)", BytePathOf(URLOfPath("/ab"), 3));
    EXPECT_EQ("(none)", BytePathOf(URLOfPath("/ab"), 0));
    EXPECT_EQ("(none)", BytePathOf(URLOfPath("/ab"), -1));
    EXPECT_EQ("/a", BytePathOf(URLOfText("FILE://LocalHost/a")));
    EXPECT_EQ("/a", BytePathOf(URLOfText("file:/a")));
    EXPECT_EQ("(none)", BytePathOf(URLOfText("file://host/a")));
    EXPECT_EQ("(none)", BytePathOf(URLOfText("http:///a")));
    EXPECT_EQ("(none)", BytePathOf(URLOfText("file:a")));
    EXPECT_EQ("(none)", BytePathOf(URLOfText("file:///a%00")));
}

TEST_F(CFURL, AppendsComponents) {
    EXPECT_EQ("file:///a/b", Appended("file:///a", CFSTR("b")));
    EXPECT_EQ("file:///a/b", Appended("file:///a/", CFSTR("b")));
    EXPECT_EQ("file:///a/b/", Appended("file:///a/", CFSTR("b"), true));
    EXPECT_EQ("file:///a/b%20c%3F%23%25", Appended("file:///a", CFSTR("b c?#%")));
    EXPECT_EQ("file:///a/b/c", Appended("file:///a", CFSTR("/b/c/")));
    EXPECT_EQ("file:///a/b/c/", Appended("file:///a", CFSTR("/b/c/"), true));
    EXPECT_EQ("file:///a/", Appended("file:///a", CFSTR("")));
    EXPECT_EQ("file:///a/", Appended("file:///a", CFSTR("/"), true));
    EXPECT_EQ("file:///b", Appended("file:///", CFSTR("b")));
    EXPECT_EQ("http://h/b", Appended("http://h?q#f", CFSTR("b")));
    EXPECT_EQ("(null)", Appended("file:///a", nullptr));
    EXPECT_EQ("(null)", Appended("", CFSTR("b")));
}

TEST_F(CFURL, DeletesLastComponents) {
    EXPECT_EQ("file:///a/", Shortened("file:///a/b"));
    EXPECT_EQ("file:///a/", Shortened("file:///a/b/"));
    EXPECT_EQ("file:///a/", Shortened("file:///a/b//?q#f"));
    EXPECT_EQ("file:///", Shortened("file:///a"));
    EXPECT_EQ("file:///", Shortened("file:///"));
    EXPECT_EQ("file:///a/../../", Shortened("file:///a/.."));
    EXPECT_EQ("file:///a/./../", Shortened("file:///a/./"));
    EXPECT_EQ("http://h", Shortened("http://h"));
    EXPECT_EQ("(null)", Shortened(""));
}

TEST_F(CFURL, LastComponent) {
    const auto last = [](std::string_view inURL) {
        return TakeUTF8(CFURLCopyLastPathComponent(URLOfText(inURL)));
    };
    EXPECT_EQ("b c", last("file:///a/b%20c"));
    EXPECT_EQ("b", last("file:///a/b/"));
    EXPECT_EQ("b", last("file:///a/b?q/r#s/t"));
    EXPECT_EQ("/", last("file:///"));
    EXPECT_EQ("", last("http://h"));
    EXPECT_EQ("(null)", last("file:///%FF"));
}

TEST_F(CFURL, FolderPaths) {
    for (const char* text : {"file:///", "file:///a/", "file:///.", "file:///a/..", "file:///a/?q"})
        EXPECT_TRUE(CFURLHasDirectoryPath(URLOfText(text))) << text;
    for (const char* text : {"file:///a", "file:///a..", "file:///a?q/", "http://h"})
        EXPECT_FALSE(CFURLHasDirectoryPath(URLOfText(text))) << text;
}

TEST_F(CFURL, FSRefBothWays) {
    const TemporaryFolder folder;
    for (const std::string& path :
         {folder.MakeFile("a b%"), folder.MakeFile("not \xFF text"), folder.MakeFolder("folder")}) {
        FSRef ref = {};
        ASSERT_TRUE(CFURLGetFSRef(URLOfPath(path), &ref)) << path;
        FSRef same = {};
        ASSERT_EQ(noErr, FSPathMakeRef(reinterpret_cast<const UInt8*>(path.c_str()), &same, nullptr));
        EXPECT_EQ(0, std::memcmp(&ref, &same, sizeof(ref)));
        const OwnedURL url = CFURLCreateFromFSRef(kCFAllocatorDefault, &ref);
        EXPECT_EQ(path, BytePathOf(url));
        EXPECT_EQ(std::filesystem::is_directory(path), CFURLHasDirectoryPath(url) != 0);
        FSRef again = {};
        ASSERT_TRUE(CFURLGetFSRef(url, &again));
        EXPECT_EQ(0, std::memcmp(&ref, &again, sizeof(ref)));
    }
}

TEST_F(CFURL, OfALinkAndOfItsPath) {
    const TemporaryFolder folder;
    const std::string file = folder.MakeFile("file");
    std::filesystem::create_symlink(file, folder / "link");
    std::filesystem::create_symlink(folder / "missing", folder / "dangling");
    for (const char* const name : {"link", "dangling"}) {
        const std::string path = folder / name;
        FSRef link = {};
        ASSERT_EQ(noErr, FSPathMakeRefWithOptions(reinterpret_cast<const UInt8*>(path.c_str()),
                                                  kFSPathMakeRefDoNotFollowLeafSymlink, &link, nullptr));
        const OwnedURL url = CFURLCreateFromFSRef(kCFAllocatorDefault, &link);
        EXPECT_EQ(path, BytePathOf(url));
        FSRef found = {};
        ASSERT_TRUE(CFURLGetFSRef(url, &found)) << name;
        EXPECT_EQ(noErr, FSCompareFSRefs(&link, &found));
        const OwnedURL text = CFURLCreateWithString(kCFAllocatorDefault, CFURLGetString(url), nullptr);
        EXPECT_TRUE(CFEqual(url, text));
        FSRef target = {};
        EXPECT_EQ(path == folder / "link", CFURLGetFSRef(text, &target) != 0);
        EXPECT_NE(noErr, FSCompareFSRefs(&link, &target));
    }
}

// Its path is a link, and followed all the same.
TEST_F(CFURL, OfAnOpenFileWithoutAName) {
    const TemporaryFolder folder;
    const std::string path = folder.MakeFile("file");
    const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    ASSERT_NE(-1, file);
    std::filesystem::remove(path);
    FSRef ref = {};
    ASSERT_TRUE(CFURLGetFSRef(URLOfPath("/proc/self/fd/" + std::to_string(file)), &ref));
    const OwnedURL url = CFURLCreateFromFSRef(kCFAllocatorDefault, &ref);
    ASSERT_NE(nullptr, url);
    FSRef found = {};
    ASSERT_TRUE(CFURLGetFSRef(url, &found));
    EXPECT_EQ(noErr, FSCompareFSRefs(&ref, &found));
    EXPECT_EQ(0, close(file));
}

TEST_F(CFURL, FSRefOfNothing) {
    const TemporaryFolder folder;
    FSRef ref;
    std::memset(&ref, 0x55, sizeof(ref));
    const FSRef before = ref;
    EXPECT_FALSE(CFURLGetFSRef(URLOfPath(folder / "missing"), &ref));
    EXPECT_FALSE(CFURLGetFSRef(URLOfText("http://host/tmp"), &ref));
    EXPECT_FALSE(CFURLGetFSRef(URLOfText("file:///tmp%00"), &ref));
    EXPECT_EQ(0, std::memcmp(&ref, &before, sizeof(ref)));
    EXPECT_EQ(nullptr, CFURLCreateFromFSRef(kCFAllocatorDefault, &ref));
    EXPECT_EQ(nullptr, CFURLCreateFromFSRef(kCFAllocatorDefault, nullptr));
    const std::string path = folder.MakeFile("a");
    ASSERT_TRUE(CFURLGetFSRef(URLOfPath(path), &ref));
    std::filesystem::remove(path);
    EXPECT_EQ(nullptr, CFURLCreateFromFSRef(kCFAllocatorDefault, &ref));
}

TEST_F(CFURL, FSRefFollowsARename) {
    const TemporaryFolder folder;
    FSRef ref = {};
    ASSERT_TRUE(CFURLGetFSRef(URLOfPath(folder.MakeFile("a")), &ref));
    std::filesystem::rename(folder / "a", folder / "b");
    EXPECT_EQ(folder / "b", BytePathOf(OwnedURL(CFURLCreateFromFSRef(kCFAllocatorDefault, &ref))));
}

TEST_F(CFURL, FailsCleanlyWithoutMemory) {
    const TemporaryFolder folder;
    const std::string path = folder.MakeFile("a name that is too long to be kept in place");
    FSRef ref = {};
    ASSERT_TRUE(CFURLGetFSRef(URLOfPath(path), &ref));
    const auto scenario = [&]() -> bool {
        const OwnedURL url = CFURLCreateFromFSRef(kCFAllocatorDefault, &ref);
        if (url == nullptr) return false;
        const OwnedURL parent = CFURLCreateCopyDeletingLastPathComponent(kCFAllocatorDefault, url);
        if (parent == nullptr) return false;
        const OwnedURL again = CFURLCreateCopyAppendingPathComponent(
            kCFAllocatorDefault, parent, CFSTR("another long name of an item"), true);
        if (again == nullptr) return false;
        const OwnedRef<CFStringRef> styled = CFURLCopyFileSystemPath(again, kCFURLHFSPathStyle);
        const OwnedRef<CFStringRef> name = CFURLCopyLastPathComponent(again);
        const OwnedURL text = CFURLCreateWithString(kCFAllocatorDefault, CFURLGetString(url), nullptr);
        FSRef found = {};
        return styled != nullptr && name != nullptr && text != nullptr && CFURLGetFSRef(text, &found);
    };
    const auto body = [&](const auto& inUnderFault) {
        bool isWhole = false;
        const bool failed = inUnderFault([&] { isWhole = scenario(); });
        EXPECT_EQ(!failed, isWhole);
        EXPECT_EQ(mLiveBefore, LiveObjectsForTesting());
    };
    EXPECT_GT(support::FailEach<test_files::FailingNew>(body), 10);
    EXPECT_GT(support::FailEach<support::FailingMalloc>(body, support::Countdown::kForever), 0);
}

TEST_F(CFURL, EqualByText) {
    const OwnedURL url = URLOfPath("/a b");
    EXPECT_TRUE(CFEqual(url, URLOfText("file:///a%20b")));
    EXPECT_EQ(CFHash(url), CFHash(URLOfText("file:///a%20b")));
    EXPECT_FALSE(CFEqual(url, URLOfPath("/a b", true)));
    EXPECT_FALSE(CFEqual(url, CFURLGetString(url)));
    EXPECT_EQ("file:///a%20b", TakeUTF8(CFCopyDescription(url)));
}

TEST_F(CFURL, UsedOnManyThreads) {
    const OwnedURL url = URLOfPath("/shared/by/many");
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&url] {
            for (int round = 0; round < 500; ++round) {
                const OwnedURL parent = CFURLCreateCopyDeletingLastPathComponent(kCFAllocatorDefault, url);
                ASSERT_EQ("/shared/by", PathOf(parent));
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
}
