#include "companions/ForkIntent.h"

#include "TwoCompanions.h"
#include "companions/CompanionCopy.h"
#include "companions/CompanionFork.h"
#include "companions/CompanionInfo.h"
#include "companions/Companions.h"
#include "os/SystemCalls_test_access.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <toolbox/Companions.h>

#include <algorithm>
#include <cerrno>
#include <string>

namespace {

using namespace test_files;

class ForkIntents : public TwoCompanions {};
INSTANTIATE_TEST_SUITE_P(Worlds, ForkIntents, support::BothWorlds(), support::NameOfWorld);

TEST_P(ForkIntents, WhoWritesSettlesIt) {
    for (const bool areExchanged : {true, false}) {
        LeaveIntents(areExchanged);
        const std::string forks = Forks();
        EXPECT_EQ("ab", Intents()) << "a look changes nothing";
        ASSERT_EQ(0, ReplaceEntry(mA, kComment, BytesFrom("another")));
        EXPECT_EQ("b", Intents());
        EXPECT_EQ(forks, Forks());
        CompanionInfo info;
        info.isLocked = true;
        ASSERT_EQ(0, WriteInfo(mB, info));
        EXPECT_EQ("", Intents());
        EXPECT_EQ(forks, Forks());
        EXPECT_EQ(mExchanged, forks);  // of the second time, too: that one is not exchanged back
        EXPECT_EQ("another, comment of b", Comments());
        OpenBoth();
    }
}

TEST_P(ForkIntents, WhoPreparesSettlesIt) {
    LeaveIntents(true);
    OpenBoth();
    LeaveIntents(true);
    EXPECT_EQ(mBefore, Forks()) << "exchanged back";
    EXPECT_EQ("ab", Intents());
    FileWorld::Remove(mFolder / "sub/._b");
    FileWorld::Remove(mFolder / "sub/b");
    mFolder.MakeFile("sub/b", "new");
    OpenBoth();
    {
        ExchangedForks forks;
        ASSERT_EQ(0, Prepare(forks));
        ASSERT_EQ(0, ExchangeFiles());
        forks.SetNames(Names::kExchanged);
    }
    EXPECT_EQ("new, errno 2; of a, fork of a", Forks());
}

TEST_P(ForkIntents, WritingTheFork) {
    LeaveIntents(true);
    std::size_t count = 0;
    // Where b was lies a by now.
    ASSERT_EQ(0, WriteCompanionFork(mA, mStatusB.identity, 9, BytesFrom("otherwise"), count));
    EXPECT_EQ("of b, fork of botherwise; of a, fork of a", Forks());
    ASSERT_EQ(0, SetCompanionForkSize(mB, mStatusA.identity, 4));
    EXPECT_EQ("of b, fork of botherwise; of a, fork", Forks());
    EXPECT_EQ("", Intents());
    EXPECT_EQ(mComments, Comments());
}

TEST_P(ForkIntents, AnOpenFork) {
    CompanionFork open;
    char text[9] = {};
    std::size_t count = 0;
    const auto read = [&] {
        EXPECT_EQ(0, open.Read(0, text, sizeof text, count));
        return std::string(text, count);
    };
    ExchangedForks forks;
    ASSERT_EQ(0, Prepare(forks));
    ASSERT_EQ(0, open.Look(mA, O_RDWR));
    EXPECT_EQ("fork of a", read());
    ASSERT_EQ(0, ExchangeFiles());
    ASSERT_EQ(0, open.Look(mA, O_RDWR));
    EXPECT_EQ("fork of b", read()) << "of the same companion";
    ASSERT_EQ(0, open.LookAgain());
    EXPECT_EQ("fork of b", read());
    EXPECT_EQ(EOPNOTSUPP, open.Allocate(0, 100)) << "its place is not known";
    forks.SetNames(Names::kUnknown);
}

// The item is gone: what was told of it last holds.
TEST_P(ForkIntents, AnOpenForkWhoseItemHasGone) {
    LeaveIntents(true);
    CompanionFork open;
    std::size_t count = 0;
    ASSERT_EQ(0, open.Look(mA, O_RDWR));
    FileWorld::Remove(mFolder / "a");
    FileWorld::Remove(mFolder / "._a");
    ASSERT_EQ(0, open.Write(0, BytesFrom("F"), count));
    EXPECT_EQ(ENOENT, open.Write(8, BytesFrom("grows"), count));
    EXPECT_EQ(ENOENT, open.SetSize(1));
    char text[9] = {};
    ASSERT_EQ(0, open.Read(0, text, sizeof text, count));
    EXPECT_EQ("Fork of b", std::string(text, count));
}

// Another program put a third file there: what it sees is told, and nothing is thrown away.
TEST_P(ForkIntents, AnItemThatIsNeither) {
    LeaveIntents(true);
    FileWorld::Rename(mFolder / "a", mFolder / "kept");
    mFolder.MakeFile("a", "third");
    EXPECT_EQ("fork of a", Entry(mA, kFork));
    ASSERT_EQ(0, ReplaceEntry(mA, kComment, BytesFrom("another")));
    EXPECT_EQ("ab", Intents());
    OpenBoth();
    ExpectRefused();
    FileWorld::Rename(mFolder / "kept", mFolder / "a");
    EXPECT_EQ(mExchanged, Forks());
    FileWorld::Remove(mFolder / "a");
    EXPECT_EQ("fork of a", Entry(mA, kFork)) << "none";
}

TEST_P(ForkIntents, IntentsThatTellNothing) {
    const AppleDoublePart good =
        PartOf({mStatusB.identity, mStatusA.identity, 0600}, BytesFrom("fork of another"));
    const auto withIntent = [&](const Bytes& inIntent) {
        mFolder.MakeFile("._a", FileOf({{kFork, BytesFrom("fork of a")}, {kIntent, inIntent}}));
        return Entry(mA, kFork);
    };
    EXPECT_EQ("fork of another", withIntent(good.bytes));
    Bytes bytes = good.bytes;
    bytes.resize(36);
    EXPECT_EQ("", withIntent(bytes));
    bytes.resize(35);
    EXPECT_EQ("fork of a", withIntent(bytes));
    EXPECT_EQ(35U, Entry(mA, kIntent).size()) << "an entry as any other";
    // An inode that is another file's by now, and one whose birth nobody knows.
    for (const std::size_t at : {23U, 31U}) {
        bytes = good.bytes;
        ++bytes[at];
        EXPECT_EQ("fork of a", withIntent(bytes)) << at;
    }
    static std::uint64_t sInode;
    sInode = mStatusA.identity.inode;
    sReal = Calls();
    CallsForTesting().statx = [](int inFolder, const char* inPath, int inFlags, unsigned inMask,
                                 struct statx* outStatus) {
        const int result = sReal.statx(inFolder, inPath, inFlags, inMask, outStatus);
        if (result == 0 && outStatus->stx_ino == sInode) outStatus->stx_mask &= ~STATX_BTIME;
        return result;
    };
    bytes = good.bytes;
    std::fill(bytes.begin() + 24, bytes.begin() + 32, UInt8{0});
    EXPECT_EQ("fork of a", withIntent(bytes));
}

TEST_P(ForkIntents, ACopyIsOfWhatItTells) {
    LeaveIntents(true);
    mFolder.MakeFile("copy", "of b");
    Place place;
    Descriptor file;
    ASSERT_EQ(0, OpenPlaceOf(mFolder / "copy", place));
    ASSERT_EQ(0, OpenFileAt(place, O_RDONLY, file));
    for (const bool isNeither : {false, true}) {
        if (isNeither) {
            FileWorld::Remove(mFolder / "a");
            mFolder.MakeFile("a", "third");
        }
        CompanionCopy copy;
        ASSERT_EQ(0, copy.Make(mA, {place, file.Number()}, CompanionInfo::kNoDate));
        EXPECT_EQ(isNeither ? "fork of a" : "fork of b", Entry(place, kFork));
        EXPECT_EQ("comment of a", Entry(place, kComment));
        EXPECT_FALSE(HasIntent("._copy"));
    }
}

// Where the host allows no companion to be changed it is told what it tells, and stays.
TEST_P(ForkIntents, WhatMayNotBeSettled) {
    ASSERT_EQ(0, ReplaceEntry(mB, kFork, BytesFrom("longer fork of b")));
    LeaveIntents(true);
    ASSERT_EQ(0, ReplaceEntry(mB, kFork, BytesFrom("of a")));
    SetCompanionsAllowed(0);
    EXPECT_EQ(0, SetCompanionMode(mA, mStatusB.identity, 0600));
    EXPECT_EQ("a", Intents());
    EXPECT_EQ(ENOPKG, SetCompanionForkSize(mA, mStatusB.identity, 9));
    EXPECT_EQ(0, SetCompanionForkSize(mA, mStatusB.identity, 16)) << "as it is";
    SetCompanionsAllowed(1);
    EXPECT_EQ("of b, longer fork of b; of a, of a", Forks());
    EXPECT_EQ(0, SetCompanionMode(mA, mStatusB.identity, 0600));
    EXPECT_EQ("", Intents());
}

// One that was made for the intent alone goes with it.
TEST_P(ForkIntents, SettledToNothing) {
    FileWorld::Remove(mFolder / "._a");
    LeaveIntents(false);
    EXPECT_EQ("ab", Intents());
    EXPECT_EQ(0, SetCompanionMode(mA, mStatusA.identity, 0600));
    EXPECT_FALSE(FileWorld::Exists(mFolder / "._a"));
    EXPECT_EQ("of a, errno 2; of b, fork of b", Forks());
}

}  // namespace
