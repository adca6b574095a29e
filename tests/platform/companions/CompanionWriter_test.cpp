// Two writers of one companion lose nothing. What the other one does is done in the middle of a call.
#include "companions/CompanionFork.h"
#include "companions/CompanionInfo.h"
#include "companions/CompanionNames.h"
#include "companions/Companions.h"
#include "formats/AppleDouble.h"
#include "os/SystemCalls_test_access.h"
#include "support/FileWorld.h"

#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/stat.h>

#include <cerrno>
#include <functional>
#include <string>
#include <vector>

namespace {

using namespace toolbox::files;
using namespace toolbox::os;
using support::FileWorld;
using Bytes = std::vector<UInt8>;

constexpr UInt32 kFork = AppleDoubleEntry::kResourceFork;
constexpr UInt32 kComment = 4;

class CompanionWriters : public support::FileWorldTest {
  protected:
    CompanionWriters() {
        EXPECT_EQ(0, OpenPlaceOf(mFolder.MakeFile("file", "data"), mPlace));
        ItemStatus status;
        EXPECT_EQ(0, GetStatus(mPlace, status));
        mIdentity = status.identity;
    }
    ~CompanionWriters() override { CallsForTesting() = mSaved; }

    static Bytes BytesOf(std::string_view inText) { return {inText.begin(), inText.end()}; }
    int WriteComment(std::string_view inText) const {
        return ReplaceEntry(mPlace, kComment, BytesOf(inText));
    }
    std::string Entry(UInt32 inID) const {
        FileRange range;
        const int error = OpenEntry(mPlace, inID, range);
        if (error != 0) return "error " + std::to_string(error);
        std::string text(range.SizeBytes(), '\0');
        EXPECT_EQ(0, range.Read(0, text.data(), text.size()));
        return text;
    }
    int WriteFork(std::string_view inText, UInt64 inOffset = 0) const {
        std::size_t count = 0;
        const Bytes bytes = BytesOf(inText);
        return WriteCompanionFork(mPlace, mIdentity, inOffset, bytes, count);
    }
    // Once, before the companion is locked.
    static void BeforeTheLock(std::function<void()> inOther) {
        sOther = std::move(inOther);
        sReal = Calls();
        CallsForTesting().flock = [](int inDescriptor, int inOperation) {
            CallsForTesting() = sReal;
            sOther();
            return sReal.flock(inDescriptor, inOperation);
        };
    }
    // Once, before something gets the companion's name.
    static void BeforeTheName(std::function<void()> inOther) {
        sOther = std::move(inOther);
        sReal = Calls();
        CallsForTesting().renameat2 = [](int inOld, const char* inOldName, int inNew, const char* inNewName,
                                         unsigned inFlags) {
            CallsForTesting() = sReal;
            sOther();
            return sReal.renameat2(inOld, inOldName, inNew, inNewName, inFlags);
        };
    }

