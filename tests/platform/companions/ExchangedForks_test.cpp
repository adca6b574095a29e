#include "companions/ExchangedForks.h"

#include "companions/CompanionCopy.h"
#include "companions/CompanionFork.h"
#include "companions/CompanionInfo.h"
#include "companions/Companions.h"
#include "companions/ForkIntent.h"
#include "formats/AppleDouble.h"
#include "os/BigEndian.h"
#include "os/Rename.h"
#include "os/SystemCalls_test_access.h"
#include "support/FileWorld.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <toolbox/Companions.h>

#include <cerrno>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace {

using namespace toolbox::files;
using namespace toolbox::os;
using support::FileWorld;
using Bytes = std::vector<UInt8>;
using Names = ExchangedForks::Names;

constexpr UInt32 kFork = AppleDoubleEntry::kResourceFork;
constexpr UInt32 kIntent = AppleDoubleEntry::kForkIntent;
constexpr UInt32 kComment = 4;

Bytes BytesFrom(std::string_view inText) {
    return {inText.begin(), inText.end()};
}

std::string FileOf(const std::vector<AppleDoublePart>& inParts) {
    Bytes bytes;
    EXPECT_TRUE(EncodeAppleDouble(inParts, bytes));
    return {bytes.begin(), bytes.end()};
}

class ExchangingForks : public support::FileWorldTest {
  protected:
    ExchangingForks() {
        mFolder.MakeFolder("sub");
        mFolder.MakeFile("a", "of a");
        mFolder.MakeFile("sub/b", "of b");
        MakeCompanion("._a", "a");
        MakeCompanion("sub/._b", "b");
        OpenBoth();
    }
    ~ExchangingForks() override {
        CallsForTesting() = mSaved;
        mA.folder = {};
        mB.folder = {};
        EXPECT_EQ(mDescriptors, OpenDescriptorCount());
    }

    void MakeCompanion(const std::string& inName, const std::string& inOf) const {
        mFolder.MakeFile(inName, FileOf({{AppleDoubleEntry::kFinderInfo, Bytes(32)},
                                         {kComment, BytesFrom("comment of " + inOf)},
                                         {kFork, BytesFrom("fork of " + inOf)}}));
    }
    void OpenBoth() {
        EXPECT_EQ(0, OpenPlaceOf(mFolder / "a", mA));
        EXPECT_EQ(0, OpenPlaceOf(mFolder / "sub/b", mB));
        EXPECT_EQ(0, GetStatus(mA, mStatusA));
        EXPECT_EQ(0, GetStatus(mB, mStatusB));
    }
    int Prepare(ExchangedForks& ioForks, bool inIsTheOtherWay = false) const {
        const FileAtExchange a = {mA, mStatusA};
        const FileAtExchange b = {mB, mStatusB};
        return inIsTheOtherWay ? ioForks.Prepare(b, a) : ioForks.Prepare(a, b);
    }
    int ExchangeFiles() const { return ExchangeNames(mA.folder.Number(), "a", mB.folder.Number(), "b"); }
    // Both with an intent, as who is stopped on the way leaves them.
    void LeaveIntents(bool inAreExchanged) const {
        ExchangedForks forks;
        ASSERT_EQ(0, Prepare(forks));
        forks.SetNames(Names::kUnknown);
        if (inAreExchanged) {
            ASSERT_EQ(0, ExchangeFiles());
        }
    }

    static std::string Entry(const Place& inPlace, UInt32 inID) {
        FileRange range;
        const int error = OpenEntry(inPlace, inID, range);
        if (error != 0) return "errno " + std::to_string(error);
        std::string text(range.SizeBytes(), '\0');
        EXPECT_EQ(0, range.Read(0, text.data(), text.size()));
        return text;
    }
    // Data and forks of both, as who reads finds them: "of a, fork of a; of b, fork of b".
    std::string Forks() const {
        return FileWorld::Contents(mFolder / "a") + ", " + Entry(mA, kFork) + "; " +
               FileWorld::Contents(mFolder / "sub/b") + ", " + Entry(mB, kFork);
    }
    std::string Comments() const { return Entry(mA, kComment) + ", " + Entry(mB, kComment); }
    // On disk, whatever it tells.
    bool HasIntent(const std::string& inName) const {
        const std::string file = FileWorld::Contents(mFolder / inName);
        std::vector<AppleDoubleEntry> entries;
        EXPECT_TRUE(DecodeAppleDouble(reinterpret_cast<const UInt8*>(file.data()), file.size(), file.size(),
                                      entries));
        for (const AppleDoubleEntry& entry : entries)
            if (entry.id == kIntent) return true;
        return false;
    }
    std::string Intents() const {
        return std::string(HasIntent("._a") ? "a" : "") + (HasIntent("sub/._b") ? "b" : "");
    }
    mode_t ModeOf(const std::string& inName) const {
        return FileWorld::StatusOf(mFolder / inName).stx_mode & 07777;
    }
    // Nothing is written, and the locks are gone.
    void ExpectRefused(int inError = ENOTSUP) {
        const std::string before = FileWorld::Contents(mFolder / "._a") + Forks() + Comments();
        for (const bool isTheOtherWay : {false, true}) {
            ExchangedForks forks;
            EXPECT_EQ(inError, Prepare(forks, isTheOtherWay));
        }
        EXPECT_EQ(before, FileWorld::Contents(mFolder / "._a") + Forks() + Comments());
        EXPECT_EQ(0, ReplaceEntry(mA, kComment, BytesFrom("comment of a")));
    }

    const std::size_t mDescriptors = OpenDescriptorCount();
    Place mA;
    Place mB;
    ItemStatus mStatusA;
    ItemStatus mStatusB;
    const SystemCalls mSaved = Calls();
    static inline SystemCalls sReal;
    const std::string mBefore = "of a, fork of a; of b, fork of b";
    const std::string mExchanged = "of b, fork of b; of a, fork of a";
    const std::string mComments = "comment of a, comment of b";
};
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

TEST_P(ExchangingForks, WhoWritesSettlesIt) {
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

TEST_P(ExchangingForks, WhoPreparesSettlesIt) {
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

TEST_P(ExchangingForks, WritingTheFork) {
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

TEST_P(ExchangingForks, AnOpenFork) {
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
TEST_P(ExchangingForks, AnOpenForkWhoseItemHasGone) {
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
TEST_P(ExchangingForks, AnItemThatIsNeither) {
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

TEST_P(ExchangingForks, IntentsThatTellNothing) {
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

TEST_P(ExchangingForks, ACopyIsOfWhatItTells) {
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

TEST_P(ExchangingForks, BothAreLockedInOneOrder) {
    static std::vector<std::uint64_t> sLocked;
    sReal = Calls();
    CallsForTesting().flock = [](int inDescriptor, int inOperation) {
        ItemStatus status;
        EXPECT_EQ(0, GetDescriptorStatus(inDescriptor, status));
        sLocked.push_back(status.identity.inode);
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

// Where the host allows no companion to be changed it is told what it tells, and stays.
TEST_P(ExchangingForks, WhatMayNotBeSettled) {
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

// One that was made for the intent alone goes with it.
TEST_P(ExchangingForks, SettledToNothing) {
    FileWorld::Remove(mFolder / "._a");
    LeaveIntents(false);
    EXPECT_EQ("ab", Intents());
    EXPECT_EQ(0, SetCompanionMode(mA, mStatusA.identity, 0600));
    EXPECT_FALSE(FileWorld::Exists(mFolder / "._a"));
    EXPECT_EQ("of a, errno 2; of b, fork of b", Forks());
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
    EXPECT_EQ("", Intents());
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
