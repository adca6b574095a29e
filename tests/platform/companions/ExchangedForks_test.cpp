#include "companions/ExchangedForks.h"

#include "TwoCompanions.h"
#include "companions/CompanionFork.h"
#include "companions/CompanionInfo.h"
#include "companions/Companions.h"
#include "os/SystemCalls_test_access.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>

#include <cerrno>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace {

using namespace test_files;

class ExchangingForks : public TwoCompanions {};
INSTANTIATE_TEST_SUITE_P(Worlds, ExchangingForks, support::BothWorlds(), support::NameOfWorld);

TEST_P(ExchangingForks, EachFileHasItsOwnAtEveryMoment) {
    {
        ExchangedForks forks;
        ASSERT_EQ(0, Prepare(forks));
        EXPECT_EQ("ab", Intents());
        EXPECT_EQ(mBefore, Forks());
        ASSERT_EQ(0, ExchangeFiles());
        EXPECT_EQ(mExchanged, Forks()) << "told by the names alone";
        forks.SetNames(Names::kExchanged);
    }
    EXPECT_EQ("", Intents());
    EXPECT_EQ(mExchanged, Forks());
    EXPECT_EQ(mComments, Comments());
}

TEST_P(ExchangingForks, TakenBack) {
    const std::string before = FileWorld::Contents(mFolder / "._a");
    {
        ExchangedForks forks;
        ASSERT_EQ(0, Prepare(forks));
    }
    EXPECT_EQ(before, FileWorld::Contents(mFolder / "._a"));
    EXPECT_EQ(mBefore, Forks());
    FileWorld::Remove(mFolder / "._a");
    {
        ExchangedForks forks;
        ASSERT_EQ(0, Prepare(forks));
        EXPECT_TRUE(FileWorld::Exists(mFolder / "._a"));
        EXPECT_EQ("of a, errno 2; of b, fork of b", Forks());
    }
    EXPECT_FALSE(FileWorld::Exists(mFolder / "._a"));
}

TEST_P(ExchangingForks, OneForkAlone) {
    FileWorld::Remove(mFolder / "._a");
    {
        ExchangedForks forks;
        ASSERT_EQ(0, Prepare(forks));
        ASSERT_EQ(0, ExchangeFiles());
        EXPECT_EQ("of b, fork of b; of a, ", Forks());
        forks.SetNames(Names::kExchanged);
    }
    EXPECT_EQ("of b, fork of b; of a, errno 2", Forks());
    EXPECT_EQ("errno 2, comment of b", Comments());
}

// A companion that tells nothing any more goes.
TEST_P(ExchangingForks, TheLastThingThatItTold) {
    FileWorld::Remove(mFolder / "._a");
    FileWorld::Remove(mFolder / "sub/._b");
    mFolder.MakeFile("._a", FileOf({{kFork, BytesFrom("fork of a")}}));
    {
        ExchangedForks forks;
        ASSERT_EQ(0, Prepare(forks));
        ASSERT_EQ(0, ExchangeFiles());
        forks.SetNames(Names::kExchanged);
    }
    EXPECT_FALSE(FileWorld::Exists(mFolder / "._a"));
    EXPECT_EQ("of b, errno 2; of a, fork of a", Forks());
}

TEST_P(ExchangingForks, WithoutForksNothingIsWritten) {
    FileWorld::Remove(mFolder / "._a");
    ASSERT_EQ(0, SetCompanionForkSize(mB, mStatusB.identity, 0));
    const std::string before = FileWorld::Contents(mFolder / "sub/._b");
    ExchangedForks forks;
    EXPECT_EQ(0, Prepare(forks));
    EXPECT_FALSE(FileWorld::Exists(mFolder / "._a"));
    EXPECT_EQ(before, FileWorld::Contents(mFolder / "sub/._b"));
}

