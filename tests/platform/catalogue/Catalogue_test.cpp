#include "catalogue/Catalogue.h"

#include "support/FailingCalls.h"
#include "Refs.h"
#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <unistd.h>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <string>

namespace {

namespace fs = std::filesystem;
using test_files::FailingCalls;
using test_files::MakeRef;
using test_files::OpenDescriptorCount;
using test_files::PathOf;
using test_files::TemporaryFolder;

TEST(FindByRef, RenamedByAnother) {
    const TemporaryFolder folder;
    for (int count = 0; count < 50; ++count)
        folder.MakeFile("neighbour " + std::to_string(count));
    const std::string path = folder.MakeFile("before");
    FSRef ref;
    ASSERT_EQ(noErr, MakeRef(path, &ref));
    fs::rename(path, folder / "\xF0\x9F\x8E\xB5 after");
    EXPECT_EQ(folder / "\xF0\x9F\x8E\xB5 after", PathOf(ref));
    fs::rename(folder / "\xF0\x9F\x8E\xB5 after", path);
    EXPECT_EQ(path, PathOf(ref));
}

TEST(FindByRef, RenamedAndAnotherTookItsName) {
    const TemporaryFolder folder;
    const std::string path = folder.MakeFile("a");
    FSRef ref;
    ASSERT_EQ(noErr, MakeRef(path, &ref));
    fs::rename(path, folder / "b");
    folder.MakeFile("a", "another");
    EXPECT_EQ(folder / "b", PathOf(ref));
}

TEST(FindByRef, RenamedAndALinkToItTookItsName) {
    const TemporaryFolder folder;
    const std::string path = folder.MakeFile("a");
    FSRef ref;
    ASSERT_EQ(noErr, MakeRef(path, &ref));
    fs::rename(path, folder / "b");
    ASSERT_EQ(0, symlink("b", path.c_str()));
    EXPECT_EQ(folder / "b", PathOf(ref));
}

TEST(FindByRef, FoldersAboveItRenamed) {
    const TemporaryFolder folder;
    folder.MakeFolder("x/y/z");
    const std::string path = folder.MakeFile("x/y/z/a");
    FSRef ref;
    ASSERT_EQ(noErr, MakeRef(path, &ref));
    fs::rename(folder / "x/y", folder / "x/Y");
    fs::rename(folder / "x", folder / "X");
    EXPECT_EQ(folder / "X/Y/z/a", PathOf(ref));
    fs::rename(folder / "X/Y/z/a", folder / "X/Y/z/b");
    fs::rename(folder / "X/Y", folder / "X/y");
    EXPECT_EQ(folder / "X/y/z/b", PathOf(ref));
}

TEST(FindByRef, MovedToAPlaceThatWasSeenAgain) {
    const TemporaryFolder folder;
    folder.MakeFolder("one");
    folder.MakeFolder("two");
    const std::string path = folder.MakeFile("one/a");
    FSRef ref;
    FSRef seen;
    ASSERT_EQ(noErr, MakeRef(path, &ref));
    fs::rename(path, folder / "two/b");
    EXPECT_EQ("status -43", PathOf(ref));
    ASSERT_EQ(noErr, MakeRef(folder / "two/b", &seen));
    EXPECT_EQ(folder / "two/b", PathOf(ref));
}

TEST(FindByRef, FoldersThatChangedPlaces) {
    const TemporaryFolder folder;
    folder.MakeFolder("x/y");
    FSRef outer;
    FSRef inner;
    ASSERT_EQ(noErr, MakeRef(folder / "x", &outer));
    ASSERT_EQ(noErr, MakeRef(folder / "x/y", &inner));
    fs::rename(folder / "x/y", folder / "y");
    fs::rename(folder / "x", folder / "y/x");
    FSRef again;
    ASSERT_EQ(noErr, MakeRef(folder / "y/x", &again));
    EXPECT_EQ(folder / "y", PathOf(inner));
    EXPECT_EQ(folder / "y/x", PathOf(outer));
}

TEST(FindByRef, DeletedItem) {
    const TemporaryFolder folder;
    const std::string path = folder.MakeFile("a");
    FSRef ref;
    ASSERT_EQ(noErr, MakeRef(path, &ref));
    fs::remove(path);
    EXPECT_EQ("status -43", PathOf(ref));
}

// The file system hands the inode on at once; the reference must not go with it.
TEST(FindByRef, DeletedItemAndANewOneOfTheSameName) {
    const TemporaryFolder folder;
    const std::string path = folder.MakeFile("a");
    FSRef before;
    ASSERT_EQ(noErr, MakeRef(path, &before));
    fs::remove(path);
    usleep(20'000);  // births are told apart by the kernel's tick
    folder.MakeFile("a");
    EXPECT_EQ("status -43", PathOf(before));
    FSRef after;
    ASSERT_EQ(noErr, MakeRef(path, &after));
    EXPECT_EQ(path, PathOf(after));
    EXPECT_EQ("status -43", PathOf(before));
}

TEST(FindByRef, DeletedFolderAboveIt) {
    const TemporaryFolder folder;
    folder.MakeFolder("sub");
    const std::string path = folder.MakeFile("sub/a");
    FSRef ref;
    ASSERT_EQ(noErr, MakeRef(path, &ref));
    fs::remove_all(folder / "sub");
    EXPECT_EQ("status -43", PathOf(ref));
    folder.MakeFile("sub");
    EXPECT_EQ("status -43", PathOf(ref));
}

// A name that goes away between the walk's steps is looked up again.
TEST(FindByPath, FolderMissingForAMoment) {
    const TemporaryFolder folder;
    const std::string path = folder.MakeFile("a");
    FSRef ref;
    {
        const FailingCalls calls(2, ENOENT);
        EXPECT_EQ(noErr, MakeRef(path, &ref));
        EXPECT_TRUE(calls.Delivered());
    }
    EXPECT_EQ(path, PathOf(ref));
}

TEST(FindByPath, FolderMissingWheneverItIsLookedAt) {
    const TemporaryFolder folder;
    const std::string path = folder.MakeFile("a");
    const toolbox::os::SystemCalls real = toolbox::os::Calls();
    toolbox::os::CallsForTesting().statx = [](int, const char*, int, unsigned, struct statx*) {
        errno = ENOENT;
        return -1;
    };
    FSRef ref;
    const OSStatus status = MakeRef(path, &ref);
    toolbox::os::CallsForTesting() = real;
    EXPECT_EQ(dirNFErr, status);
}

// Another program's doing between the steps of a walk: the folder is moved and a link left in its place.
std::string sMovedFolder;
TEST(FindByPath, LinkTakesAFoldersPlaceMeanwhile) {
    const TemporaryFolder folder;
    sMovedFolder = folder.MakeFolder("sub");
    const std::string path = folder.MakeFile("sub/a");
    const toolbox::os::SystemCalls real = toolbox::os::Calls();
    toolbox::os::CallsForTesting().realpath = [](const char* inPath, char* outBuffer) {
        char* const canonical = realpath(inPath, outBuffer);
        if (!fs::exists(sMovedFolder + " moved")) {
            fs::rename(sMovedFolder, sMovedFolder + " moved");
            fs::create_symlink("sub moved", sMovedFolder);
        }
        return canonical;
    };
    FSRef ref;
    const OSStatus status = MakeRef(path, &ref);
    toolbox::os::CallsForTesting() = real;
    ASSERT_EQ(noErr, status);
    EXPECT_EQ(folder / "sub moved/a", PathOf(ref));
}

TEST(FindByRef, EveryFailingCall) {
    const TemporaryFolder folder;
    folder.MakeFolder("sub");
    const std::string path = folder.MakeFile("sub/a");
    FSRef ref;
    ASSERT_EQ(noErr, MakeRef(path, &ref));
    const std::size_t descriptors = OpenDescriptorCount();
    for (int failing = 1;; ++failing) {
        // Away from the hint, so that the whole search takes place.
        const std::string now = folder / ("sub/now " + std::to_string(failing));
        fs::rename(failing == 1 ? path : folder / ("sub/now " + std::to_string(failing - 1)), now);
        UInt8 found[4096] = {};
        OSStatus status = noErr;
        bool delivered = false;
        {
            const FailingCalls calls(failing, EIO);
            status = FSRefMakePath(&ref, found, sizeof(found));
            delivered = calls.Delivered();
        }
        EXPECT_EQ(descriptors, OpenDescriptorCount());
        if (status == noErr) {
            EXPECT_EQ(now, reinterpret_cast<char*>(found));  // only closing the folder failed, or nothing
        } else {
            EXPECT_EQ(ioErr, status);
        }
        if (!delivered) {
            EXPECT_EQ(noErr, status);
            EXPECT_GT(failing, 6);
            break;
        }
    }
}

}  // namespace
