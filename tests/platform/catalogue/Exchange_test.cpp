#include "TwoFiles.h"
#include "catalogue/VolumeFeatures_test_access.h"
#include "os/SystemCalls_test_access.h"
#include "support/FailEach.h"
#include "support/FailingCalls.h"
#include "support/FailingNew.h"
#include "support/FileWorld.h"

#include <fcntl.h>
#include <gtest/gtest.h>
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

class Exchange : public TwoFiles {};
INSTANTIATE_TEST_SUITE_P(Worlds, Exchange, support::BothWorlds(), support::NameOfWorld);

TEST_P(Exchange, ContentsGoAndTheRestStays) {
    SetMarkedInfo(mA, 1);
    SetMarkedInfo(mB, 2);
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
    SetMarkedInfo(mA, 1);
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

}  // namespace
