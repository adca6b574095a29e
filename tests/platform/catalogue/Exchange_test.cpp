#include "ItemChanges.h"
#include "catalogue/VolumeFeatures_test_access.h"
#include "os/SystemCalls_test_access.h"
#include "platform/forks/ForkTest.h"
#include "support/FailEach.h"
#include "support/FailingCalls.h"
#include "support/FailingNew.h"
#include "support/FileWorld.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <toolbox/CatalogItems.h>
#include <toolbox/Forks.h>

#include <cerrno>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

namespace {

using namespace test_files;
using support::FileWorld;

constexpr FSCatalogInfoBitmap kStays = kFSCatInfoNodeID | kFSCatInfoParentDirID | kFSCatInfoTextEncoding |
                                       kFSCatInfoNodeFlags | kFSCatInfoBackupDate | kFSCatInfoPermissions |
                                       kFSCatInfoFinderInfo | kFSCatInfoFinderXInfo;

class Exchange : public ItemChangesTest<support::FileWorldTest> {
  protected:
    Exchange() {
        mFolder.MakeFile("a", "of a");
        mFolder.MakeFolder("sub");
        mFolder.MakeFile("sub/b", "contents of b");
        FileWorld::SetMode(mFolder / "a", 0640);
        FileWorld::SetMode(mFolder / "sub/b", 0604);
        mA = RefOf(mFolder / "a");
        mB = RefOf(mFolder / "sub/b");
    }
    ~Exchange() override {
        toolbox::files::AllowExchanges();
        EXPECT_EQ(mDescriptors, OpenDescriptorCount());
    }

