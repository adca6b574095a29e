#include "catalogue/Catalogue.h"

#include "Refs.h"
#include "support/FailingCalls.h"
#include "support/FileWorld.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <string>

namespace {

using support::FileWorld;
using test_files::FailingCalls;
using test_files::MakeRef;
using test_files::PathOf;

class FindByRef : public support::FileWorldTest {};
class FindByPath : public support::FileWorldTest {};
INSTANTIATE_TEST_SUITE_P(Worlds, FindByRef, support::BothWorlds(), support::NameOfWorld);
INSTANTIATE_TEST_SUITE_P(Worlds, FindByPath, support::BothWorlds(), support::NameOfWorld);

TEST_P(FindByRef, RenamedByAnother) {
    for (int count = 0; count < 50; ++count)
        mFolder.MakeFile("neighbour " + std::to_string(count));
    const std::string path = mFolder.MakeFile("before");
    FSRef ref;
    ASSERT_EQ(noErr, MakeRef(path, &ref));
    mFolder.Rename(path, mFolder / "\xF0\x9F\x8E\xB5 after");
    EXPECT_EQ(mFolder / "\xF0\x9F\x8E\xB5 after", PathOf(ref));
    mFolder.Rename(mFolder / "\xF0\x9F\x8E\xB5 after", path);
    EXPECT_EQ(path, PathOf(ref));
}

TEST_P(FindByRef, RenamedAndAnotherTookItsName) {
    const std::string path = mFolder.MakeFile("a");
    FSRef ref;
    ASSERT_EQ(noErr, MakeRef(path, &ref));
    mFolder.Rename(path, mFolder / "b");
    mFolder.MakeFile("a", "another");
    EXPECT_EQ(mFolder / "b", PathOf(ref));
}

TEST_P(FindByRef, RenamedAndALinkToItTookItsName) {
    const std::string path = mFolder.MakeFile("a");
    FSRef ref;
    ASSERT_EQ(noErr, MakeRef(path, &ref));
    mFolder.Rename(path, mFolder / "b");
    mFolder.MakeLink("b", "a");
    EXPECT_EQ(mFolder / "b", PathOf(ref));
}

TEST_P(FindByRef, FoldersAboveItRenamed) {
    mFolder.MakeFolder("x/y/z");
    const std::string path = mFolder.MakeFile("x/y/z/a");
    FSRef ref;
    ASSERT_EQ(noErr, MakeRef(path, &ref));
    mFolder.Rename(mFolder / "x/y", mFolder / "x/Y");
    mFolder.Rename(mFolder / "x", mFolder / "X");
    EXPECT_EQ(mFolder / "X/Y/z/a", PathOf(ref));
    mFolder.Rename(mFolder / "X/Y/z/a", mFolder / "X/Y/z/b");
    mFolder.Rename(mFolder / "X/Y", mFolder / "X/y");
    EXPECT_EQ(mFolder / "X/y/z/b", PathOf(ref));
}

TEST_P(FindByRef, MovedToAPlaceThatWasSeenAgain) {
    mFolder.MakeFolder("one");
    mFolder.MakeFolder("two");
    const std::string path = mFolder.MakeFile("one/a");
    FSRef ref;
    FSRef seen;
    ASSERT_EQ(noErr, MakeRef(path, &ref));
    mFolder.Rename(path, mFolder / "two/b");
    EXPECT_EQ("status -43", PathOf(ref));
    ASSERT_EQ(noErr, MakeRef(mFolder / "two/b", &seen));
    EXPECT_EQ(mFolder / "two/b", PathOf(ref));
}

TEST_P(FindByRef, FoldersThatChangedPlaces) {
    mFolder.MakeFolder("x/y");
    FSRef outer;
    FSRef inner;
    ASSERT_EQ(noErr, MakeRef(mFolder / "x", &outer));
    ASSERT_EQ(noErr, MakeRef(mFolder / "x/y", &inner));
    mFolder.Rename(mFolder / "x/y", mFolder / "y");
    mFolder.Rename(mFolder / "x", mFolder / "y/x");
    FSRef again;
    ASSERT_EQ(noErr, MakeRef(mFolder / "y/x", &again));
    EXPECT_EQ(mFolder / "y", PathOf(inner));
    EXPECT_EQ(mFolder / "y/x", PathOf(outer));
}

TEST_P(FindByRef, DeletedItem) {
    const std::string path = mFolder.MakeFile("a");
    FSRef ref;
    ASSERT_EQ(noErr, MakeRef(path, &ref));
    mFolder.Remove(path);
    EXPECT_EQ("status -43", PathOf(ref));
}

// The file system hands the inode on at once; the reference must not go with it.
TEST_P(FindByRef, DeletedItemAndANewOneOfTheSameName) {
    const std::string path = mFolder.MakeFile("a");
    FSRef before;
    ASSERT_EQ(noErr, MakeRef(path, &before));
    mFolder.Remove(path);
    usleep(20'000);  // births are told apart by the kernel's tick
    mFolder.MakeFile("a");
    EXPECT_EQ("status -43", PathOf(before));
    FSRef after;
    ASSERT_EQ(noErr, MakeRef(path, &after));
    EXPECT_EQ(path, PathOf(after));
    EXPECT_EQ("status -43", PathOf(before));
}

TEST_P(FindByRef, DeletedFolderAboveIt) {
    mFolder.MakeFolder("sub");
    const std::string path = mFolder.MakeFile("sub/a");
    FSRef ref;
    ASSERT_EQ(noErr, MakeRef(path, &ref));
    mFolder.Remove(path);
    mFolder.Remove(mFolder / "sub", true);
    EXPECT_EQ("status -43", PathOf(ref));
    mFolder.MakeFile("sub");
    EXPECT_EQ("status -43", PathOf(ref));
}

// A name that goes away between the walk's steps is looked up again.
TEST_P(FindByPath, FolderMissingForAMoment) {
    const std::string path = mFolder.MakeFile("a");
    FSRef ref;
    {
        const FailingCalls calls(2, ENOENT);
        EXPECT_EQ(noErr, MakeRef(path, &ref));
        EXPECT_TRUE(calls.Delivered());
    }
    EXPECT_EQ(path, PathOf(ref));
}

TEST_P(FindByPath, FolderMissingWheneverItIsLookedAt) {
    const std::string path = mFolder.MakeFile("a");
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
FileWorld* sWorld = nullptr;
char* (*sWorldRealPath)(const char*, char*) = nullptr;
TEST_P(FindByPath, LinkTakesAFoldersPlaceMeanwhile) {
    sMovedFolder = mFolder.MakeFolder("sub");
    sWorld = &mFolder;
    sWorldRealPath = toolbox::os::Calls().realpath;
    const std::string path = mFolder.MakeFile("sub/a");
    const toolbox::os::SystemCalls real = toolbox::os::Calls();
    toolbox::os::CallsForTesting().realpath = [](const char* inPath, char* outBuffer) {
        char* const canonical = sWorldRealPath(inPath, outBuffer);
        if (!FileWorld::Exists(sMovedFolder + " moved")) {
            FileWorld::Rename(sMovedFolder, sMovedFolder + " moved");
            sWorld->MakeLink("sub moved", "sub");
        }
        return canonical;
    };
    FSRef ref;
    const OSStatus status = MakeRef(path, &ref);
    toolbox::os::CallsForTesting() = real;
    ASSERT_EQ(noErr, status);
    EXPECT_EQ(mFolder / "sub moved/a", PathOf(ref));
}

TEST_P(FindByRef, EveryFailingCall) {
    mFolder.MakeFolder("sub");
    const std::string path = mFolder.MakeFile("sub/a");
    FSRef ref;
    ASSERT_EQ(noErr, MakeRef(path, &ref));
    const std::size_t descriptors = OpenDescriptorCount();
    for (int failing = 1;; ++failing) {
        // Away from the hint, so that the whole search takes place.
        const std::string now = mFolder / ("sub/now " + std::to_string(failing));
        mFolder.Rename(failing == 1 ? path : mFolder / ("sub/now " + std::to_string(failing - 1)), now);
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
