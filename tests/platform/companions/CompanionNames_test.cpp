#include "companions/CompanionNames.h"

#include "companions/Companions.h"
#include "formats/AppleDouble.h"
#include "os/SystemCalls_test_access.h"
#include "support/FailingCalls.h"
#include "support/FileWorld.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/stat.h>

#include <cerrno>
#include <string>
#include <vector>

namespace {

using namespace toolbox::files;
using namespace toolbox::os;
using support::FileWorld;

SystemCalls sReal;

class CompanionNamesTest : public support::FileWorldTest {
  protected:
    CompanionNamesTest() {
        sReal = Calls();
        EXPECT_EQ(0, OpenPlaceOf(mFolder.MakeFile("a"), mPlace));
        EXPECT_EQ(0, OpenPlaceOf(mFolder.MakeFolder("sub") + "/b", mNew));
    }
    ~CompanionNamesTest() override { CallsForTesting() = sReal; }

    std::string MakeCompanion(const std::string& inName, std::size_t inForkBytes = 4) const {
        std::vector<UInt8> bytes;
        EXPECT_TRUE(EncodeAppleDouble(
            {{AppleDoubleEntry::kResourceFork, std::vector<UInt8>(inForkBytes, 'x')}}, bytes));
        return mFolder.MakeFile(inName, {reinterpret_cast<const char*>(bytes.data()), bytes.size()});
    }
    bool Exists(const std::string& inName) const { return FileWorld::Exists(mFolder / inName); }
    bool IsMarked(const std::string& inName) const {
        return (FileWorld::StatusOf(mFolder / inName).stx_mode & S_ISVTX) != 0;
    }
    std::vector<std::string> NamesIn(const std::string& inName) const {
        return FileWorld::NamesIn(mFolder / inName);
    }