TEST_P(ExchangingForks, BothAreLockedInOneOrder) {
    static std::vector<std::uint64_t> sLocked;
    sReal = Calls();
    CallsForTesting().flock = [](int inDescriptor, int inOperation) {
        ItemStatus status;
        EXPECT_EQ(0, GetDescriptorStatus(inDescriptor, status));
        if (status.kind == ItemKind::kFile) sLocked.push_back(status.identity.inode);
        return sReal.flock(inDescriptor, inOperation);
    };
    const std::uint64_t a = FileWorld::StatusOf(mFolder / "._a").stx_ino;
    const std::uint64_t b = FileWorld::StatusOf(mFolder / "sub/._b").stx_ino;
    std::vector<std::uint64_t> first;
    for (const bool isTheOtherWay : {false, true}) {
        sLocked.clear();
        ExchangedForks forks;
        ASSERT_EQ(0, SetCompanionForkSize(mA, mStatusA.identity, 9));  // which locks, too
        sLocked.clear();
        {
            // Without anything to write, so that the files stay the same.
            CallsForTesting().openat = [](int inFolder, const char* inPath, int inFlags, mode_t inMode) {
                return (inFlags & O_CREAT) != 0 ? (errno = ENOSPC, -1)
                                                : sReal.openat(inFolder, inPath, inFlags, inMode);
            };
            EXPECT_EQ(ENOSPC, Prepare(forks, isTheOtherWay));
            CallsForTesting().openat = sReal.openat;
        }
        ASSERT_LE(2U, sLocked.size());
        const std::vector<std::uint64_t> now = {sLocked[0], sLocked[1]};
        EXPECT_TRUE((now == std::vector<std::uint64_t>{a, b} || now == std::vector<std::uint64_t>{b, a}));
        EXPECT_TRUE(!isTheOtherWay || first == now);
        first = now;
    }
    CallsForTesting() = sReal;
    ExchangedForks forks;
    ASSERT_EQ(0, Prepare(forks));
    for (const char* const name : {"._a", "sub/._b"}) {
        Descriptor file;
        ASSERT_EQ(0, OpenFile(AT_FDCWD, (mFolder / name).c_str(), O_RDONLY, file));
        EXPECT_EQ(-1, Calls().flock(file.Number(), LOCK_EX | LOCK_NB)) << name << " with the intent in it";
    }
}

// Nobody moves anything there meanwhile.
TEST_P(ExchangingForks, TheFoldersAreLockedToo) {
    Descriptor folder;
    const auto isLocked = [&](const std::string& inPath) {
        EXPECT_EQ(0, OpenFile(AT_FDCWD, inPath.c_str(), O_RDONLY | O_DIRECTORY, folder));
        return Calls().flock(folder.Number(), LOCK_EX | LOCK_NB) != 0;
    };
    {
        ExchangedForks forks;
        ASSERT_EQ(0, Prepare(forks));
        EXPECT_TRUE(isLocked(mFolder.Path()));
        EXPECT_TRUE(isLocked(mFolder / "sub"));
    }
    EXPECT_FALSE(isLocked(mFolder.Path()));
    EXPECT_FALSE(isLocked(mFolder / "sub"));
}

// Who comes to it as soon as it has its name finds it locked.
TEST_P(ExchangingForks, AreLockedBeforeTheyHaveTheirNames) {
    static int sNamed;
    sNamed = 0;
    sReal = Calls();
    CallsForTesting().renameat2 = [](int inFolder, const char* inName, int inNewFolder, const char* inNewName,
                                     unsigned inFlags) {
        Descriptor file;
        EXPECT_EQ(0, OpenFile(inFolder, inName, O_RDONLY, file));
        EXPECT_EQ(-1, sReal.flock(file.Number(), LOCK_EX | LOCK_NB));
        ++sNamed;
        return sReal.renameat2(inFolder, inName, inNewFolder, inNewName, inFlags);
    };
    ExchangedForks forks;
    EXPECT_EQ(0, Prepare(forks));
    CallsForTesting() = sReal;
    EXPECT_EQ(2, sNamed);
}

