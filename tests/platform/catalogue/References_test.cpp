// Items found again, whatever became of their names and of what the table remembers.
#include "Refs.h"
#include "catalogue/Catalogue.h"
#include "support/CountedCalls.h"
#include "support/FailingCalls.h"
#include "support/FailingNew.h"
#include "support/FileWorld.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <string>

namespace {

using test_files::CountedCalls;
using test_files::FailingCalls;
using test_files::FailingNew;
using test_files::MakeRef;
using test_files::PathOf;
using toolbox::files::FoundItem;
using toolbox::files::NodeFacts;
using toolbox::files::NodeTable;

class FindByRef : public support::FileWorldTest {
  protected:
    static FSRef RefOf(const std::string& inPath) {
        FSRef ref = {};
        EXPECT_EQ(noErr, MakeRef(inPath, &ref)) << inPath;
        return ref;
    }
    // Makes each of the calls of finding an item again fail; inPrepare(n) says where it is before the n-th.
    template <typename Prepare>
    void ExpectFoundWhateverFails(const FSRef& inRef, Prepare inPrepare) {
        const std::size_t descriptors = OpenDescriptorCount();
        for (int failing = 1;; ++failing) {
            const std::string path = inPrepare(failing);
            UInt8 found[4096] = {};
            OSStatus status = noErr;
            bool delivered = false;
            {
                const FailingCalls calls(failing, EIO);
                status = FSRefMakePath(&inRef, found, sizeof(found));
                delivered = calls.Delivered();
            }
            EXPECT_EQ(descriptors, OpenDescriptorCount());
            if (status == noErr) {
                EXPECT_EQ(path,
                          reinterpret_cast<char*>(found));  // only closing the folder failed, or nothing
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

    // As many others as the table remembers are met meanwhile.
    void ForgetHints() {
        FoundItem folder;
        ASSERT_EQ(noErr, toolbox::files::FindByPath("/", folder));
        constexpr std::uint64_t kNobodysDevice = 1;
        for (std::size_t number = 0; number < NodeTable::kMaxHints; ++number) {
            NodeFacts facts;
            ASSERT_TRUE(NodeTable::Shared().RecordChild(
                folder.status.identity,
                {{kNobodysDevice, 1000 + number, mRound}, false, "other", false, false}, facts));
        }
        ++mRound;
    }

  private:
    std::int64_t mRound = 1;
};
INSTANTIATE_TEST_SUITE_P(Worlds, FindByRef, support::BothWorlds(), support::NameOfWorld);

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

TEST_P(FindByRef, RenamedWhereEntriesTellNoInode) {
    mFolder.MakeFile("neighbour");
    const std::string path = mFolder.MakeFile("before");
    FSRef ref;
    ASSERT_EQ(noErr, MakeRef(path, &ref));
    mFolder.Rename(path, mFolder / "after");
    static toolbox::os::SystemCalls sReal;
    sReal = toolbox::os::Calls();
    toolbox::os::CallsForTesting().readdir = [](DIR* ioFolder) {
        struct dirent* const entry = sReal.readdir(ioFolder);
        if (entry != nullptr) entry->d_ino = 0xFFFFFFFF;
        return entry;
    };
    const std::string found = PathOf(ref);
    toolbox::os::CallsForTesting() = sReal;
    EXPECT_EQ(mFolder / "after", found);
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

TEST_P(FindByRef, EveryFailingCall) {
    mFolder.MakeFolder("sub");
    const std::string path = mFolder.MakeFile("sub/a");
    FSRef ref;
    ASSERT_EQ(noErr, MakeRef(path, &ref));
    std::string now = path;
    ExpectFoundWhateverFails(ref, [&](int inFailing) {
        // Away from the hint, so that the whole search takes place.
        const std::string before = now;
        now = mFolder / ("sub/now " + std::to_string(inFailing));
        mFolder.Rename(before, now);
        return now;
    });
}

TEST_P(FindByRef, MeansTheNameThatItWasMadeBy) {
    mFolder.MakeFolder("one");
    mFolder.MakeFolder("two");
    const std::string path = mFolder.MakeFile("one/x");
    const std::string otherPath = mFolder / "two/y";
    ASSERT_EQ(0, mFolder.MakeHardLink(path, otherPath));
    const FSRef ref = RefOf(path);
    const FSRef other = RefOf(otherPath);
    EXPECT_EQ(path, PathOf(ref)) << "although the other was met since";
    EXPECT_EQ(otherPath, PathOf(other));
    EXPECT_EQ(noErr, FSCompareFSRefs(&ref, &other)) << "one item all the same";
}

TEST_P(FindByRef, FollowsAnItemWhileItHasOneName) {
    mFolder.MakeFolder("one");
    mFolder.MakeFolder("two");
    const std::string path = mFolder.MakeFile("one/x");
    const std::string otherPath = mFolder / "two/y";
    const FSRef ref = RefOf(path);
    ASSERT_EQ(0, mFolder.MakeHardLink(path, otherPath));
    const FSRef other = RefOf(otherPath);
    mFolder.Rename(path, mFolder / "one/z");
    EXPECT_EQ("status -43", PathOf(ref)) << "which of its names is meant?";
    mFolder.Remove(otherPath);
    EXPECT_EQ(mFolder / "one/z", PathOf(ref));
    EXPECT_EQ("status -43", PathOf(other)) << "was one of several";
}

TEST_P(FindByRef, TwoNamesInOneFolder) {
    const std::string path = mFolder.MakeFile("x");
    const std::string otherPath = mFolder / "y";
    ASSERT_EQ(0, mFolder.MakeHardLink(path, otherPath));
    const FSRef ref = RefOf(path);
    ForgetHints();
    EXPECT_EQ(path, PathOf(ref));
    mFolder.Remove(path);
    EXPECT_EQ("status -43", PathOf(ref)) << "though it is the only one by now";
    EXPECT_EQ(otherPath, PathOf(RefOf(otherPath)));
    EXPECT_EQ("status -43", PathOf(ref)) << "also where it was met";
    ASSERT_EQ(0, mFolder.MakeHardLink(otherPath, path));
    EXPECT_EQ(path, PathOf(ref));
}

TEST_P(FindByRef, WhereOneHintMayNotBeLookedAt) {
    const support::FileWorld::OrdinaryUser user(mFolder);
    mFolder.SetMode(mFolder.Path(), 0700);
    mFolder.MakeFolder("closed");
    mFolder.MakeFolder("open");
    const FSRef ref = RefOf(mFolder.MakeFile("closed/x"));
    mFolder.Rename(mFolder / "closed/x", mFolder / "open/x");
    static_cast<void>(RefOf(mFolder / "open/x"));
    mFolder.SetMode(mFolder / "closed", 0);
    EXPECT_EQ(mFolder / "open/x", PathOf(ref));
    mFolder.Rename(mFolder / "open/x", mFolder / "x");
    EXPECT_EQ("status -5000", PathOf(ref)) << "it may be there";
    mFolder.SetMode(mFolder / "closed", 0700);
    EXPECT_EQ("status -43", PathOf(ref));
}

// The path leads to the item still, but by the other of its names.
TEST_P(FindByRef, FoldersOfTwoNamesChangedPlaces) {
    mFolder.MakeFolder("one");
    mFolder.MakeFolder("two");
    const std::string path = mFolder.MakeFile("one/x");
    ASSERT_EQ(0, mFolder.MakeHardLink(path, mFolder / "two/x"));
    const FSRef ref = RefOf(path);
    mFolder.Rename(mFolder / "one", mFolder / "first");
    mFolder.Rename(mFolder / "two", mFolder / "one");
    EXPECT_EQ(mFolder / "first/x", PathOf(ref));
}

TEST_P(FindByRef, ForgottenButInItsFolder) {
    mFolder.MakeFolder("sub");
    const std::string path = mFolder.MakeFile("sub/a");
    mFolder.MakeFile("sub/b");
    mFolder.MakeFile("sub/c");
    const FSRef ref = RefOf(path);
    const FSRef folder = RefOf(mFolder / "sub");
    ForgetHints();
    EXPECT_EQ(path, PathOf(ref));
    {
        const CountedCalls calls;
        EXPECT_EQ(path, PathOf(ref));
        EXPECT_EQ("statx 1", calls.Made()) << "and known again";
    }
    ForgetHints();
    mFolder.Rename(path, mFolder / "sub/d");
    EXPECT_EQ(mFolder / "sub/d", PathOf(ref));
    ForgetHints();
    mFolder.Rename(mFolder / "sub", mFolder / "SUB");
    EXPECT_EQ(mFolder / "SUB/d", PathOf(ref));
    EXPECT_EQ(mFolder / "SUB", PathOf(folder)) << "folders are never forgotten";
    ForgetHints();
    mFolder.Rename(mFolder / "SUB/d", mFolder / "d");
    EXPECT_EQ("status -43", PathOf(ref)) << "nobody met it there";
    (void)RefOf(mFolder / "d");
    EXPECT_EQ(mFolder / "d", PathOf(ref));
}

// What has no name but is open is found by the number that it is open as.
TEST_P(FindByRef, ForgottenButOpen) {
    const std::string path = mFolder.MakeFile("a");
    toolbox::os::Descriptor file;
    ASSERT_EQ(0, toolbox::os::OpenFile(path.c_str(), O_RDONLY, file));
    mFolder.Remove(path);
    const FSRef ref = RefOf("/proc/self/fd/" + std::to_string(file.Number()));
    const std::string openPath = PathOf(ref);
    EXPECT_EQ(0U, openPath.find("/proc/")) << openPath;
    ForgetHints();
    EXPECT_EQ(openPath, PathOf(ref));
    file = toolbox::os::Descriptor();
    EXPECT_EQ("status -43", PathOf(ref));
}

TEST_P(FindByRef, EveryFailingCallForAForgottenItem) {
    mFolder.MakeFolder("sub");
    const std::string path = mFolder.MakeFile("sub/a");
    mFolder.MakeHardLink(path, mFolder / "b");
    const FSRef ref = RefOf(path);
    ExpectFoundWhateverFails(ref, [&](int) {
        ForgetHints();
        return path;
    });
}

TEST_P(FindByRef, MemoryFailsForAForgottenItem) {
    const std::string path = mFolder.MakeFile("a name that is too long for a string without memory");
    const FSRef ref = RefOf(path);
    const std::size_t descriptors = OpenDescriptorCount();
    for (int failing = 1;; ++failing) {
        ForgetHints();
        UInt8 found[4096] = {};
        OSStatus status = noErr;
        bool delivered = false;
        {
            const FailingNew memory(failing);
            status = FSRefMakePath(&ref, found, sizeof(found));
            delivered = memory.Delivered();
        }
        EXPECT_EQ(descriptors, OpenDescriptorCount());
        EXPECT_EQ(delivered ? memFullErr : noErr, status) << failing;
        if (!delivered) break;
    }
}

}  // namespace