    static FSCatalogInfo Info(const FSRef& inRef, FSCatalogInfoBitmap inWhich) {
        FSCatalogInfo info = {};
        EXPECT_EQ(noErr, FSGetCatalogInfo(&inRef, inWhich, &info, nullptr, nullptr, nullptr));
        return info;
    }
    // What does not go with the contents.
    static std::string WhatStays(const FSRef& inRef) {
        const FSCatalogInfo info = Info(inRef, kStays);
        const UInt64 created = Info(inRef, kFSCatInfoCreateDate).createDate.lowSeconds;
        return std::string(reinterpret_cast<const char*>(&info), sizeof info) + PathOf(inRef) +
               std::to_string(created);
    }
    // Every item has its own, and none is its default.
    static void Distinguish(const FSRef& inRef, UInt8 inMark) {
        FSCatalogInfo info = {};
        info.textEncodingHint = inMark;
        info.createDate = {0, 3'000'000'000U + inMark, 0};
        info.backupDate = {0, 3'100'000'000U + inMark, 0};
        std::memset(info.finderInfo, inMark, sizeof info.finderInfo);
        std::memset(info.extFinderInfo, inMark, sizeof info.extFinderInfo);
        EXPECT_EQ(noErr,
                  FSSetCatalogInfo(&inRef,
                                   kFSCatInfoTextEncoding | kFSCatInfoCreateDate | kFSCatInfoBackupDate |
                                       kFSCatInfoFinderInfo | kFSCatInfoFinderXInfo,
                                   &info));
    }
    std::string ContentsOfBoth() const {
        return FileWorld::Contents(mFolder / "a") + ", " + FileWorld::Contents(mFolder / "sub/b");
    }

    FSRef mA = {};
    FSRef mB = {};

  private:
    std::size_t mDescriptors = OpenDescriptorCount();
};
INSTANTIATE_TEST_SUITE_P(Worlds, Exchange, support::BothWorlds(), support::NameOfWorld);

TEST_P(Exchange, ContentsGoAndTheRestStays) {
    Distinguish(mA, 1);
    Distinguish(mB, 2);
    FileWorld::SetTimes(mFolder / "a", {1'000'000'000, 0}, {1'100'000'000, 0});
    FileWorld::SetTimes(mFolder / "sub/b", {1'200'000'000, 0}, {1'300'000'000, 0});
    const std::string staysOfA = WhatStays(mA);
    const std::string staysOfB = WhatStays(mB);
    const UInt32 changedA = Info(mA, kFSCatInfoContentMod).contentModDate.lowSeconds;
    const UInt32 changedB = Info(mB, kFSCatInfoContentMod).contentModDate.lowSeconds;
    ASSERT_NE(changedA, changedB);
    ASSERT_EQ(noErr, FSExchangeObjects(&mA, &mB));
    EXPECT_EQ("contents of b, of a", ContentsOfBoth());
    EXPECT_EQ(staysOfA, WhatStays(mA));
    EXPECT_EQ(staysOfB, WhatStays(mB));
    EXPECT_EQ(changedB, +Info(mA, kFSCatInfoContentMod).contentModDate.lowSeconds);
    EXPECT_EQ(changedA, +Info(mB, kFSCatInfoContentMod).contentModDate.lowSeconds);
    EXPECT_EQ(13u, Info(mA, kFSCatInfoDataSizes).dataLogicalSize);
    ASSERT_EQ(noErr, FSExchangeObjects(&mA, &mB));
    EXPECT_EQ("of a, contents of b", ContentsOfBoth());
    EXPECT_EQ(staysOfA, WhatStays(mA));
    EXPECT_EQ(staysOfB, WhatStays(mB));
}

// The companion tells then what the file system tells of another file by now.
TEST_P(Exchange, CreationDatesOfTheFileSystem) {
    static toolbox::os::SystemCalls sReal;
    static std::uint64_t sOldInode;
    sReal = toolbox::os::Calls();
    sOldInode = FileWorld::StatusOf(mFolder.MakeFile("old", "of old")).stx_ino;
    toolbox::os::CallsForTesting().statx = [](int inFolder, const char* inPath, int inFlags, unsigned inMask,
                                              struct statx* outStatus) {
        const int result = sReal.statx(inFolder, inPath, inFlags, inMask, outStatus);
        if (result == 0 && outStatus->stx_ino == sOldInode) outStatus->stx_btime.tv_sec = 1'000'000'000;
        return result;
    };
    const FSRef old = RefOf(mFolder / "old");
    const UInt32 created = Info(mA, kFSCatInfoCreateDate).createDate.lowSeconds;
    const UInt32 createdOld = Info(old, kFSCatInfoCreateDate).createDate.lowSeconds;
    ASSERT_NE(created, createdOld);
    EXPECT_EQ(noErr, FSExchangeObjects(&mA, &old));
    EXPECT_EQ("of old", FileWorld::Contents(mFolder / "a"));
    EXPECT_EQ(created, +Info(mA, kFSCatInfoCreateDate).createDate.lowSeconds);
    EXPECT_EQ(createdOld, +Info(old, kFSCatInfoCreateDate).createDate.lowSeconds);
    // A refused one leaves nothing behind.
    const FSRef b = mB;
    toolbox::os::CallsForTesting().renameat2 = [](int, const char*, int, const char*, unsigned) {
        return errno = EIO, -1;
    };
    EXPECT_EQ(ioErr, FSExchangeObjects(&b, &mA));
    toolbox::os::CallsForTesting() = sReal;
    EXPECT_FALSE(FileWorld::Exists(mFolder / "sub/._b"));
}

TEST_P(Exchange, ReferencesAndIdsStayWithTheNames) {
    const FSRef c = RefOf(mFolder.MakeFile("sub/c", "of c"));
    const UInt32 idOfA = Info(mA, kFSCatInfoNodeID).nodeID;
    ASSERT_EQ(noErr, FSExchangeObjects(&mA, &mB));
    ASSERT_EQ(noErr, FSExchangeObjects(&mB, &c));
    ASSERT_EQ(noErr, FSExchangeObjects(&c, &mA));
    EXPECT_EQ("of a", FileWorld::Contents(PathOf(mA))) << "all the way round";
    EXPECT_EQ("of c", FileWorld::Contents(PathOf(mB)));
    EXPECT_EQ("contents of b", FileWorld::Contents(PathOf(c)));
    EXPECT_EQ(mFolder / "a", PathOf(mA));
    EXPECT_EQ(mFolder / "sub/b", PathOf(mB));
    EXPECT_EQ(mFolder / "sub/c", PathOf(c));
    const FSRef anew = RefOf(mFolder / "sub/b");
    EXPECT_EQ(noErr, FSCompareFSRefs(&anew, &mB));
    EXPECT_EQ(errFSRefsDifferent, FSCompareFSRefs(&anew, &c));
    EXPECT_EQ(idOfA, InfoOf(mFolder / "a", kFSCatInfoNodeID).nodeID);
    FSRef moved = {};
    ASSERT_EQ(noErr, Move(mA, RefOf(mFolder / "sub"), &moved));
    EXPECT_EQ(mFolder / "sub/a", PathOf(mA)) << "it is followed as any other";
    EXPECT_EQ(noErr, FSCompareFSRefs(&mA, &moved));
    ASSERT_EQ(noErr, FSDeleteObject(&mB));
    EXPECT_EQ("sub(a=of a, c=contents of b, ), ", Picture());
}

// A name of a specification that tells the id tells the one that has it in the catalogue.
TEST_P(Exchange, NamesThatTellTheId) {
    const std::string longName(40, 'n');
    const FSRef named = RefOf(mFolder.MakeFile(longName, "of the long name"));
    const FSSpec spec = SpecOf(mFolder / longName);
    ASSERT_NE(std::string::npos, NameOf(spec).find('#'));
    ASSERT_EQ(noErr, FSExchangeObjects(&named, &mA));
    EXPECT_EQ(mFolder / longName, PathOfSpec(spec));
    EXPECT_EQ(0, std::memcmp(&spec, std::vector<FSSpec>{SpecOf(mFolder / longName)}.data(), sizeof spec));
}

TEST_P(Exchange, WhatCannotBe) {
    const FSRef folder = RefOf(mFolder / "sub");
    FSRef link = {};
    mFolder.MakeLink(mFolder / "a", "link");
    const std::string linkPath = mFolder / "link";
    ASSERT_EQ(noErr, FSPathMakeRefWithOptions(reinterpret_cast<const UInt8*>(linkPath.c_str()),
                                              kFSPathMakeRefDoNotFollowLeafSymlink, &link, nullptr));
    const FSRef pipe = RefOf(mFolder.MakePipe("pipe"));
    const FSRef gone = RefOf(mFolder.MakeFile("gone"));
    FileWorld::Remove(mFolder / "gone");
    const FSRef none = {};
    for (const FSRef& other : {folder, link, pipe}) {
        EXPECT_EQ(notAFileErr, FSExchangeObjects(&mA, &other));
        EXPECT_EQ(notAFileErr, FSExchangeObjects(&other, &mA));
    }
    const FSRef sameOne = RefOf(mFolder / "a");
    EXPECT_EQ(sameFileErr, FSExchangeObjects(&mA, &sameOne));
    EXPECT_EQ(fnfErr, FSExchangeObjects(&mA, &gone));
    EXPECT_EQ(fnfErr, FSExchangeObjects(&gone, &mA));
    EXPECT_EQ(errFSBadFSRef, FSExchangeObjects(&mA, &none));
    EXPECT_EQ(errFSBadFSRef, FSExchangeObjects(&none, &mA));
    EXPECT_EQ(paramErr, FSExchangeObjects(&mA, nullptr));
    EXPECT_EQ(paramErr, FSExchangeObjects(nullptr, &mA));
    EXPECT_EQ("of a, contents of b", ContentsOfBoth());
}

// One name of several would take contents from the others.
TEST_P(Exchange, WhatHasSeveralNames) {
    mFolder.MakeFile("several", "of several");
    ASSERT_EQ(0, FileWorld::MakeHardLink(mFolder / "several", mFolder / "name"));
    const FSRef several = RefOf(mFolder / "several");
    EXPECT_EQ(paramErr, FSExchangeObjects(&mA, &several));
    EXPECT_EQ(paramErr, FSExchangeObjects(&several, &mA));
    EXPECT_EQ("a=of a, name=2:of several, several=2:of several, sub(b=contents of b, ), ", Picture());
}

TEST_P(Exchange, LockedFiles) {
    FSCatalogInfo info = {};
    info.nodeFlags = kFSNodeLockedMask;
    ASSERT_EQ(noErr, FSSetCatalogInfo(&mA, kFSCatInfoNodeFlags, &info));
    EXPECT_EQ(fLckdErr, FSExchangeObjects(&mA, &mB));
    EXPECT_EQ(fLckdErr, FSExchangeObjects(&mB, &mA));
    EXPECT_EQ("of a, contents of b", ContentsOfBoth());
}

TEST_P(Exchange, FilesOfTwoVolumes) {
    if (!mFolder.MayMount()) GTEST_SKIP() << "this machine lets nobody mount";
    const std::string point = mFolder.MakeFolder("point");
    ASSERT_EQ(0, mFolder.MountVolume(point));
    const FSRef other = RefOf(mFolder.MakeFile("point/other", "of other"));
    EXPECT_EQ(diffVolErr, FSExchangeObjects(&mA, &other));
    EXPECT_EQ(diffVolErr, FSExchangeObjects(&other, &mA));
}

TEST_P(Exchange, WhereTheFileSystemCannot) {
    const std::string before = WhatStays(mA) + WhatStays(mB);
    static toolbox::os::SystemCalls sReal;
    sReal = toolbox::os::Calls();
    toolbox::os::CallsForTesting().renameat2 = [](int, const char*, int, const char*, unsigned) {
        return errno = EINVAL, -1;
    };
    EXPECT_EQ(paramErr, FSExchangeObjects(&mA, &mB));
    toolbox::os::CallsForTesting() = sReal;
    EXPECT_EQ("of a, contents of b", ContentsOfBoth());
    EXPECT_EQ(before, WhatStays(mA) + WhatStays(mB));
}

// Then the volume's parameters say so no more.
TEST_P(Exchange, ARefusalIsRemembered) {
    if (!mFolder.MayMount()) GTEST_SKIP() << "this machine lets nobody mount";
    const std::string point = mFolder.MakeFolder("point");
    ASSERT_EQ(0, mFolder.MountVolume(point));
    const FSRef one = RefOf(mFolder.MakeFile("point/one"));
    const FSRef two = RefOf(mFolder.MakeFile("point/two"));
    toolbox::os::ItemStatus root;
    ASSERT_EQ(0, toolbox::os::GetPathStatus(point.c_str(), root));
    ASSERT_EQ(noErr, FSExchangeObjects(&one, &two));
    EXPECT_FALSE(toolbox::files::IsExchangeForbidden(root.Volume()));
    static toolbox::os::SystemCalls sReal;
    sReal = toolbox::os::Calls();
    toolbox::os::CallsForTesting().renameat2 = [](int, const char*, int, const char*, unsigned) {
        return errno = EINVAL, -1;
    };
    EXPECT_EQ(paramErr, FSExchangeObjects(&one, &two));
    toolbox::os::CallsForTesting() = sReal;
    EXPECT_TRUE(toolbox::files::IsExchangeForbidden(root.Volume()));
}

// What the file system alone tells of one, and no companion can: then only names can be moved.
TEST_P(Exchange, DatesThatNothingCanKeep) {
    static toolbox::os::SystemCalls sReal;
    static std::uint64_t sOldInode;
    sReal = toolbox::os::Calls();
    const std::string longName(254, 'n');
    sOldInode = FileWorld::StatusOf(mFolder.MakeFile(longName, "of old")).stx_ino;
    toolbox::os::CallsForTesting().statx = [](int inFolder, const char* inPath, int inFlags, unsigned inMask,
                                              struct statx* outStatus) {
        const int result = sReal.statx(inFolder, inPath, inFlags, inMask, outStatus);
        if (result == 0 && outStatus->stx_ino == sOldInode) outStatus->stx_btime.tv_sec = 1'000'000'000;
        return result;
    };
    const FSRef old = RefOf(mFolder / longName);
    EXPECT_EQ(paramErr, FSExchangeObjects(&mA, &old));
    EXPECT_EQ(paramErr, FSExchangeObjects(&old, &mA));
    mFolder.MakeFile("sub/._b", "another's");
    EXPECT_EQ(paramErr, FSExchangeObjects(&mB, &old));
    toolbox::os::CallsForTesting() = sReal;
    EXPECT_FALSE(FileWorld::Exists(mFolder / "._a"));
    EXPECT_EQ("another's", FileWorld::Contents(mFolder / "sub/._b"));
    EXPECT_EQ("of old", FileWorld::Contents(mFolder / longName));
}

// What a companion tells is of the item that it lies beside.
TEST_P(Exchange, Companions) {
    MakeWithCompanion("", "forked");
    const FSRef companion = RefOf(mFolder / "._forked");
    EXPECT_EQ(paramErr, FSExchangeObjects(&mA, &companion));
    EXPECT_EQ(paramErr, FSExchangeObjects(&companion, &mA));
    // An ordinary file, and one that would be a companion in its place.
    const FSRef ordinary = RefOf(mFolder.MakeFile("._a", "ordinary"));
    const FSRef doubled = RefOf(mFolder.MakeFile("x", CompanionBytes("of x")));
    EXPECT_EQ(paramErr, FSExchangeObjects(&ordinary, &doubled));
    EXPECT_EQ(paramErr, FSExchangeObjects(&doubled, &ordinary));
    EXPECT_EQ("ordinary", FileWorld::Contents(mFolder / "._a"));
    EXPECT_EQ(noErr, FSExchangeObjects(&doubled, &mB)) << "beside nothing it is a file";
}

TEST_P(Exchange, AResourceForkThatIsBeingWritten) {
    HFSUniStr255 fork = {};
    ASSERT_EQ(noErr, FSGetResourceForkName(&fork));
    SInt16 number = 0;
    ASSERT_EQ(noErr, FSOpenFork(&mA, fork.length, fork.unicode, fsRdWrPerm, &number));
    EXPECT_EQ(paramErr, FSExchangeObjects(&mA, &mB));
    EXPECT_EQ(paramErr, FSExchangeObjects(&mB, &mA));
    ASSERT_EQ(noErr, FSCloseFork(number));
    EXPECT_EQ(noErr, FSExchangeObjects(&mA, &mB));
}

// Who has the data open goes on with the contents.
TEST_P(Exchange, ADataForkThatIsOpen) {
    SInt16 number = 0;
    ASSERT_EQ(noErr, FSOpenFork(&mA, 0, nullptr, fsRdWrPerm, &number));
    ASSERT_EQ(noErr, FSExchangeObjects(&mA, &mB));
    ByteCount count = 0;
    ASSERT_EQ(noErr, FSWriteFork(number, fsFromStart, 0, 2, "OF", &count));
    ASSERT_EQ(noErr, FSCloseFork(number));
    EXPECT_EQ("contents of b, OF a", ContentsOfBoth());
}

TEST_P(Exchange, OnAVolumeThatMayOnlyBeRead) {
    if (!mFolder.MayMount()) GTEST_SKIP() << "this machine lets nobody mount";
    const std::string point = mFolder.MakeFolder("point");
    ASSERT_EQ(0, mFolder.MountVolume(point));
    const FSRef one = RefOf(mFolder.MakeFile("point/one"));
    const FSRef two = RefOf(mFolder.MakeFile("point/two"));
    ASSERT_EQ(0, mFolder.ForbidWriting(point));
    const OSErr error = FSExchangeObjects(&one, &two);
    EXPECT_TRUE(error == vLckdErr || error == wPrErr) << error;
}

// What came to the name meanwhile is another program's, and stays.
TEST_P(Exchange, WhatTookTheNameMeanwhileStays) {
    static toolbox::os::SystemCalls sReal;
    static const FileWorld* sFolder;
    sReal = toolbox::os::Calls();
    sFolder = &mFolder;
    mFolder.MakeFile("another", "another's");
    toolbox::os::CallsForTesting().renameat2 = [](int inFolder, const char* inName, int inNewFolder,
                                                  const char* inNewName, unsigned inFlags) {
        if (FileWorld::Exists(*sFolder / "another")) {
            EXPECT_EQ(0, sReal.renameat2(AT_FDCWD, (*sFolder / "another").c_str(), AT_FDCWD,
                                         (*sFolder / "sub/b").c_str(), 0));
        }
        return sReal.renameat2(inFolder, inName, inNewFolder, inNewName, inFlags);
    };
    EXPECT_EQ(fnfErr, FSExchangeObjects(&mA, &mB));
    toolbox::os::CallsForTesting() = sReal;
    EXPECT_EQ("of a, another's", ContentsOfBoth());
    EXPECT_EQ(S_IFREG | 0640, FileWorld::StatusOf(mFolder / "a").stx_mode);
}

TEST_P(Exchange, EachCallFailing) {
    Distinguish(mA, 1);
    const std::string stays = WhatStays(mA) + WhatStays(mB);
    std::string contents = ContentsOfBoth();
    const int steps = support::FailEach<FailingCalls>(
        [&](const auto& inUnderFault) {
            OSErr error = noErr;
            const bool isFailing = inUnderFault([&] { error = FSExchangeObjects(&mA, &mB); });
            const std::string now = ContentsOfBoth();
            EXPECT_TRUE(isFailing || error == noErr);
            if (error == noErr)
                EXPECT_NE(contents, now);
            else
                EXPECT_EQ(contents, now) << error;
            contents = now;
            EXPECT_EQ(stays, WhatStays(mA) + WhatStays(mB)) << error;
        },
        EIO, FailingCalls::kOnce);
    EXPECT_GT(steps, 10);
}

TEST_P(Exchange, EachAllocationFailing) {
    const std::string stays = WhatStays(mA) + WhatStays(mB);
    std::string contents = ContentsOfBoth();
    const int steps = support::FailEach<FailingNew>([&](const auto& inUnderFault) {
        OSErr error = noErr;
        inUnderFault([&] { error = FSExchangeObjects(&mA, &mB); });
        EXPECT_TRUE(error == noErr || error == memFullErr) << error;
        const std::string now = ContentsOfBoth();
        EXPECT_EQ(error == noErr, contents != now);
        contents = now;
        EXPECT_EQ(stays, WhatStays(mA) + WhatStays(mB)) << error;
    });
    EXPECT_GT(steps, 5);
}

class ExchangeOfForks : public Exchange {
  protected:
    ExchangeOfForks() {
        mFolder.MakeFile("._a", CompanionBytes("fork of a"));
        mFolder.MakeFile("sub/._b", CompanionBytes("fork of contents of b"));
        Distinguish(mA, 1);
        Distinguish(mB, 2);
    }

    static std::string ForksOf(const std::string& inPath) {
        const Opened fork(RefOf(inPath), Which::kResource, fsRdPerm);
        return FileWorld::Contents(inPath) + ", " + Whole(fork);
    }
    std::string ForksOfBoth() const { return ForksOf(mFolder / "a") + "; " + ForksOf(mFolder / "sub/b"); }
    bool HasIntents() const {
        return EntryIn(mFolder / "._a", kForkIntent) != "none" ||
               EntryIn(mFolder / "sub/._b", kForkIntent) != "none";
    }
    void ExpectRefused(OSErr inError) {
        const std::string before = ForksOfBoth() + WhatStays(mA) + WhatStays(mB);
        EXPECT_EQ(inError, FSExchangeObjects(&mA, &mB));
        EXPECT_EQ(inError, FSExchangeObjects(&mB, &mA));
        EXPECT_EQ(before, ForksOfBoth() + WhatStays(mA) + WhatStays(mB));
        EXPECT_FALSE(HasIntents());
    }

    static constexpr UInt32 kForkIntent = toolbox::files::AppleDoubleEntry::kForkIntent;
    const std::string mBefore = "of a, fork of a; contents of b, fork of contents of b";
    const std::string mExchanged = "contents of b, fork of contents of b; of a, fork of a";
};
INSTANTIATE_TEST_SUITE_P(Worlds, ExchangeOfForks, support::BothWorlds(), support::NameOfWorld);

TEST_P(ExchangeOfForks, GoWithTheContents) {
    const std::string stays = WhatStays(mA) + WhatStays(mB);
    ASSERT_EQ(noErr, FSExchangeObjects(&mA, &mB));
    EXPECT_EQ(mExchanged, ForksOfBoth());
    EXPECT_EQ(stays, WhatStays(mA) + WhatStays(mB));
    EXPECT_EQ(21U, Info(mA, kFSCatInfoRsrcSizes).rsrcLogicalSize);
    EXPECT_FALSE(HasIntents());
    const FSRef c = RefOf(mFolder.MakeFile("c", "of c"));
    ASSERT_EQ(noErr, FSExchangeObjects(&c, &mA));
    EXPECT_EQ("contents of b, fork of contents of b", ForksOf(mFolder / "c"));
    EXPECT_EQ("of c, ", ForksOf(mFolder / "a"));
    EXPECT_EQ(stays, WhatStays(mA) + WhatStays(mB));
}

// Under the lock the companion tells what it did not when the files were looked for.
TEST_P(ExchangeOfForks, OneThatComesMeanwhile) {
    static toolbox::os::SystemCalls sReal;
    static const std::string* sCompanion;
    const std::string companion = mFolder / "._a";
    sCompanion = &companion;
    sReal = toolbox::os::Calls();
    FileWorld::Remove(companion);
    mFolder.MakeFile("._a", CompanionBytes(""));
    toolbox::os::CallsForTesting().flock = [](int inDescriptor, int inOperation) {
        toolbox::os::CallsForTesting() = sReal;
        FileWorld::Rename(*sCompanion + "later", *sCompanion);
        return sReal.flock(inDescriptor, inOperation);
    };
    mFolder.MakeFile("._alater", CompanionBytes("fork of a"));
    EXPECT_EQ(noErr, FSExchangeObjects(&mA, &mB));
    toolbox::os::CallsForTesting() = sReal;
    EXPECT_EQ(mExchanged, ForksOfBoth());
}

TEST_P(ExchangeOfForks, WhatIsRefused) {
    {
        const Opened fork(mA, Which::kResource, fsRdPerm);
        EXPECT_EQ(paramErr, FSExchangeObjects(&mA, &mB));
        EXPECT_EQ(paramErr, FSExchangeObjects(&mB, &mA));
    }
    {
        const Opened fork(mA, Which::kData);
        EXPECT_EQ(noErr, FSExchangeObjects(&mA, &mB));
        EXPECT_EQ(noErr, FSExchangeObjects(&mA, &mB));
    }
    static toolbox::os::SystemCalls sReal;
    sReal = toolbox::os::Calls();
    toolbox::os::CallsForTesting().flock = [](int, int) { return errno = ENOLCK, -1; };
    ExpectRefused(paramErr);
    toolbox::os::CallsForTesting() = sReal;
    toolbox::os::CallsForTesting().renameat2 = [](int inFolder, const char* inName, int inNewFolder,
                                                  const char* inNewName, unsigned inFlags) {
        if (inFlags == 2) return errno = EINVAL, -1;
        return sReal.renameat2(inFolder, inName, inNewFolder, inNewName, inFlags);
    };
    ExpectRefused(paramErr);
    toolbox::os::CallsForTesting() = sReal;
    toolbox::os::CallsForTesting().pwrite = [](int, const void*, std::size_t, off_t) -> ssize_t {
        return errno = ENOSPC, -1;
    };
    ExpectRefused(dskFulErr);
    toolbox::os::CallsForTesting() = sReal;
}

// Another writer of one companion is waited for, and is not written over.
TEST_P(ExchangeOfForks, AWriterThatHoldsTheLock) {
    static toolbox::os::SystemCalls sReal;
    sReal = toolbox::os::Calls();
    toolbox::os::Descriptor file;
    ASSERT_EQ(0, toolbox::os::OpenFile(AT_FDCWD, (mFolder / "sub/._b").c_str(), O_RDONLY, file));
    ASSERT_EQ(0, sReal.flock(file.Number(), LOCK_EX | LOCK_NB));
    toolbox::os::CallsForTesting().clock_nanosleep = [](clockid_t, int, const timespec*, timespec*) {
        return 0;
    };
    ExpectRefused(fBsyErr);
    toolbox::os::CallsForTesting() = sReal;
}

// The exchange itself is what counts: what cannot be settled then is told from the intents.
TEST_P(ExchangeOfForks, EachCallFailing) {
    const std::string stays = WhatStays(mA) + WhatStays(mB);
    std::string forks = ForksOfBoth();
    int intents = 0;
    const int steps = support::FailEach<FailingCalls>(
        [&](const auto& inUnderFault) {
            OSErr error = noErr;
            const bool isFailing = inUnderFault([&] { error = FSExchangeObjects(&mA, &mB); });
            EXPECT_TRUE(isFailing || error == noErr);
            const std::string now = ForksOfBoth();
            EXPECT_TRUE(now == mBefore || now == mExchanged) << now;
            EXPECT_EQ(error == noErr, forks != now) << error;
            forks = now;
            EXPECT_EQ(stays, WhatStays(mA) + WhatStays(mB)) << error;
            intents += HasIntents();
            EXPECT_TRUE(isFailing || !HasIntents());
        },
        EIO, FailingCalls::kOnce);
    EXPECT_GT(steps, 50);
    EXPECT_GT(intents, 0);
}

// Another process makes a fork where there was no companion while the names are exchanged.
TEST_P(ExchangeOfForks, OneThatComesLast) {
    static toolbox::os::SystemCalls sReal;
    static const FileWorld* sFolder;
    sReal = toolbox::os::Calls();
    sFolder = &mFolder;
    const FSRef c = RefOf(mFolder.MakeFile("c", "of c"));
    const FSRef d = RefOf(mFolder.MakeFile("d", "of d"));
    toolbox::os::CallsForTesting().renameat2 = [](int inFolder, const char* inName, int inNewFolder,
                                                  const char* inNewName, unsigned inFlags) {
        if (!FileWorld::Exists(*sFolder / "._c")) sFolder->MakeFile("._c", CompanionBytes("fork of c"));
        return sReal.renameat2(inFolder, inName, inNewFolder, inNewName, inFlags);
    };
    EXPECT_EQ(fBsyErr, FSExchangeObjects(&c, &d));
    toolbox::os::CallsForTesting() = sReal;
    EXPECT_EQ("of c, fork of c", ForksOf(mFolder / "c"));
    EXPECT_EQ("of d, ", ForksOf(mFolder / "d"));
}

// Not even the names can be exchanged back, nor the intents be taken away.
TEST_P(ExchangeOfForks, EachCallFailingAndAllBehindIt) {
    const std::string stays = WhatStays(mA) + WhatStays(mB);
    bool hasFailedBehind = false;
    const int steps = support::FailEach<FailingCalls>(
        [&](const auto& inUnderFault) {
            const std::string before = ForksOfBoth();
            OSErr error = noErr;
            inUnderFault([&] { error = FSExchangeObjects(&mA, &mB); });
            // What this process knows of the two is not right after that: only the names count.
            const std::string now = ForksOfBoth();
            EXPECT_TRUE(now == mBefore || now == mExchanged) << now;
            hasFailedBehind = hasFailedBehind || (error != noErr && now != before);
            EXPECT_TRUE(error != noErr || now != before);
            mA = RefOf(mFolder / "a");
            mB = RefOf(mFolder / "sub/b");
        },
        EIO, FailingCalls::kForever);
    EXPECT_GT(steps, 50);
    EXPECT_TRUE(hasFailedBehind);
}

// Then nothing is left of it.
TEST_P(ExchangeOfForks, NamesThatAreExchangedBack) {
    static toolbox::os::SystemCalls sReal;
    static int sExchanges;
    sReal = toolbox::os::Calls();
    sExchanges = 0;
    toolbox::os::CallsForTesting().renameat2 = [](int inFolder, const char* inName, int inNewFolder,
                                                  const char* inNewName, unsigned inFlags) {
        sExchanges += inFlags == 2;
        return sReal.renameat2(inFolder, inName, inNewFolder, inNewName, inFlags);
    };
    toolbox::os::CallsForTesting().fchmodat = [](int inFolder, const char* inPath, mode_t inMode,
                                                 int inFlags) {
        return sExchanges % 2 == 1 ? (errno = EIO, -1) : sReal.fchmodat(inFolder, inPath, inMode, inFlags);
    };
    ExpectRefused(ioErr);
    toolbox::os::CallsForTesting() = sReal;
    EXPECT_EQ(4, sExchanges);
}

// Then it fails with the names exchanged, and the forks are whose they are by then.
TEST_P(ExchangeOfForks, NamesThatCannotBeExchangedBack) {
    static toolbox::os::SystemCalls sReal;
    static int sExchanges;
    sReal = toolbox::os::Calls();
    sExchanges = 0;
    toolbox::os::CallsForTesting().renameat2 = [](int inFolder, const char* inName, int inNewFolder,
                                                  const char* inNewName, unsigned inFlags) {
        if (inFlags == 2 && ++sExchanges == 2) return errno = EIO, -1;
        return sReal.renameat2(inFolder, inName, inNewFolder, inNewName, inFlags);
    };
    toolbox::os::CallsForTesting().fchmodat = [](int inFolder, const char* inPath, mode_t inMode,
                                                 int inFlags) {
        return sExchanges == 1 ? (errno = EIO, -1) : sReal.fchmodat(inFolder, inPath, inMode, inFlags);
    };
    EXPECT_EQ(ioErr, FSExchangeObjects(&mA, &mB));
    toolbox::os::CallsForTesting() = sReal;
    EXPECT_EQ(2, sExchanges);
    EXPECT_EQ(mExchanged, ForksOfBoth());
    EXPECT_TRUE(HasIntents());
}

TEST_P(ExchangeOfForks, EachAllocationFailing) {
    const std::string stays = WhatStays(mA) + WhatStays(mB);
    std::string forks = ForksOfBoth();
    const int steps = support::FailEach<FailingNew>([&](const auto& inUnderFault) {
        OSErr error = noErr;
        inUnderFault([&] { error = FSExchangeObjects(&mA, &mB); });
        EXPECT_TRUE(error == noErr || error == memFullErr) << error;
        const std::string now = ForksOfBoth();
        EXPECT_TRUE(now == mBefore || now == mExchanged) << now;
        EXPECT_EQ(error == noErr, forks != now);
        forks = now;
        EXPECT_EQ(stays, WhatStays(mA) + WhatStays(mB)) << error;
    });
    EXPECT_GT(steps, 50);
}

}  // namespace