// One that comes with its item, after it was looked for and before the item is, is seen.
TEST_P(ExchangingForks, OneThatComesWithItsItem) {
    static const FileWorld* sFolder;
    sFolder = &mFolder;
    FileWorld::Rename(mFolder / "._a", mFolder / "kept");
    sReal = Calls();
    CallsForTesting().openat = [](int inFolder, const char* inPath, int inFlags, mode_t inMode) {
        const int file = sReal.openat(inFolder, inPath, inFlags, inMode);
        if (std::string_view(inPath) == "._a" && file < 0) {
            FileWorld::Rename(*sFolder / "kept", *sFolder / "._a");
            errno = ENOENT;
        }
        return file;
    };
    ExchangedForks forks;
    EXPECT_EQ(0, Prepare(forks));
    CallsForTesting() = sReal;
    EXPECT_EQ("ab", Intents());
    ASSERT_EQ(0, ExchangeFiles());
    EXPECT_EQ(mExchanged, Forks());
    forks.SetNames(Names::kExchanged);
}

// One that another process makes later is told, if nothing was to be written there.
TEST_P(ExchangingForks, OneThatComesLater) {
    FileWorld::Remove(mFolder / "._a");
    ASSERT_EQ(0, SetCompanionForkSize(mB, mStatusB.identity, 0));
    {
        ExchangedForks forks;
        ASSERT_EQ(0, Prepare(forks));
        EXPECT_EQ(0, forks.CheckNoneCame());
        MakeCompanion("._a", "a");
        EXPECT_EQ(EBUSY, forks.CheckNoneCame());
    }
    FileWorld::Remove(mFolder / "._a");
    ASSERT_EQ(0, ReplaceEntry(mB, kFork, BytesFrom("fork of b")));
    {
        ExchangedForks forks;
        ASSERT_EQ(0, Prepare(forks));
        EXPECT_EQ(0, forks.CheckNoneCame()) << "but the one with the intent";
    }
    static const FileWorld* sFolder;
    sFolder = &mFolder;
    MakeCompanion("kept", "a");
    sReal = Calls();
    CallsForTesting().renameat2 = [](int inFolder, const char* inName, int inNewFolder, const char* inNewName,
                                     unsigned inFlags) {
        CallsForTesting().renameat2 = sReal.renameat2;
        FileWorld::Rename(*sFolder / "kept", *sFolder / "._a");
        return sReal.renameat2(inFolder, inName, inNewFolder, inNewName, inFlags);
    };
    {
        ExchangedForks forks;
        EXPECT_EQ(EBUSY, Prepare(forks));
    }
    CallsForTesting() = sReal;
    EXPECT_EQ(mBefore, Forks());
    EXPECT_EQ("", Intents());
}

// What another program puts in the place of one meanwhile stays.
TEST_P(ExchangingForks, OneThatWasReplacedMeanwhile) {
    {
        ExchangedForks forks;
        ASSERT_EQ(0, Prepare(forks));
        ASSERT_EQ(0, ExchangeFiles());
        FileWorld::Remove(mFolder / "._a");
        MakeCompanion("._a", "another");
        forks.SetNames(Names::kExchanged);
    }
    EXPECT_EQ("of b, fork of another; of a, fork of a", Forks());
}

// While both forks lie in each companion, only those may read them who may read both.
TEST_P(ExchangingForks, Permissions) {
    FileWorld::SetMode(mFolder / "a", 0640);
    FileWorld::SetMode(mFolder / "sub/b", 0604);
    FileWorld::SetMode(mFolder / "._a", 0640);
    FileWorld::SetMode(mFolder / "sub/._b", 0604);
    OpenBoth();
    for (const bool areExchanged : {false, true}) {
        {
            ExchangedForks forks;
            ASSERT_EQ(0, Prepare(forks));
            EXPECT_EQ(0600U, ModeOf("._a"));
            EXPECT_EQ(0600U, ModeOf("sub/._b"));
            if (areExchanged) forks.SetNames(Names::kExchanged);
        }
        EXPECT_EQ(0640U, ModeOf("._a"));
        EXPECT_EQ(0604U, ModeOf("sub/._b"));
    }
    // Who settles it later gives no more than the item has by then.
    ASSERT_EQ(0, ReplaceEntry(mA, kFork, BytesFrom("fork of a")));
    ASSERT_EQ(0, ReplaceEntry(mB, kFork, BytesFrom("fork of b")));
    LeaveIntents(false);
    FileWorld::SetMode(mFolder / "a", 0600);
    ASSERT_EQ(0, ReplaceEntry(mA, kComment, BytesFrom("another")));
    ASSERT_EQ(0, ReplaceEntry(mB, kComment, BytesFrom("another")));
    EXPECT_EQ(0600U, ModeOf("._a"));
    EXPECT_EQ(0604U, ModeOf("sub/._b"));
}

