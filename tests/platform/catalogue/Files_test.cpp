#include "Refs.h"
#include "places/NodeTable.h"
#include "status/StatusOfErrno.h"
#include "support/FailingCalls.h"
#include "support/FailingNew.h"
#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <toolbox/Files.h>
#include <unistd.h>

#include <cstring>
#include <filesystem>

namespace {

namespace fs = std::filesystem;
using test_files::FailingCalls;
using test_files::FailingNew;
using test_files::MakeRef;
using test_files::OpenDescriptorCount;
using test_files::PathOf;
using test_files::TemporaryFolder;

// The current folder for a test's time.
class CurrentFolder {
  public:
    explicit CurrentFolder(const std::string& inPath) : mBefore(fs::current_path()) {
        fs::current_path(inPath);
    }
    ~CurrentFolder() { fs::current_path(mBefore); }
    CurrentFolder(const CurrentFolder&) = delete;
    CurrentFolder& operator=(const CurrentFolder&) = delete;

  private:
    fs::path mBefore;
};

TEST(FSPathMakeRef, FileAndFolder) {
    const TemporaryFolder folder;
    const std::string path = folder.MakeFile("tone.m4a");
    FSRef ref;
    Boolean isDirectory = 1;
    ASSERT_EQ(noErr, MakeRef(path, &ref, &isDirectory));
    EXPECT_EQ(0, isDirectory);
    EXPECT_EQ(path, PathOf(ref));
    ASSERT_EQ(noErr, MakeRef(folder.Path(), &ref, &isDirectory));
    EXPECT_EQ(1, isDirectory);
    EXPECT_EQ(folder.Path(), PathOf(ref));
}

TEST(FSPathMakeRef, RootFolder) {
    FSRef ref;
    Boolean isDirectory = 0;
    for (const char* path : {"/", "//", "/.", "/..", "/tmp/.."}) {
        ASSERT_EQ(noErr, MakeRef(path, &ref, &isDirectory)) << path;
        EXPECT_EQ(1, isDirectory);
        EXPECT_EQ("/", PathOf(ref));
    }
}

TEST(FSPathMakeRef, NullArguments) {
    FSRef ref;
    std::memset(&ref, 0x5A, sizeof(ref));
    const FSRef before = ref;
    EXPECT_EQ(paramErr, FSPathMakeRef(nullptr, &ref, nullptr));
    EXPECT_EQ(paramErr, FSPathMakeRef(reinterpret_cast<const UInt8*>("/"), nullptr, nullptr));
    EXPECT_EQ(0, std::memcmp(&before, &ref, sizeof(ref)));
}

TEST(FSPathMakeRef, MissingItemLeavesOutputs) {
    const TemporaryFolder folder;
    FSRef ref;
    std::memset(&ref, 0x5A, sizeof(ref));
    const FSRef before = ref;
    Boolean isDirectory = 7;
    EXPECT_EQ(fnfErr, MakeRef(folder / "none", &ref, &isDirectory));
    EXPECT_EQ(7, isDirectory);
    EXPECT_EQ(0, std::memcmp(&before, &ref, sizeof(ref)));
}

TEST(FSPathMakeRef, MissingItemAndMissingFolder) {
    const TemporaryFolder folder;
    const CurrentFolder inside(folder.Path());
    folder.MakeFile("file");
    ASSERT_EQ(0, symlink("nowhere", (folder / "dangling").c_str()));
    FSRef ref;
    EXPECT_EQ(fnfErr, MakeRef("", &ref));
    EXPECT_EQ(fnfErr, MakeRef("none", &ref));
    EXPECT_EQ(fnfErr, MakeRef("none/", &ref));
    EXPECT_EQ(fnfErr, MakeRef("/no such item at the root", &ref));
    EXPECT_EQ(fnfErr, MakeRef("/no such item at the root///", &ref));
    EXPECT_EQ(fnfErr, MakeRef("dangling", &ref));
    EXPECT_EQ(dirNFErr, MakeRef("none/below", &ref));
    EXPECT_EQ(dirNFErr, MakeRef("none/below//", &ref));
    EXPECT_EQ(dirNFErr, MakeRef("dangling/below", &ref));
    EXPECT_EQ(dirNFErr, MakeRef(folder / "none/far/below", &ref));
    EXPECT_EQ(dirNFErr, MakeRef("file/below", &ref));
    EXPECT_EQ(dirNFErr, MakeRef("file/", &ref));
}

TEST(FSPathMakeRef, TrailingSlashes) {
    const TemporaryFolder folder;
    folder.MakeFolder("sub");
    FSRef plain;
    FSRef slashes;
    ASSERT_EQ(noErr, MakeRef(folder / "sub", &plain));
    ASSERT_EQ(noErr, MakeRef(folder / "sub///", &slashes));
    EXPECT_EQ(0, std::memcmp(&plain, &slashes, sizeof(FSRef)));
    EXPECT_EQ(folder / "sub", PathOf(slashes));
}

TEST(FSPathMakeRef, RelativePathStartsAtTheFolderOfTheMoment) {
    const TemporaryFolder folder;
    folder.MakeFolder("one");
    folder.MakeFolder("two");
    folder.MakeFile("one/a");
    folder.MakeFile("two/a");
    FSRef first;
    FSRef second;
    {
        const CurrentFolder inside(folder / "one");
        ASSERT_EQ(noErr, MakeRef("a", &first));
    }
    {
        const CurrentFolder inside(folder / "two");
        ASSERT_EQ(noErr, MakeRef("./a", &second));
        EXPECT_EQ(folder / "one/a", PathOf(first));
        ASSERT_EQ(noErr, MakeRef("../one/../one//a", &second));
    }
    EXPECT_EQ(0, std::memcmp(&first, &second, sizeof(FSRef)));
}

TEST(FSPathMakeRef, RelativePathWhenTheCurrentFolderIsGone) {
    const TemporaryFolder folder;
    folder.MakeFolder("gone");
    const CurrentFolder inside(folder / "gone");
    fs::remove(folder / "gone");
    FSRef ref;
    EXPECT_EQ(fnfErr, MakeRef("a", &ref));
}

TEST(FSPathMakeRef, LinksAreFollowed) {
    const TemporaryFolder folder;
    const std::string path = folder.MakeFile("real");
    folder.MakeFolder("sub");
    folder.MakeFile("sub/inner");
    ASSERT_EQ(0, symlink("real", (folder / "link").c_str()));
    ASSERT_EQ(0, symlink("link", (folder / "link to link").c_str()));
    ASSERT_EQ(0, symlink("sub", (folder / "sublink").c_str()));
    FSRef ref;
    ASSERT_EQ(noErr, MakeRef(folder / "link to link", &ref));
    EXPECT_EQ(path, PathOf(ref));
    ASSERT_EQ(noErr, MakeRef(folder / "sublink/inner", &ref));
    EXPECT_EQ(folder / "sub/inner", PathOf(ref));
}

TEST(FSPathMakeRef, LinksInACircle) {
    const TemporaryFolder folder;
    ASSERT_EQ(0, symlink("b", (folder / "a").c_str()));
    ASSERT_EQ(0, symlink("a", (folder / "b").c_str()));
    FSRef ref;
    EXPECT_EQ(bdNamErr, MakeRef(folder / "a", &ref));
}

TEST(FSPathMakeRef, NamesOfAnyBytes) {
    const TemporaryFolder folder;
    for (const std::string& name :
         {std::string("with space.m4a"), std::string(" "), std::string("gr\xC3\xBC\xC3\x9F.m4a"),
          std::string("gru\xCC\x88.m4a"), std::string("\xF0\x9F\x8E\xB5"),
          std::string("\xFF\xFE\x80 not text"), std::string("a:b\\c\"d'e"), std::string("line\nbreak"),
          std::string("-rf"), std::string("\xC0\x80"), std::string("\xED\xA0\xBC lone"), std::string("..."),
          std::string(255, 'n')}) {
        const std::string path = folder.MakeFile(name);
        FSRef ref;
        ASSERT_EQ(noErr, MakeRef(path, &ref)) << name;
        EXPECT_EQ(path, PathOf(ref));
    }
}

TEST(FSPathMakeRef, BothNormalFormsAreTwoFiles) {
    const TemporaryFolder folder;
    FSRef composed;
    FSRef decomposed;
    ASSERT_EQ(noErr, MakeRef(folder.MakeFile("\xC3\xBC"), &composed));
    ASSERT_EQ(noErr, MakeRef(folder.MakeFile("u\xCC\x88"), &decomposed));
    EXPECT_NE(0, std::memcmp(&composed, &decomposed, sizeof(FSRef)));
    EXPECT_EQ(folder / "\xC3\xBC", PathOf(composed));
}

TEST(FSPathMakeRef, NameOrPathTooLong) {
    const TemporaryFolder folder;
    FSRef ref;
    EXPECT_EQ(bdNamErr, MakeRef(folder / std::string(256, 'n'), &ref));
    std::string deep = folder.Path();
    while (deep.size() < 5000)
        deep += "/sub";
    EXPECT_EQ(dirNFErr, MakeRef(deep, &ref));
}

// Folders nested so deep that the innermost has no path that the system takes.
TEST(FSPathMakeRef, RelativePathToAPlaceTooDeepForAPath) {
    const TemporaryFolder folder;
    const CurrentFolder stay(folder.Path());
    const std::string name(250, 'd');
    constexpr int kLevels = 20;
    std::string path = folder.Path();
    for (int level = 0; level < kLevels; ++level) {
        ASSERT_EQ(0, mkdir(name.c_str(), 0700));
        ASSERT_EQ(0, chdir(name.c_str()));
        path += '/' + name;
    }
    FSRef ref;
    EXPECT_EQ(bdNamErr, MakeRef(".", &ref));
    EXPECT_EQ(bdNamErr, MakeRef(path, &ref));
    for (int level = 0; level < kLevels; ++level) {
        ASSERT_EQ(0, chdir(".."));
        ASSERT_EQ(0, rmdir(name.c_str()));
    }
}

TEST(FSPathMakeRef, ModifiedUTF8IsTriedSecond) {
    const TemporaryFolder folder;
    folder.MakeFolder("\xF0\x9F\x98\x80 mood");
    const std::string path = folder.MakeFile("\xF0\x9F\x98\x80 mood/\xF0\x9F\x8E\xB5.m4a");
    FSRef ref;
    ASSERT_EQ(noErr, MakeRef(folder / "\xED\xA0\xBD\xED\xB8\x80 mood/\xED\xA0\xBC\xED\xBE\xB5.m4a", &ref));
    EXPECT_EQ(path, PathOf(ref));
}

TEST(FSPathMakeRef, TheNameAsGivenComesFirst) {
    const TemporaryFolder folder;
    const std::string joined = folder.MakeFile("\xF0\x9F\x8E\xB5");
    const std::string paired = folder.MakeFile("\xED\xA0\xBC\xED\xBE\xB5");
    FSRef ref;
    ASSERT_EQ(noErr, MakeRef(paired, &ref));
    EXPECT_EQ(paired, PathOf(ref));
    ASSERT_EQ(noErr, MakeRef(joined, &ref));
    EXPECT_EQ(joined, PathOf(ref));
}

TEST(FSPathMakeRef, ModifiedUTF8LongerThanANameMayBe) {
    const TemporaryFolder folder;
    std::string name;
    std::string modified;
    for (int count = 0; count < 60; ++count) {
        name += "\xF0\x9F\x8E\xB5";
        modified += "\xED\xA0\xBC\xED\xBE\xB5";
    }
    const std::string path = folder.MakeFile(name);
    FSRef ref;
    ASSERT_EQ(noErr, MakeRef(folder / modified, &ref));
    EXPECT_EQ(path, PathOf(ref));
}

TEST(FSPathMakeRef, MissingEitherWay) {
    const TemporaryFolder folder;
    FSRef ref;
    EXPECT_EQ(fnfErr, MakeRef(folder / "\xED\xA0\xBC\xED\xBE\xB5", &ref));
    EXPECT_EQ(dirNFErr, MakeRef(folder / "\xED\xA0\xBC\xED\xBE\xB5/a", &ref));
}

TEST(FSPathMakeRef, OneItemHasOneReference) {
    const TemporaryFolder folder;
    const std::string path = folder.MakeFile("a");
    FSRef first;
    ASSERT_EQ(noErr, MakeRef(path, &first));
    const std::size_t nodes = toolbox::files::NodeTable::Shared().Count();
    for (int count = 0; count < 100; ++count) {
        FSRef again;
        ASSERT_EQ(noErr, MakeRef(path, &again));
        EXPECT_EQ(0, std::memcmp(&first, &again, sizeof(FSRef)));
    }
    EXPECT_EQ(nodes, toolbox::files::NodeTable::Shared().Count());
}

TEST(FSPathMakeRef, HardLinksAreOneItem) {
    const TemporaryFolder folder;
    const std::string path = folder.MakeFile("a");
    fs::create_hard_link(path, folder / "b");
    FSRef first;
    FSRef second;
    ASSERT_EQ(noErr, MakeRef(path, &first));
    ASSERT_EQ(noErr, MakeRef(folder / "b", &second));
    EXPECT_EQ(0, std::memcmp(&first, &second, sizeof(FSRef)));
    EXPECT_EQ(folder / "b", PathOf(first));
    fs::remove(folder / "b");
    EXPECT_EQ(path, PathOf(first));
}

TEST(FSRefMakePath, BufferSizes) {
    const TemporaryFolder folder;
    const std::string path = folder.MakeFile("a");
    FSRef ref;
    ASSERT_EQ(noErr, MakeRef(path, &ref));
    const UInt32 needed = static_cast<UInt32>(path.size() + 1);
    std::string buffer(needed + 1, '#');
    UInt8* bytes = reinterpret_cast<UInt8*>(buffer.data());
    EXPECT_EQ(pathTooLongErr, FSRefMakePath(&ref, bytes, 0));
    EXPECT_EQ(pathTooLongErr, FSRefMakePath(&ref, bytes, 1));
    EXPECT_EQ(pathTooLongErr, FSRefMakePath(&ref, bytes, needed - 1));
    EXPECT_EQ(std::string(needed + 1, '#'), buffer);
    EXPECT_EQ(noErr, FSRefMakePath(&ref, bytes, needed));
    EXPECT_EQ(path + '\0' + '#', buffer);
}

TEST(FSRefMakePath, NullAndForeignArguments) {
    UInt8 path[8];
    FSRef ref = {};
    EXPECT_EQ(paramErr, FSRefMakePath(nullptr, path, sizeof(path)));
    EXPECT_EQ(paramErr, FSRefMakePath(&ref, nullptr, 8));
    EXPECT_EQ(errFSBadFSRef, FSRefMakePath(&ref, path, sizeof(path)));
    std::memset(&ref, 0xFF, sizeof(ref));
    EXPECT_EQ(errFSBadFSRef, FSRefMakePath(&ref, path, sizeof(path)));
}

TEST(FSRefMakePath, ReferenceToAnItemNeverSeen) {
    FSRef ref;
    ASSERT_EQ(noErr, MakeRef("/", &ref));
    std::memset(ref.hidden + 8, 0xEE, 24);
    EXPECT_EQ("status -43", PathOf(ref));
}

TEST(FSPathMakeRef, EveryFailingCall) {
    const TemporaryFolder folder;
    const std::string path = folder.MakeFile("a");
    const std::size_t descriptors = OpenDescriptorCount();
    for (const int number : {EIO, EACCES, ENOMEM, EMFILE}) {
        for (int failing = 1;; ++failing) {
            FSRef ref;
            OSStatus status = noErr;
            bool delivered = false;
            {
                const FailingCalls calls(failing, number);
                status = MakeRef(path, &ref);
                delivered = calls.Delivered();
            }
            EXPECT_EQ(descriptors, OpenDescriptorCount());
            if (!delivered) {
                EXPECT_EQ(noErr, status);
                EXPECT_GT(failing, 2);
                break;
            }
            EXPECT_EQ(toolbox::StatusOfErrno(number), status) << failing;
        }
    }
}

TEST(Files, EveryFailingAllocation) {
    const TemporaryFolder folder;
    for (int failing = 1;; ++failing) {
        // A path that was never seen, with a name that needs memory of its own.
        const std::string path = folder.MakeFile("a name of more than some bytes " + std::to_string(failing));
        FSRef ref;
        UInt8 found[4096];
        OSStatus made = noErr;
        OSStatus answered = noErr;
        bool delivered = false;
        {
            const UInt8* bytes = reinterpret_cast<const UInt8*>(path.c_str());
            const FailingNew memory(failing);
            made = FSPathMakeRef(bytes, &ref, nullptr);
            if (made == noErr) answered = FSRefMakePath(&ref, found, sizeof(found));
            delivered = memory.Delivered();
        }
        if (!delivered) {
            EXPECT_EQ(noErr, made);
            EXPECT_EQ(noErr, answered);
            EXPECT_GT(failing, 8);
            break;
        }
        EXPECT_EQ(memFullErr, made == noErr ? answered : made) << failing;
        ASSERT_EQ(noErr, MakeRef(path, &ref));
        EXPECT_EQ(path, PathOf(ref));
    }
}

}  // namespace