    Place mPlace;  // "a", a file
    Place mNew;    // "sub/b", which is not there
};
INSTANTIATE_TEST_SUITE_P(Worlds, CompanionNamesTest, support::BothWorlds(), support::NameOfWorld);

TEST_P(CompanionNamesTest, HasBothNamesWhileItsItemIsRenamed) {
    MakeCompanion("._a");
    {
        HeldCompanion companion;
        ASSERT_EQ(0, companion.Take(mPlace));
        ASSERT_EQ(0, companion.AddName(mNew));
        EXPECT_EQ(FileWorld::StatusOf(mFolder / "._a").stx_ino,
                  FileWorld::StatusOf(mFolder / "sub/._b").stx_ino);
        EXPECT_TRUE(IsMarked("._a"));
        companion.LeaveOldName();
        EXPECT_FALSE(Exists("._a"));
    }
    EXPECT_TRUE(Exists("sub/._b"));
    EXPECT_FALSE(IsMarked("sub/._b"));
}

TEST_P(CompanionNamesTest, IsAsBeforeWhereTheItemWasNotRenamed) {
    MakeCompanion("._a");
    {
        HeldCompanion companion;
        ASSERT_EQ(0, companion.Take(mPlace));
        ASSERT_EQ(0, companion.AddName(mNew));
    }
    EXPECT_TRUE(Exists("._a"));
    EXPECT_FALSE(IsMarked("._a"));
    EXPECT_FALSE(Exists("sub/._b"));
}

TEST_P(CompanionNamesTest, NoneIsNone) {
    for (int i = 0; i < 3; ++i) {
        if (i == 1) mFolder.MakeFile("._a", "an ordinary file of such a name");
        if (i == 2) {
            FileWorld::Remove(mFolder / "._a");
            mFolder.MakeFolder("._a");
        }
        HeldCompanion companion;
        EXPECT_EQ(0, companion.Take(mPlace)) << i;
        EXPECT_EQ(0, companion.AddName(mNew)) << i;
        companion.LeaveOldName();
        companion.Delete();
        EXPECT_EQ(i != 0, Exists("._a")) << i;
        EXPECT_EQ(0U, NamesIn("sub").size()) << i;
    }
}

TEST_P(CompanionNamesTest, TheNewNameIsNobodyElses) {
    MakeCompanion("._a");
    mFolder.MakeFile("sub/._b", "an ordinary file");
    HeldCompanion companion;
    ASSERT_EQ(0, companion.Take(mPlace));
    EXPECT_EQ(EEXIST, companion.AddName(mNew));
    EXPECT_FALSE(IsMarked("._a"));
    mNew.name = std::string(254, 'n');
    EXPECT_EQ(ENAMETOOLONG, companion.AddName(mNew));
    EXPECT_EQ("an ordinary file", FileWorld::Contents(mFolder / "sub/._b"));
}

TEST_P(CompanionNamesTest, IsHeldByOneAtATime) {
    MakeCompanion("._a");
    HeldCompanion companion;
    ASSERT_EQ(0, companion.Take(mPlace));
    HeldCompanion other;
    EXPECT_EQ(EBUSY, other.Take(mPlace));
    FileWorld::Remove(mFolder / "a");
    AsideOrphan orphan;
    EXPECT_EQ(EBUSY, orphan.SetAside(mPlace));
    EXPECT_TRUE(Exists("._a"));
}

TEST_P(CompanionNamesTest, WhereLocksAreUnknownNobodyHoldsAny) {
    MakeCompanion("._a");
    CallsForTesting().flock = [](int, int) { return errno = ENOLCK, -1; };
    HeldCompanion companion;
    EXPECT_EQ(0, companion.Take(mPlace));
    EXPECT_EQ(0, companion.AddName(mNew));
    EXPECT_TRUE(Exists("sub/._b"));
    DropLeftover(mNew);
    EXPECT_TRUE(Exists("sub/._b")) << "another call may be about it";
}

TEST_P(CompanionNamesTest, IsCopiedWhereThereAreNoHardLinks) {
    const std::string contents = FileWorld::Contents(MakeCompanion("._a", 40000));
    FileWorld::SetMode(mFolder / "._a", 0640);
    for (const int error : {EPERM, EOPNOTSUPP, EMLINK}) {
        static int sErrno;
        sErrno = error;
        CallsForTesting().linkat = [](int, const char*, int, const char*, int) { return errno = sErrno, -1; };
        HeldCompanion companion;
        ASSERT_EQ(0, companion.Take(mPlace));
        ASSERT_EQ(0, companion.AddName(mNew));
        EXPECT_EQ((std::vector<std::string>{"._b"}), NamesIn("sub"));
        EXPECT_TRUE(contents == FileWorld::Contents(mFolder / "sub/._b"));
        EXPECT_EQ(S_IFREG | 0640, FileWorld::StatusOf(mFolder / "sub/._b").stx_mode);
        EXPECT_FALSE(IsMarked("._a"));
    }
    EXPECT_EQ(0U, NamesIn("sub").size()) << "taken back";
    HeldCompanion companion;
    ASSERT_EQ(0, companion.Take(mPlace));
    ASSERT_EQ(0, companion.AddName(mNew));
    companion.LeaveOldName();
    EXPECT_FALSE(Exists("._a"));
    EXPECT_TRUE(contents == FileWorld::Contents(mFolder / "sub/._b"));
}

TEST_P(CompanionNamesTest, ACopyIsThereWholeOrNotAtAll) {
    MakeCompanion("._a", 40000);
    CallsForTesting().linkat = [](int, const char*, int, const char*, int) { return errno = EPERM, -1; };
    for (int failing = 1;; ++failing) {
        const std::size_t descriptors = OpenDescriptorCount();
        int error = 0;
        bool delivered = false;
        {
            HeldCompanion companion;
            ASSERT_EQ(0, companion.Take(mPlace));
            {
                const test_files::FailingCalls failure(failing, EIO);
                error = companion.AddName(mNew);
                delivered = failure.Delivered();
            }
            const std::size_t expected = error == 0 ? 1 : 0;
            EXPECT_EQ(expected, NamesIn("sub").size()) << failing;
        }
        EXPECT_TRUE(error == 0 || error == EIO) << failing << ' ' << error;
        EXPECT_EQ(0U, NamesIn("sub").size()) << failing;
        EXPECT_EQ(descriptors, OpenDescriptorCount()) << failing;
        if (!delivered) break;
        ASSERT_LT(failing, 100);
    }
}

// Who writes a companion is done in a moment.
TEST_P(CompanionNamesTest, WritersAreWaitedFor) {
    MakeCompanion("._a");
    static SystemCalls sKernel;
    static int sWaits;
    sKernel = Calls();
    sWaits = 0;
    CallsForTesting().flock = [](int inDescriptor, int inOperation) {
        return sWaits < 5 ? (errno = EWOULDBLOCK, -1) : sKernel.flock(inDescriptor, inOperation);
    };
    CallsForTesting().clock_nanosleep = [](clockid_t, int, const timespec*, timespec*) {
        return ++sWaits, 0;
    };
    HeldCompanion companion;
    EXPECT_EQ(0, companion.Take(mPlace));
    EXPECT_EQ(5, sWaits);
    sWaits = -1000;
    HeldCompanion other;
    EXPECT_EQ(EBUSY, other.Take(mPlace)) << "but not for long";
    CallsForTesting() = sKernel;
}

// One that came while its item was being moved: its item has gone, and so it is waited for longer, and looked
// for again when who holds it replaces it.
TEST_P(CompanionNamesTest, OneThatCameLaterIsWaitedFor) {
    static SystemCalls sKernel;
    static int sWaits;
    static const FileWorld* sFolder;
    sFolder = &mFolder;
    for (const bool isDeleted : {false, true}) {
        {
            HeldCompanion companion;
            ASSERT_EQ(0, companion.Take(mPlace));
            ASSERT_EQ(0, companion.AddName(mNew));
            MakeCompanion("._a");
            MakeCompanion("new");
            FileWorld::Rename(mFolder / "a", mFolder / "sub/b");
            sKernel = Calls();
            sWaits = 0;
            CallsForTesting().flock = [](int inDescriptor, int inOperation) {
                return sWaits < 500 ? (errno = EWOULDBLOCK, -1) : sKernel.flock(inDescriptor, inOperation);
            };
            CallsForTesting().clock_nanosleep = [](clockid_t, int, const timespec*, timespec*) {
                if (++sWaits == 500) FileWorld::Rename(*sFolder / "new", *sFolder / "._a");
                return 0;
            };
            if (isDeleted)
                companion.Delete();
            else
                companion.LeaveOldName();
            CallsForTesting() = sKernel;
        }
        EXPECT_EQ(500, sWaits);
        EXPECT_FALSE(Exists("._a"));
        EXPECT_EQ(!isDeleted, Exists("sub/._b"));
        FileWorld::RemoveAll(mFolder / "sub/._b");
        FileWorld::Rename(mFolder / "sub/b", mFolder / "a");
    }
}

TEST_P(CompanionNamesTest, OrphansAreSetAside) {
    MakeCompanion("sub/._b");
    {
        AsideOrphan orphan;
        EXPECT_EQ(0, orphan.SetAside(mNew));
        EXPECT_EQ((std::vector<std::string>{"b (companion)"}), NamesIn("sub"));
    }
    EXPECT_EQ((std::vector<std::string>{"._b"}), NamesIn("sub")) << "brought back";
    for (int i = 0; i < 3; ++i) {
        MakeCompanion("sub/._b");
        AsideOrphan orphan;
        EXPECT_EQ(0, orphan.SetAside(mNew));
        orphan.StayAside();
    }
    EXPECT_EQ((std::vector<std::string>{"b (companion 2)", "b (companion 3)", "b (companion)"}),
              NamesIn("sub"));
}

TEST_P(CompanionNamesTest, OnlyOrphansAreSetAside) {
    const auto expectAsItIs = [this](const char* inWhat) {
        const std::vector<std::string> before = NamesIn("sub");
        AsideOrphan orphan;
        EXPECT_EQ(0, orphan.SetAside(mNew)) << inWhat;
        orphan.StayAside();
        EXPECT_EQ(before, NamesIn("sub")) << inWhat;
    };
    expectAsItIs("nothing");
    mFolder.MakeFile("sub/._b", "of a kind that nobody takes for a companion");
    expectAsItIs("an ordinary file");
    MakeCompanion("sub/._b");
    mFolder.MakeFile("sub/b");
    expectAsItIs("a companion");
}

TEST_P(CompanionNamesTest, VisibleNamesAreCutBetweenCharacters) {
    for (const auto& [begin, byteCount] : {std::pair<const char*, std::size_t>{"x", 243}, {"", 242}}) {
        std::string name = begin;
        while (name.size() < 252)
            name += "\u00E9";
        mNew.name = name;
        MakeCompanion("sub/._" + name);
        AsideOrphan orphan;
        ASSERT_EQ(0, orphan.SetAside(mNew));
        const std::vector<std::string> names = NamesIn("sub");
        ASSERT_EQ(1U, names.size());
        EXPECT_EQ(name.substr(0, byteCount) + " (companion)", names[0]);
        FileWorld::Remove(mFolder / "sub/" + names[0]);
    }
}

TEST_P(CompanionNamesTest, NoVisibleNameIsFree) {
    MakeCompanion("sub/._b");
    mFolder.MakeFile("sub/b (companion)");
    for (int i = 2; i <= 100; ++i)
        mFolder.MakeFile("sub/b (companion " + std::to_string(i) + ")");
    AsideOrphan orphan;
    EXPECT_EQ(EEXIST, orphan.SetAside(mNew));
    EXPECT_TRUE(Exists("sub/._b"));
}

// As after a crash: before the item was renamed, and after.
TEST_P(CompanionNamesTest, LeftoversAreDropped) {
    MakeCompanion("._a");
    FileWorld::SetMode(mFolder / "._a", 01644);
    ASSERT_EQ(0, FileWorld::MakeHardLink(mFolder / "._a", mFolder / "sub/._b"));
    DropLeftover(mPlace);
    EXPECT_TRUE(Exists("._a")) << "beside its item";
    DropLeftover(mNew);
    EXPECT_FALSE(Exists("sub/._b"));
    EXPECT_EQ(S_IFREG | 0644, FileWorld::StatusOf(mFolder / "._a").stx_mode);

    FileWorld::SetMode(mFolder / "._a", 01644);
    ASSERT_EQ(0, FileWorld::MakeHardLink(mFolder / "._a", mFolder / "sub/._b"));
    AsideOrphan orphan;
    EXPECT_EQ(0, orphan.SetAside(mNew)) << "who makes an item there drops it as well";
    EXPECT_EQ(0U, NamesIn("sub").size());
    EXPECT_FALSE(IsMarked("._a"));
}

// As after two crashes: the mark goes with the last of them.
TEST_P(CompanionNamesTest, OneLeftoverOfTwoLeavesTheMark) {
    MakeCompanion("._a");
    FileWorld::SetMode(mFolder / "._a", 01644);
    ASSERT_EQ(0, FileWorld::MakeHardLink(mFolder / "._a", mFolder / "sub/._b"));
    ASSERT_EQ(0, FileWorld::MakeHardLink(mFolder / "._a", mFolder / "sub/._c"));
    DropLeftover(mNew);
    EXPECT_EQ((std::vector<std::string>{"._c"}), NamesIn("sub"));
    EXPECT_TRUE(IsMarked("._a"));
    mNew.name = "c";
    DropLeftover(mNew);
    EXPECT_EQ(0U, NamesIn("sub").size());
    EXPECT_FALSE(IsMarked("._a"));
}

TEST_P(CompanionNamesTest, WhatIsNoLeftoverStays) {
    MakeCompanion("._a");
    ASSERT_EQ(0, FileWorld::MakeHardLink(mFolder / "._a", mFolder / "sub/._b"));
    DropLeftover(mNew);
    EXPECT_TRUE(Exists("sub/._b")) << "somebody's own link";
    FileWorld::Remove(mFolder / "._a");
    FileWorld::SetMode(mFolder / "sub/._b", 01644);
    DropLeftover(mNew);
    EXPECT_TRUE(Exists("sub/._b")) << "there is no other name";
    ASSERT_EQ(0, FileWorld::MakeHardLink(mFolder / "sub/._b", mFolder / "._a"));
    HeldCompanion companion;
    ASSERT_EQ(0, companion.Take(mPlace));
    DropLeftover(mNew);
    EXPECT_TRUE(Exists("sub/._b")) << "another call is still about it";
}

TEST_P(CompanionNamesTest, AreDeleted) {
    MakeCompanion("._a");
    {
        HeldCompanion companion;
        ASSERT_EQ(0, companion.Take(mPlace));
        companion.Delete();
    }
    EXPECT_FALSE(Exists("._a"));
    MakeCompanion("._a");
    HeldCompanion companion;
    ASSERT_EQ(0, companion.Take(mPlace));
    FileWorld::Remove(mFolder / "._a");
    mFolder.MakeFile("._a", "another's, which came meanwhile");
    companion.Delete();
    EXPECT_TRUE(Exists("._a"));
}

}  // namespace
