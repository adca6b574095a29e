#include "CatalogTest.h"
#include "FolderPicture.h"
#include "support/FailEach.h"
#include "support/FailingCalls.h"
#include "support/FailingNew.h"
#include "support/FileWorld.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <toolbox/DirAccess.h>
#include <unistd.h>

#include <cerrno>
#include <string>

namespace {

using namespace test_files;
using support::FileWorld;
using toolbox::os::CallsForTesting;

class DirAccessTest : public CatalogItemsTest<support::FileWorldTest> {
  protected:
    ~DirAccessTest() override { CallsForTesting() = mSaved; }

    using Call = OSErr(HParmBlkPtr);
    OSErr Do(Call* inCall, const FSSpec& inSpec) {
        FSSpec spec = inSpec;
        mBlock.accessParam.ioVRefNum = spec.vRefNum;
        mBlock.accessParam.ioDirID = spec.parID;
        mBlock.accessParam.ioNamePtr = spec.name;
        const OSErr error = inCall(&mBlock);
        EXPECT_EQ(error, mBlock.accessParam.ioResult);
        return error;
    }
    UInt32 AccessOf(std::string_view inName) {
        mBlock = {};
        EXPECT_EQ(noErr, Do(PBHGetDirAccessSync, Here(inName)));
        return static_cast<UInt32>(mBlock.accessParam.ioACAccess);
    }
    OSErr Set(std::string_view inName, uid_t inOwner, gid_t inGroup, UInt32 inAccess) {
        mBlock = {};
        mBlock.accessParam.ioACOwnerID = static_cast<SInt32>(inOwner);
        mBlock.accessParam.ioACGroupID = static_cast<SInt32>(inGroup);
        mBlock.accessParam.ioACAccess = static_cast<SInt32>(inAccess);
        return Do(PBHSetDirAccessSync, Here(inName));
    }
    unsigned ModeOf(std::string_view inName) const {
        return FileWorld::StatusOf(mFolder / inName).stx_mode & 07777;
    }