    Place mPlace;
    ItemIdentity mIdentity;
    const SystemCalls mSaved = Calls();
    static inline std::function<void()> sOther;
    static inline SystemCalls sReal;
};
INSTANTIATE_TEST_SUITE_P(Worlds, CompanionWriters, support::BothWorlds(), support::NameOfWorld);

TEST_P(CompanionWriters, BeginAnewWhereAnotherReplacedIt) {
    ASSERT_EQ(0, WriteFork("fork"));
    BeforeTheLock([this] { EXPECT_EQ(0, WriteComment("comment")); });
    EXPECT_EQ(0, WriteFork(" grows", 4));
    EXPECT_EQ("comment", Entry(kComment));
    EXPECT_EQ("fork grows", Entry(kFork));
    CompanionInfo info;
    info.encodingHint = 5;
    BeforeTheLock([this] { EXPECT_EQ(0, WriteFork("FORK")); });
    EXPECT_EQ(0, WriteInfo(mPlace, info));
    EXPECT_EQ("FORK grows", Entry(kFork)) << "written in place meanwhile";
    BeforeTheLock([this] { FileWorld::Remove(mFolder / "._file"); });
    EXPECT_EQ(0, WriteComment("the first"));
    EXPECT_EQ("the first", Entry(kComment));
    EXPECT_EQ("error 2", Entry(kFork));
}

// A writer that is always late comes to it once the others have ended, who need not be few; but one who never
// ends is not waited for.
TEST_P(CompanionWriters, BeginAnewForAsLongAsOthersReplaceIt) {
    static int sOthers;
    ASSERT_EQ(0, WriteComment("comment"));
    sOther = [this, bytes = FileWorld::Contents(mFolder / "._file")] {
        FileWorld::Remove(mFolder / "._file");
        mFolder.MakeFile("._file", bytes);
    };
    sReal = Calls();
    CallsForTesting().flock = [](int inDescriptor, int inOperation) {
        if (sOthers > 0 && (inOperation & LOCK_EX) != 0) {
            --sOthers;
            sOther();
        }
        return sReal.flock(inDescriptor, inOperation);
    };
    sOthers = 2000;
    EXPECT_EQ(0, WriteFork("fork"));
    EXPECT_EQ("fork", Entry(kFork));
    if (mFolder.Memory() == nullptr) return;  // on disk it lasts for seconds
    sOthers = 1'000'000;
    EXPECT_EQ(EBUSY, WriteFork("FORK"));
    EXPECT_GT(sOthers, 900'000);
}

TEST_P(CompanionWriters, BeginAnewWhereAnotherMadeIt) {
    for (const int way : {0, 1, 2, 3}) {
        FileWorld::RemoveAll(mFolder / "._file");
        BeforeTheName([this] { EXPECT_EQ(0, WriteComment("the other's")); });
        CompanionInfo info;
        info.encodingHint = 5;
        if (way == 0) {
            EXPECT_EQ(0, WriteInfo(mPlace, info));
        }
        if (way == 1) {
            EXPECT_EQ(0, WriteFork("fork"));
        }
        if (way == 2) {
            EXPECT_EQ(0, SetCompanionForkSize(mPlace, mIdentity, 4));
        }
        if (way == 3) {
            EXPECT_EQ(0, ReplaceEntry(mPlace, kFork, BytesOf("fork")));
        }
        EXPECT_EQ("the other's", Entry(kComment)) << way;
        if (way != 0) {
            EXPECT_EQ(4U, Entry(kFork).size()) << way;
        }
        EXPECT_EQ(2U, FileWorld::NamesIn(mFolder.Path()).size()) << way;
    }
}

TEST_P(CompanionWriters, HoldTheLock) {
    ASSERT_EQ(0, WriteFork("fork"));
    static int sLocked;
    static std::string sPath;
    sPath = mFolder / "._file";
    sReal = Calls();
    const auto look = [] {
        const int file = sReal.openat(AT_FDCWD, sPath.c_str(), O_RDONLY | O_CLOEXEC, 0);
        sLocked += sReal.flock(file, LOCK_SH | LOCK_NB) != 0 && errno == EWOULDBLOCK;
        EXPECT_EQ(0, sReal.close(file));
    };
    static void (*sLook)();
    sLook = look;
    CallsForTesting().pwrite = [](int inFile, const void* inBytes, std::size_t inCount, off_t inOffset) {
        sLook();
        return sReal.pwrite(inFile, inBytes, inCount, inOffset);
    };
    CallsForTesting().renameat2 = [](int inOld, const char* inOldName, int inNew, const char* inNewName,
                                     unsigned inFlags) {
        sLook();
        return sReal.renameat2(inOld, inOldName, inNew, inNewName, inFlags);
    };
    sLocked = 0;
    EXPECT_EQ(0, WriteFork("F"));
    EXPECT_EQ(1, sLocked);
    EXPECT_EQ(0, WriteFork("!", 4));
    EXPECT_EQ(3, sLocked) << "the byte, and the entry";
    EXPECT_EQ(0, SetCompanionForkSize(mPlace, mIdentity, 2));
    EXPECT_EQ(4, sLocked);
    EXPECT_EQ(0, WriteComment("comment"));
    EXPECT_EQ(6, sLocked) << "the new file, and its name";
}

// What grows is there before it is told of, and what shrinks is told of less before it is cut.
TEST_P(CompanionWriters, OrderOfGrowingAndShrinking) {
    ASSERT_EQ(0, WriteFork("fork"));
    static std::string sCalls;
    sCalls.clear();
    sReal = Calls();
    CallsForTesting().pwrite = [](int inFile, const void* inBytes, std::size_t inCount, off_t inOffset) {
        sCalls += inOffset < 82 ? "entry " : "bytes ";
        return sReal.pwrite(inFile, inBytes, inCount, inOffset);
    };
    CallsForTesting().fsync = [](int inFile) { return sCalls += "sync ", sReal.fsync(inFile); };
    CallsForTesting().ftruncate = [](int inFile, off_t inLength) {
        return sCalls += "length ", sReal.ftruncate(inFile, inLength);
    };
    EXPECT_EQ(0, WriteFork("!", 4));
    EXPECT_EQ("bytes sync entry ", std::exchange(sCalls, ""));
    EXPECT_EQ(0, WriteFork("F"));
    EXPECT_EQ("bytes ", std::exchange(sCalls, ""));
    EXPECT_EQ(0, SetCompanionForkSize(mPlace, mIdentity, 9));
    EXPECT_EQ("length sync entry ", std::exchange(sCalls, ""));
    EXPECT_EQ(0, SetCompanionForkSize(mPlace, mIdentity, 1));
    EXPECT_EQ("entry sync length ", std::exchange(sCalls, ""));
}

TEST_P(CompanionWriters, NothingIsMadeBesideNoItem) {
    FileWorld::Remove(mFolder / "file");
    EXPECT_EQ(ENOENT, WriteFork("fork"));
    EXPECT_EQ(ENOENT, SetCompanionForkSize(mPlace, mIdentity, 3));
    EXPECT_EQ(ENOENT, WriteComment("comment"));
    CompanionInfo info;
    info.encodingHint = 5;
    EXPECT_EQ(ENOENT, WriteInfo(mPlace, info));
    EXPECT_EQ(0U, FileWorld::NamesIn(mFolder.Path()).size());
}

// While it is not known whether the item is still there, nobody takes a new one for one that has none.
TEST_P(CompanionWriters, NewOnesAreNoOrphansUntilTheirItemIsLookedAt) {
    static const FileWorld* sFolder;
    static const Place* sPlace;
    sFolder = &mFolder;
    sPlace = &mPlace;
    sReal = Calls();
    CallsForTesting().renameat2 = [](int inOld, const char* inOldName, int inNew, const char* inNewName,
                                     unsigned inFlags) {
        CallsForTesting() = sReal;
        const int result = sReal.renameat2(inOld, inOldName, inNew, inNewName, inFlags);
        FileWorld::Remove(*sFolder / "file");
        AsideOrphan orphan;
        EXPECT_EQ(EBUSY, orphan.SetAside(*sPlace));
        return result;
    };
    EXPECT_EQ(ENOENT, WriteComment("comment"));
    EXPECT_EQ(0U, FileWorld::NamesIn(mFolder.Path()).size());
    mFolder.MakeFile("file");
    EXPECT_EQ(0, WriteComment("comment"));
    HeldCompanion companion;
    EXPECT_EQ(0, companion.Take(mPlace)) << "locked no more";
}

TEST_P(CompanionWriters, NewOnesFollowTheirItem) {
    const FileWorld::OrdinaryUser user(mFolder);
    Place place;
    const mode_t modes[][2] = {{0600, 0600}, {0640, 0640}, {0444, 0644},
                               {0200, 0600}, {0, 0600},    {04711, 0600}};
    for (const auto& [mode, expected] : modes) {
        FileWorld::SetMode(mFolder.MakeFile("own"), mode);
        ASSERT_EQ(0, OpenPlaceOf(mFolder / "own", place));
        EXPECT_EQ(0, ReplaceEntry(place, kComment, BytesOf("comment")));
        EXPECT_EQ(S_IFREG | expected, FileWorld::StatusOf(mFolder / "._own").stx_mode)
            << "who owns it reads it";
        EXPECT_EQ(0, ReplaceEntry(place, kComment, BytesOf("another")));
        EXPECT_EQ(S_IFREG | expected, FileWorld::StatusOf(mFolder / "._own").stx_mode);
        FileWorld::Remove(mFolder / "._own");
        FileWorld::Remove(mFolder / "own");
    }
    mFolder.MakeFolder("folder");
    FileWorld::SetMode(mFolder / "folder", 0750);
    ASSERT_EQ(0, OpenPlaceOf(mFolder / "folder", place));
    EXPECT_EQ(0, ReplaceEntry(place, kComment, BytesOf("comment")));
    EXPECT_EQ(S_IFREG | 0640, FileWorld::StatusOf(mFolder / "._folder").stx_mode);
    mFolder.MakeLink("file", "link");
    ASSERT_EQ(0, OpenPlaceOf(mFolder / "link", place));
    EXPECT_EQ(0, ReplaceEntry(place, kComment, BytesOf("comment")));
    EXPECT_EQ(0, FileWorld::StatusOf(mFolder / "._link").stx_mode & 0111);
}

// Who opens a new file before it has its permissions reads what is written to it later.
TEST_P(CompanionWriters, NobodyElseOpensOneThatIsToBePrivate) {
    FileWorld::SetMode(mFolder / "file", 0600);
    static mode_t sMode;
    for (int round = 0; round < 2; ++round) {
        sMode = 0;
        sReal = Calls();
        CallsForTesting().openat = [](int inFolder, const char* inPath, int inFlags, mode_t inMode) {
            if ((inFlags & O_CREAT) != 0) sMode = inMode;
            return sReal.openat(inFolder, inPath, inFlags, inMode);
        };
        EXPECT_EQ(0, WriteComment(round == 0 ? "made" : "replaced"));
        CallsForTesting() = sReal;
        EXPECT_EQ(0600U, sMode) << round;
    }
}

// A reader that looks while a companion becomes longer takes it for what it is.
TEST_P(CompanionWriters, ReadersInBetween) {
    ASSERT_EQ(0, WriteFork("fork"));
    sReal = Calls();
    static int sReads;
    for (const std::size_t size : {9U, 1U}) {
        sReads = 0;
        sOther = [this, size] { EXPECT_EQ(0, SetCompanionForkSize(mPlace, mIdentity, size)); };
        CallsForTesting().pread = [](int inFile, void* outBytes, std::size_t inCount, off_t inOffset) {
            // Behind the look at the file, and before its entries are read.
            if (++sReads == 1) {
                CallsForTesting() = sReal;
                sOther();
            }
            return sReal.pread(inFile, outBytes, inCount, inOffset);
        };
        EXPECT_EQ(size, Entry(kFork).size());
        CallsForTesting() = sReal;
    }
}

}  // namespace
