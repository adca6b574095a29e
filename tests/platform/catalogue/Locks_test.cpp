#include "ItemChanges.h"
#include "os/SystemCalls_test_access.h"
#include "support/FailEach.h"
#include "support/FailingCalls.h"
#include "support/FailingNew.h"
#include "support/FileWorld.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <toolbox/CatalogItems.h>

#include <cerrno>
#include <string>
#include <string_view>

namespace {

using namespace test_files;
using support::FileWorld;

class Locks : public ItemChangesTest<support::FileWorldTest> {
  protected:
    FSRef mHere = RefOf(mFolder.Path());
    FSRef mOther = RefOf(mFolder.MakeFolder("other"));
};
INSTANTIATE_TEST_SUITE_P(Worlds, Locks, support::BothWorlds(), support::NameOfWorld);

TEST_P(Locks, WhatIsLockedStays) {
    mFolder.MakeFile("file");
    mFolder.MakeFolder("folder");
    mFolder.MakePipe("pipe");
    mFolder.MakeLink("nowhere", "link");
    for (const char* const name : {"file", "folder", "pipe", "link"}) {
        const FSRef ref = RefOfItself(mFolder / name);
        const FSSpec spec = Here(name);
        ASSERT_EQ(noErr, SetLock(ref, true)) << name;
        const auto before = FileWorld::NamesIn(mFolder.Path());
        FSRef untouched = {};
        EXPECT_EQ(fLckdErr, Rename(ref, u"new", &untouched)) << name;
        EXPECT_EQ(fLckdErr, Move(ref, mOther, &untouched)) << name;
        EXPECT_EQ(fLckdErr, FSDeleteObject(&ref)) << name;
        EXPECT_EQ(fLckdErr, HDelete(spec.vRefNum, spec.parID, spec.name)) << name;
        EXPECT_EQ(0, untouched.hidden[0]) << name;
        EXPECT_EQ(before, FileWorld::NamesIn(mFolder.Path())) << name;
        EXPECT_EQ("", PictureOf(mFolder / "other")) << name;

        ASSERT_EQ(noErr, SetLock(ref, false)) << name;
        FSRef moved = {};
        EXPECT_EQ(noErr, Rename(ref, u"new", &moved)) << name;
        EXPECT_EQ(noErr, Move(moved, mOther, &moved)) << name;
        EXPECT_EQ(noErr, FSDeleteObject(&moved)) << name;
    }
    EXPECT_EQ("other(), ", Picture()) << "no companions either";
}

TEST_P(Locks, TheLockOfALinkIsItsOwn) {
    const FSRef target = RefOf(mFolder.MakeFile("target"));
    const FSRef link = RefOfItself(mFolder.MakeLink("target", "link"));
    ASSERT_EQ(noErr, SetLock(link, true));
    EXPECT_EQ(fLckdErr, FSDeleteObject(&link));
    EXPECT_EQ(noErr, Rename(target, u"target 2"));
    ASSERT_EQ(noErr, SetLock(link, false));
    ASSERT_EQ(noErr, SetLock(target, true));
    EXPECT_EQ(noErr, FSDeleteObject(&link));
    EXPECT_EQ(fLckdErr, FSDeleteObject(&target));
}

TEST_P(Locks, WhatIsInALockedFolderMayGo) {
    const FSRef folder = RefOf(mFolder.MakeFolder("folder"));
    ASSERT_EQ(noErr, SetLock(folder, true));
    FSRef file = {};
    EXPECT_EQ(noErr, MakeFile(folder, u"a", &file));
    EXPECT_EQ(noErr, Rename(file, u"b", &file));
    EXPECT_EQ(noErr, FSDeleteObject(&file));
    EXPECT_EQ(fLckdErr, FSDeleteObject(&folder));
}

// A companion of an item of another name tells nothing, and that of a place that an item leaves goes with it.
TEST_P(Locks, TheLockGoesWithTheItem) {
    const FSRef file = RefOf(MakeWithCompanion("", "a"));
    ASSERT_EQ(noErr, SetLock(file, true));
    const FSRef other = RefOf(MakeWithCompanion("", "b"));
    EXPECT_EQ(noErr, FSDeleteObject(&other));
    ASSERT_EQ(0, FileWorld::MakeHardLink(mFolder / "a", mFolder / "second"));
    const FSRef second = RefOf(mFolder / "second");
    EXPECT_EQ(noErr, FSDeleteObject(&second)) << "a name of its own, without a companion";
    EXPECT_EQ(fLckdErr, FSDeleteObject(&file));
}

toolbox::os::SystemCalls sReal;
TEST_P(Locks, WhatNobodyMayChange) {
    const FSRef ref = RefOf(mFolder.MakeFile("file"));
    sReal = toolbox::os::Calls();
    toolbox::os::CallsForTesting().statx = [](int inFolder, const char* inPath, int inFlags, unsigned inMask,
                                              struct statx* outStatus) {
        const int result = sReal.statx(inFolder, inPath, inFlags, inMask, outStatus);
        outStatus->stx_attributes |= STATX_ATTR_IMMUTABLE;
        return result;
    };
    EXPECT_EQ(fLckdErr, FSDeleteObject(&ref));
    EXPECT_EQ(fLckdErr, Rename(ref, u"new"));
    EXPECT_EQ(fLckdErr, Move(ref, mOther));
    EXPECT_EQ(permErr, SetLock(ref, false));
    toolbox::os::CallsForTesting() = sReal;
    EXPECT_EQ("file=contents, other(), ", Picture());
}

// Where the kernel tells of devices, each can only be read.
std::string sReadOnlyDevice;
TEST_P(Locks, VolumesThatMayOnlyBeRead) {
    if (!mFolder.MayMount()) GTEST_SKIP() << "this machine lets nobody mount";
    const std::string point = mFolder.MakeFolder("point");
    ASSERT_EQ(0, mFolder.MountVolume(point));
    mFolder.MakeFolder("point/sub");
    const FSRef file = RefOf(mFolder.MakeFile("point/a"));
    ASSERT_EQ(0, mFolder.ForbidWriting(point));
    const FSRef folder = RefOf(point + "/sub");
    const auto change = [&](OSErr inStatus) {
        EXPECT_EQ(inStatus, MakeFile(folder, u"b"));
        EXPECT_EQ(inStatus, MakeFolder(folder, u"b"));
        EXPECT_EQ(inStatus, Rename(file, u"b"));
        EXPECT_EQ(inStatus, FSRenameUnicode(&file, 1, UnitsOf(u"b"), 7, nullptr)) << "the hint first";
        EXPECT_EQ(inStatus, Move(file, folder));
        EXPECT_EQ(inStatus, FSDeleteObject(&file));
        EXPECT_EQ(inStatus, SetLock(file, true));
        FSCatalogInfo info = {};
        EXPECT_EQ(inStatus, FSSetCatalogInfo(&file, kFSCatInfoPermissions, &info));
        EXPECT_EQ(inStatus, FSSetCatalogInfo(&file, kFSCatInfoContentMod, &info));
    };
    change(vLckdErr);
    sReadOnlyDevice = mFolder.MakeFile("ro", "1\n");
    sReal = toolbox::os::Calls();
    toolbox::os::CallsForTesting().openat = [](int inFolder, const char* inPath, int inFlags, mode_t inMode) {
        const bool isKernels = std::string_view(inPath).starts_with("/sys/dev/block/");
        return sReal.openat(inFolder, isKernels ? sReadOnlyDevice.c_str() : inPath, inFlags, inMode);
    };
    change(wPrErr);
    toolbox::os::CallsForTesting() = sReal;
}

TEST_P(Locks, RootsAreNoMatterOfLocks) {
    if (!mFolder.MayMount()) GTEST_SKIP() << "this machine lets nobody mount";
    const std::string path = mFolder.MakeFolder("point");
    ASSERT_EQ(0, mFolder.MountVolume(path));
    const FSRef root = RefOf(path);
    for (const bool isLocked : {true, false}) {
        ASSERT_EQ(noErr, SetLock(root, isLocked));
        EXPECT_EQ(isLocked, (InfoOf(path, kFSCatInfoNodeFlags).nodeFlags & kFSNodeLockedMask) != 0);
        EXPECT_EQ(paramErr, FSDeleteObject(&root)) << "none is ever deleted, locked or not";
        EXPECT_EQ(paramErr, Rename(root, u"new"));
        EXPECT_EQ(paramErr, Move(root, mOther));
    }
}

// It holds the lock, and so is no way around it.
TEST_P(Locks, TheCompanionOfWhatIsLockedStays) {
    const FSRef file = RefOf(MakeWithCompanion("", "a"));
    const FSSpec spec = Here("._a");
    ASSERT_EQ(noErr, SetLock(file, true));
    FSRef companion = RefOf(mFolder / "._a");
    EXPECT_EQ(fLckdErr, FSDeleteObject(&companion));
    EXPECT_EQ(fLckdErr, HDelete(spec.vRefNum, spec.parID, spec.name));
    EXPECT_EQ(fLckdErr, Rename(companion, u"new"));
    EXPECT_EQ(fLckdErr, Move(companion, mOther));
    EXPECT_TRUE(mFolder.Exists(mFolder / "._a"));
    ASSERT_EQ(noErr, SetLock(file, false));
    companion = RefOf(mFolder / "._a");
    EXPECT_EQ(noErr, Rename(companion, u"new"));
    EXPECT_EQ("a=of a, new=#fork of a, other(), ", Picture());
}

TEST_P(Locks, TheCompanionOfWhatNobodyMayChange) {
    MakeWithCompanion("", "a");
    const FSRef companion = RefOf(mFolder / "._a");
    sReal = toolbox::os::Calls();
    toolbox::os::CallsForTesting().statx = [](int inFolder, const char* inPath, int inFlags, unsigned inMask,
                                              struct statx* outStatus) {
        const int result = sReal.statx(inFolder, inPath, inFlags, inMask, outStatus);
        if (std::string_view(inPath) == "a") outStatus->stx_attributes |= STATX_ATTR_IMMUTABLE;
        return result;
    };
    EXPECT_EQ(fLckdErr, FSDeleteObject(&companion));
    toolbox::os::CallsForTesting() = sReal;
    // The file is not there: nobody's companion.
    FileWorld::Remove(mFolder / "a");
    EXPECT_EQ(noErr, FSDeleteObject(&companion));
}

// What cannot be read is another user's file, which stays when the item goes.
TEST_P(Locks, ALockThatMayNotBeReadIsNone) {
    const FileWorld::OrdinaryUser user(mFolder);
    FileWorld::SetMode(mFolder.Path(), 0700);
    const FSRef file = RefOf(MakeWithCompanion("", "a"));
    ASSERT_EQ(noErr, SetLock(file, true));
    FileWorld::SetMode(mFolder / "._a", 0);
    EXPECT_EQ(noErr, FSDeleteObject(&file));
    EXPECT_TRUE(mFolder.Exists(mFolder / "._a"));
}

TEST_P(Locks, WhatIsLockedStaysWhateverFails) {
    const FSRef ref = RefOf(MakeWithCompanion("", "a"));
    ASSERT_EQ(noErr, SetLock(ref, true));
    const std::string before = Picture();
    const auto check = [&](const auto& inUnderFault, OSErr inStatus) {
        OSErr error = noErr;
        const auto change = [&](auto inChange) {
            const bool isDelivered = inUnderFault([&] { error = inChange(); });
            EXPECT_TRUE(error == fLckdErr || (isDelivered && error == inStatus)) << error;
            EXPECT_EQ(before, Picture());
        };
        change([&] { return FSDeleteObject(&ref); });
        change([&] { return Rename(ref, u"new"); });
        change([&] { return Move(ref, mOther); });
    };
    EXPECT_LT(4, support::FailEach<FailingCalls>(
                     [&](const auto& inUnderFault) { check(inUnderFault, ioErr); }, EIO));
    EXPECT_LT(
        0, support::FailEach<FailingNew>([&](const auto& inUnderFault) { check(inUnderFault, memFullErr); }));
}

}  // namespace