    HParamBlockRec mBlock = {};
    toolbox::os::SystemCalls mSaved = CallsForTesting();
};
INSTANTIATE_TEST_SUITE_P(Worlds, DirAccessTest, support::BothWorlds(), support::NameOfWorld);

constexpr UInt32 kAllOfUser = kioACAccessUserSearchMask | kioACAccessUserReadMask | kioACAccessUserWriteMask;
constexpr UInt32 kWhatIsKept = 0x00FFFFFF;  // of what is set

TEST_P(DirAccessTest, EachBit) {
    struct Row {
        mode_t mode;
        UInt32 access;
    };
    constexpr Row kRows[] = {{0100, kioACAccessOwnerSearchMask},    {0200, kioACAccessOwnerWriteMask},
                             {0400, kioACAccessOwnerReadMask},      {0010, kioACAccessGroupSearchMask},
                             {0020, kioACAccessGroupWriteMask},     {0040, kioACAccessGroupReadMask},
                             {0001, kioACAccessEveryoneSearchMask}, {0002, kioACAccessEveryoneWriteMask},
                             {0004, kioACAccessEveryoneReadMask},   {0000, 0}};
    mFolder.MakeFolder("folder");
    for (const Row& row : kRows) {
        FileWorld::SetMode(mFolder / "folder", row.mode);
        EXPECT_EQ(row.access, AccessOf("folder") & kWhatIsKept) << row.mode;
        EXPECT_EQ(geteuid(), static_cast<uid_t>(mBlock.accessParam.ioACOwnerID));
        EXPECT_EQ(getegid(), static_cast<gid_t>(mBlock.accessParam.ioACGroupID));
        FileWorld::SetMode(mFolder / "folder", 0777);
        ASSERT_EQ(noErr, Set("folder", geteuid(), getegid(), row.access));
        EXPECT_EQ(row.mode, ModeOf("folder"));
    }
    FileWorld::SetMode(mFolder / "folder", 0700);
}

TEST_P(DirAccessTest, WhatThisProcessMay) {
    FileWorld::OrdinaryUser user(mFolder);
    mFolder.MakeFolder("folder");
    constexpr UInt32 kOwner = static_cast<UInt32>(kioACAccessUserOwnerMask);
    FileWorld::SetMode(mFolder / "folder", 0500);
    EXPECT_EQ(kOwner | kioACAccessUserSearchMask | kioACAccessUserReadMask,
              AccessOf("folder") & ~kWhatIsKept);
    FileWorld::SetMode(mFolder / "folder", 0200);
    EXPECT_EQ(kOwner | kioACAccessUserWriteMask, AccessOf("folder") & ~kWhatIsKept);
    FileWorld::SetMode(mFolder / "folder", 0700);
    EXPECT_EQ(kOwner | kAllOfUser, AccessOf("folder") & ~kWhatIsKept);
}

TEST_P(DirAccessTest, AnothersFolder) {
    if (geteuid() != 0) GTEST_SKIP() << "only an administrator gives folders away";
    mFolder.MakeFolder("folder");
    ASSERT_EQ(noErr, Set("folder", 1234, 4321, kioACAccessEveryoneReadMask | kioACAccessEveryoneSearchMask));
    (void)AccessOf("folder");
    EXPECT_EQ(1234, +mBlock.accessParam.ioACOwnerID);
    EXPECT_EQ(4321, +mBlock.accessParam.ioACGroupID);
    EXPECT_EQ(0005U, ModeOf("folder"));
    FileWorld::OrdinaryUser user(mFolder);
    EXPECT_EQ(kioACAccessUserReadMask | kioACAccessUserSearchMask, AccessOf("folder") & ~kWhatIsKept)
        << "not its owner";
    EXPECT_EQ(permErr, Set("folder", 1234, 4321, kAllOfUser));
    EXPECT_EQ(0005U, ModeOf("folder"));
}

TEST_P(DirAccessTest, OnlyOwnerOrGroupChanges) {
    if (geteuid() != 0) GTEST_SKIP() << "only an administrator gives folders away";
    mFolder.MakeFolder("folder");
    FileWorld::SetMode(mFolder / "folder", 0700);
    constexpr UInt32 kOwnersAlone =
        kioACAccessOwnerSearchMask | kioACAccessOwnerReadMask | kioACAccessOwnerWriteMask;
    ASSERT_EQ(noErr, Set("folder", geteuid(), 55, kOwnersAlone));
    EXPECT_EQ(55U, FileWorld::StatusOf(mFolder / "folder").stx_gid);
    ASSERT_EQ(noErr, Set("folder", 66, 55, kOwnersAlone));
    EXPECT_EQ(66U, FileWorld::StatusOf(mFolder / "folder").stx_uid);
    EXPECT_EQ(55U, FileWorld::StatusOf(mFolder / "folder").stx_gid);
}

TEST_P(DirAccessTest, WhatElseIsInTheModeStays) {
    mFolder.MakeFolder("folder");
    FileWorld::SetMode(mFolder / "folder", 03777);
    ASSERT_EQ(noErr, Set("folder", geteuid(), getegid(), kioACAccessOwnerReadMask));
    EXPECT_EQ(03400U, ModeOf("folder"));
    FileWorld::SetMode(mFolder / "folder", 0700);
}

TEST_P(DirAccessTest, TheFoldersCompanionFollows) {
    mFolder.MakeFolder("folder");
    mFolder.MakeFile("._folder", CompanionBytes("fork"));
    const auto expect = [&](unsigned inMode, unsigned inCompanionMode) {
        EXPECT_EQ(inMode, ModeOf("folder"));
        EXPECT_EQ(inCompanionMode, ModeOf("._folder")) << inMode;
    };
    constexpr UInt32 kOwnerAll =
        kioACAccessOwnerSearchMask | kioACAccessOwnerReadMask | kioACAccessOwnerWriteMask;
    FileWorld::SetMode(mFolder / "folder", 0755);
    FileWorld::SetMode(mFolder / "._folder", 0644);
    ASSERT_EQ(noErr, Set("folder", geteuid(), getegid(), kOwnerAll));
    expect(0700, 0600);
    ASSERT_EQ(noErr, Set("folder", geteuid(), getegid(), kOwnerAll | kioACAccessGroupReadMask));
    expect(0740, 0640);
    if (geteuid() != 0) return;  // only an administrator gives folders away
    ASSERT_EQ(noErr, Set("folder", geteuid(), 4321, kOwnerAll | kioACAccessEveryoneReadMask));
    expect(0704, 0604);
    // What cannot be done whole is not done at all.
    for (const int failing : {1, 2}) {
        static int sLeft;
        static decltype(mSaved.fchmodat) sReal;
        sLeft = failing;
        sReal = mSaved.fchmodat;
        CallsForTesting().fchmodat = [](int inFolder, const char* inPath, mode_t inMode, int inFlags) {
            return --sLeft == 0 ? (errno = EIO, -1) : sReal(inFolder, inPath, inMode, inFlags);
        };
        EXPECT_EQ(ioErr, Set("folder", geteuid(), 55, kOwnerAll | kioACAccessGroupReadMask)) << failing;
        CallsForTesting() = mSaved;
        expect(0704, 0604);
        EXPECT_EQ(4321U, FileWorld::StatusOf(mFolder / "folder").stx_gid);
    }
}

TEST_P(DirAccessTest, TheModeComesBackWhenTheOwnerCannotBeSet) {
    FileWorld::OrdinaryUser user(mFolder);
    mFolder.MakeFolder("folder");
    FileWorld::SetMode(mFolder / "folder", 0755);
    EXPECT_EQ(permErr, Set("folder", 1234, getegid(), kioACAccessOwnerReadMask));
    EXPECT_EQ(0755U, ModeOf("folder"));
    EXPECT_EQ(permErr, Set("folder", geteuid(), 4321, kioACAccessOwnerReadMask));
    EXPECT_EQ(0755U, ModeOf("folder"));
}

TEST_P(DirAccessTest, NobodyHasRightsOfAnotherWhileTheFolderChangesHands) {
    if (geteuid() != 0) GTEST_SKIP() << "only an administrator gives folders away";
    mFolder.MakeFolder("folder");
    FileWorld::SetMode(mFolder / "folder", 0750);
    static toolbox::os::SystemCalls sReal;
    static std::string sPath;
    static int sGiven;
    sReal = mSaved;
    sPath = mFolder / "folder";
    sGiven = 0;
    CallsForTesting().fchownat = [](int inFolder, const char* inPath, uid_t inOwner, gid_t inGroup,
                                    int inFlags) {
        ++sGiven;
        EXPECT_EQ(0700U, FileWorld::StatusOf(sPath).stx_mode & 0777U) << "the old group keeps what both have";
        return sReal.fchownat(inFolder, inPath, inOwner, inGroup, inFlags);
    };
    ASSERT_EQ(noErr, Set("folder", geteuid(), 4321,
                         kioACAccessOwnerSearchMask | kioACAccessOwnerReadMask | kioACAccessOwnerWriteMask |
                             kioACAccessGroupWriteMask));
    EXPECT_EQ(1, sGiven);
    EXPECT_EQ(0720U, ModeOf("folder"));
    EXPECT_EQ(4321U, FileWorld::StatusOf(sPath).stx_gid);
}

TEST_P(DirAccessTest, NobodyIsNoOwner) {
    mFolder.MakeFolder("folder");
    FileWorld::SetMode(mFolder / "folder", 0700);
    EXPECT_EQ(paramErr, Set("folder", static_cast<uid_t>(-1), getegid(), 0));
    EXPECT_EQ(paramErr, Set("folder", geteuid(), static_cast<gid_t>(-1), 0));
    EXPECT_EQ(0700U, ModeOf("folder"));
}

TEST_P(DirAccessTest, NothingIsSetThatIsSoAlready) {
    mFolder.MakeFolder("folder");
    FileWorld::SetMode(mFolder / "folder", 0700);
    const UInt32 access = AccessOf("folder");
    CallsForTesting().fchmodat = [](int, const char*, mode_t, int) { return errno = EIO, -1; };
    CallsForTesting().fchownat = [](int, const char*, uid_t, gid_t, int) { return errno = EIO, -1; };
    EXPECT_EQ(noErr, Set("folder", geteuid(), getegid(), access));
}

TEST_P(DirAccessTest, WhatIsNoFolder) {
    mFolder.MakeFile("file");
    mFolder.MakeLink(mFolder.Path(), "link");
    for (const char* const name : {"file", "link"}) {
        EXPECT_EQ(afpObjectTypeErr, Do(PBHGetDirAccessSync, Here(name))) << name;
        EXPECT_EQ(afpObjectTypeErr, Set(name, geteuid(), getegid(), 0)) << name;
    }
    EXPECT_EQ(fnfErr, Do(PBHGetDirAccessSync, Here("missing")));
    FSSpec nowhere = Here("x");
    nowhere.vRefNum = -31000;
    EXPECT_EQ(nsvErr, Do(PBHGetDirAccessSync, nowhere));
    EXPECT_EQ(paramErr, PBHGetDirAccessSync(nullptr));
    EXPECT_EQ(paramErr, PBHSetDirAccessSync(nullptr));
    mBlock = {};
    EXPECT_EQ(noErr, Do(PBHGetDirAccessSync, Here(""))) << "the folder itself";
}

TEST_P(DirAccessTest, EveryStepFails) {
    mFolder.MakeFolder("folder");
    const FSSpec spec = Here("folder");
    const std::size_t descriptors = OpenDescriptorCount();
    const bool mayGive = geteuid() == 0;
    const auto check = [&](const auto& inUnderFault, OSErr inExpected) {
        FileWorld::SetMode(mFolder / "folder", 0755);
        OSErr error = 1;
        OSErr setError = 1;
        bool isDelivered = inUnderFault([&] {
            mBlock = {};
            error = Do(PBHGetDirAccessSync, spec);
        });
        EXPECT_TRUE(error == noErr || (isDelivered && error == inExpected)) << error;
        mBlock = {};
        mBlock.accessParam.ioACOwnerID = static_cast<SInt32>(mayGive ? 1234 : geteuid());
        mBlock.accessParam.ioACAccess = kioACAccessOwnerReadMask;
        mBlock.accessParam.ioACGroupID = static_cast<SInt32>(getegid());
        isDelivered = inUnderFault([&] { setError = Do(PBHSetDirAccessSync, spec); });
        EXPECT_TRUE(setError == noErr || (isDelivered && setError == inExpected)) << setError;
        EXPECT_EQ(setError == noErr ? 0400U : 0755U, ModeOf("folder"));
        EXPECT_EQ(descriptors, OpenDescriptorCount());
        if (setError != noErr || !mayGive) return;
        EXPECT_EQ(noErr, Set("folder", 0, getegid(), 0));
    };
    EXPECT_GT(
        support::FailEach<FailingCalls>([&](const auto& inUnderFault) { check(inUnderFault, ioErr); }, EIO),
        3);
    EXPECT_GT(
        support::FailEach<FailingNew>([&](const auto& inUnderFault) { check(inUnderFault, memFullErr); }), 3);
    FileWorld::SetMode(mFolder / "folder", 0700);
}

}  // namespace