TEST_P(ExchangingForks, WhatCannotHoldBoth) {
    const std::string companion = FileWorld::Contents(mFolder / "._a");
    // One that is none.
    FileWorld::Remove(mFolder / "._a");
    mFolder.MakeFile("._a", "another's");
    {
        ExchangedForks forks;
        EXPECT_EQ(ENOTSUP, Prepare(forks));
    }
    EXPECT_EQ("another's", FileWorld::Contents(mFolder / "._a"));
    // Longer Finder information that keeps its place, with no room before it for another entry.
    FileWorld::Remove(mFolder / "._a");
    mFolder.MakeFile("._a", FileOf({{AppleDoubleEntry::kFinderInfo, Bytes(40, 1)},
                                    {kFork, BytesFrom("fork of a")},
                                    {kComment, BytesFrom("comment of a")}}));
    {
        ExchangedForks forks;
        EXPECT_EQ(ENOTSUP, Prepare(forks));
    }
    EXPECT_EQ(mBefore, Forks());
    EXPECT_EQ("", Intents());
    // 64 MB and one byte.
    FileWorld::Remove(mFolder / "._a");
    mFolder.MakeFile("._a", companion);
    ASSERT_EQ(0, SetCompanionForkSize(mA, mStatusA.identity, (64 << 20) - 8));
    ExchangedForks forks;
    EXPECT_EQ(ENOTSUP, Prepare(forks));
    EXPECT_FALSE(HasIntent("sub/._b"));
}

TEST_P(ExchangingForks, NamesWithoutRoomForThePrefix) {
    const std::string name(254, 'n');
    FileWorld::Rename(mFolder / "a", mFolder / name);
    mA.name = name;
    ExchangedForks forks;
    EXPECT_EQ(ENOTSUP, Prepare(forks));
    EXPECT_EQ("", Intents());
}

TEST_P(ExchangingForks, WhatTheFileSystemDoesNotTell) {
    mStatusA.identity.birthNanos = 0;
    ExpectRefused();
    OpenBoth();
    ++mStatusB.owner;
    ExpectRefused();
    OpenBoth();
    ++mStatusB.group;
    ExpectRefused();
    OpenBoth();
    sReal = Calls();
    CallsForTesting().flock = [](int, int) { return errno = ENOLCK, -1; };
    ExpectRefused();
    FileWorld::Remove(mFolder / "._a");
    {
        ExchangedForks forks;
        EXPECT_EQ(ENOTSUP, Prepare(forks));
    }
    EXPECT_FALSE(FileWorld::Exists(mFolder / "._a"));
    CallsForTesting() = sReal;
}

TEST_P(ExchangingForks, ItemsThatAreThereNoMore) {
    std::swap(mStatusA, mStatusB);
    ExpectRefused(ESTALE);
    OpenBoth();
    FileWorld::Remove(mFolder / "a");
    for (const bool isTheOtherWay : {false, true}) {
        ExchangedForks forks;
        EXPECT_EQ(ENOENT, Prepare(forks, isTheOtherWay));
    }
    FileWorld::Remove(mFolder / "._a");
    for (const bool isTheOtherWay : {false, true}) {
        ExchangedForks forks;
        EXPECT_EQ(ENOENT, Prepare(forks, isTheOtherWay));
    }
    EXPECT_FALSE(FileWorld::Exists(mFolder / "._a"));
}

}  // namespace
